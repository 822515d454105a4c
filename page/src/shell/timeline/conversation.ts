// Makes rows of what goes to and fro between a page and its phone: an answer belongs to the
// command that asked for it, what the router does to what made it do so.

import type { FromPhone } from '../frames';
import { keepsFromAnswer, keepsSomeFromAnswer, missingFlags } from '../tools/protocol';
import { isPeriodic } from './known';
import { member, parsed } from './texts';
import type { NewRow, Remark, Row, Timeline } from './timeline';

/** A page message, as far as it can be read. */
export interface Message {
  text: string;
  action: string | undefined;
  cbid: string | undefined;
  params: unknown;
}
/** What can be said of a page message in plain words, at once and, by `say`, when more is known. */
export type Lint = (message: Message, say: (remark: Remark) => void) => Remark[];

type Noted = Extract<FromPhone, { kind: 'noted' }>;
type When = Required<Pick<NewRow, 'thread' | 'periodic'>> & { at: number };

const notAMessage = 'not a message';
// So many are remembered of what may still be told more of.
const remembered = 10_000;

export class Conversation {
  /** Looks at each message before it is sent on. */
  lint: Lint = () => [];
  /** Commands by cbid; of several with one cbid, the latest last. */
  private commands = new Map<string, Row[]>();
  /** Commands that have not reached the router, as far as it notes that. */
  private onTheWay: Row[] = [];
  /** Noted events whose script has not come. */
  private untold: Row[] = [];
  /** What each thread is at, and the noted steps by number. */
  private readonly doing = new Map<string, { row: Row; at: number }>();
  private steps = new Map<number, Row>();
  private lastStep = 0;

  constructor(private readonly timeline: Timeline) {}

  /** The phone is gone: no answer can come any more. */
  end(because: string): void {
    for (const rows of this.commands.values()) for (const row of rows) giveUp(row, because);
    this.commands = new Map();
    this.onTheWay = [];
    this.untold = [];
    this.doing.clear();
    this.steps = new Map();
    this.timeline.revise();
  }

  /** A page message on its way to the phone. */
  message(text: string): void {
    const envelope = parsed(text);
    const action = textOf(member(envelope, 'head', 'action'));
    const cbid = textOf(member(envelope, 'cbid'));
    const title = action ?? notAMessage;
    const row = this.timeline.add({ kind: 'command', title, text, failed: action === undefined });
    row.cbid = cbid;
    row.waiting = cbid === undefined ? 'unasked' : 'waiting';
    this.onTheWay.push(row);
    if (this.onTheWay.length > remembered) this.onTheWay.shift();
    if (cbid !== undefined) {
      this.commands.set(cbid, [...(this.commands.get(cbid) ?? []), row]);
      forgetOldest(this.commands);
    }
    const params = member(envelope, 'params');
    const flags = action === undefined ? [] : missingFlags(action, params);
    if (flags.length > 0)
      giveUp(row, `Never answered, by the protocol: none of ${flags.join(', ')} is true.`);
    const say = (remark: Remark) => this.timeline.remark(row, remark);
    this.timeline.remark(row, ...this.lint({ text, action, cbid, params }, say));
  }

  /** A script that the page runs next. `needLog` is false for periodic ones. */
  script(script: string, needLog: boolean): void {
    const text = script.slice(script.indexOf('(') + 1, -1);
    const envelope = parsed(text);
    const action = textOf(member(envelope, 'head', 'action'));
    const cbid = textOf(member(envelope, 'head', 'cbid'));
    if (cbid !== undefined)
      return this.answer(cbid, action, text, member(envelope, 'error', 'errcode'), !needLog);
    const event = textOf(member(envelope, 'params', 'event'));
    if (event === undefined && this.tellNoted(action, text)) return;
    this.timeline.add({
      kind: event === undefined ? 'event' : 'report',
      title: event === undefined ? (action ?? script.slice(0, 40)) : `${action ?? 'report'}: ${event}`,
      text,
      failed: action === 'onError',
      periodic: !needLog,
    });
  }

  /** What reached the router, or what it did. */
  noted(noted: Noted): void {
    const { at = Date.now(), thread = 'main', number, periodic = false, step, effect, lost } = noted;
    const when = { at, thread, periodic };
    if (lost !== undefined)
      this.timeline.add({ kind: 'note', title: `${lost} periodic notes of the router were left out: there was no time for them.` });
    if (step) {
      const row = this.notedStep(step, when, number);
      if (row && !('device' in step)) this.begins(row, when, number);
    } else if (effect) {
      const row = rowOfEffect(effect);
      if (row) this.timeline.add({ ...row, ...when, cause: this.causeOf(when, number) });
    } else if (noted.queuedBy !== undefined) {
      const row = this.steps.get(noted.queuedBy);
      if (row) this.begins(row, when, number);
    }
  }

  private causeOf(when: When, number: number | undefined): Row | undefined {
    return number === undefined ? this.stepAt(when) : this.steps.get(number);
  }

  // What comes of a step has its time; anything else is of a task that was queued earlier.
  private stepAt({ at, thread }: When): Row | undefined {
    const doing = this.doing.get(thread);
    return doing?.at === at ? doing.row : undefined;
  }

  private begins(row: Row, { at, thread }: When, number: number | undefined): void {
    this.doing.set(thread, { row, at });
    if (number === undefined) return;
    this.steps.set(number, row);
    forgetOldest(this.steps);
  }

  // The row of a step: that of the message it is, or a new one.
  private notedStep(
    step: Record<string, unknown>,
    when: When,
    number: number | undefined,
  ): Row | undefined {
    const { command, message } = step;
    let row: Row | undefined;
    if (command !== undefined || message !== undefined) {
      // Messages are noted in the order in which they come; a signature may be masked in them.
      const title = command ?? notAMessage;
      const at = this.onTheWay.findIndex((sent) => sent.title === title);
      row = at < 0 ? undefined : this.onTheWay.splice(at, 1)[0];
    } else {
      const [verb = 'step', value] = Object.entries(step)[0] ?? [];
      const isEvent = verb === 'event' || verb === 'music' || verb === 'speedTest';
      row = this.timeline.add({
        ...when,
        kind: isEvent ? 'event' : 'native',
        title: verb === 'event' ? String(value) : verb,
        periodic: when.periodic || (verb === 'event' && isPeriodic(String(value))),
        text: JSON.stringify(step),
        failed: value === 'onError',
        // What the device answers belongs to who asked it.
        cause: verb === 'device' ? this.causeOf(when, number) : undefined,
      });
      if (verb === 'event') this.untold.push(row);
      if (this.untold.length > remembered) this.untold.shift();
    }
    if (!row) return undefined;
    row.step = step;
    row.stepNumber = ++this.lastStep;
    return row;
  }

  // Whether an event that the page is told is one that was noted.
  private tellNoted(action: string | undefined, text: string): boolean {
    const at = this.untold.findIndex(({ title }) => title === action);
    const row = this.untold[at];
    if (!row) return false;
    // Events are told in the order in which they came: the earlier ones of that name were not.
    this.untold.splice(at, 1);
    row.text = text;
    this.timeline.revise(row);
    return true;
  }

  private answer(
    cbid: string,
    action: string | undefined,
    text: string,
    code: unknown,
    periodic: boolean,
  ): void {
    const asked = this.commands.get(cbid) ?? [];
    const cause =
      asked.find((row) => row.waiting === 'waiting' && row.title === action) ?? asked[asked.length - 1];
    const failed = typeof code === 'number' && code !== 0;
    if (cause) {
      cause.waiting = 'answered';
      cause.overBecause = undefined;
      if (failed) cause.failed = true;
      else this.giveUpReplaced(cause);
    }
    this.timeline.add({ kind: 'answer', title: action ?? 'answer', text, cause, failed, periodic });
  }

  private giveUpReplaced({ title, id }: Row): void {
    if (!keepsSomeFromAnswer(title)) return;
    for (const rows of this.commands.values())
      for (const row of rows)
        if (row.id < id && keepsFromAnswer(title, row.title))
          giveUp(
            row,
            row.title === title
              ? `Never answered, by the protocol: a later ${title} took its place.`
              : 'Never answered, by the protocol: the engine was released meanwhile.',
          );
  }
}

function forgetOldest(rows: Map<unknown, unknown>): void {
  if (rows.size > remembered) rows.delete(rows.keys().next().value);
}

function giveUp(row: Row, because: string): void {
  if (row.waiting !== 'waiting') return;
  row.waiting = 'over';
  row.overBecause = because;
}

function textOf(value: unknown): string | undefined {
  if (typeof value === 'number') return String(value);
  return typeof value === 'string' ? value : undefined;
}

// What the page gets is a row of its own where it arrives.
function rowOfEffect(effect: Record<string, unknown>): NewRow | undefined {
  const { effect: name, ...others } = effect;
  const text = JSON.stringify(others);
  switch (name) {
    case 'script':
    case 'reply':
      return undefined;
    case 'engine':
      return { kind: 'engine', title: String(effect['call']), text: JSON.stringify(effect['args'] ?? []) };
    case 'log': {
      const record = effect['record'];
      const failed = Boolean(member(record, 'errorCode'));
      return { kind: 'record', title: String(member(record, 'actionName') ?? 'record'), text: JSON.stringify(record), failed };
    }
    default:
      return { kind: 'native', title: String(name), text };
  }
}
