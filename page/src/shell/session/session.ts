// A saved session: a recording (.vemorec) or a scenario (.jsonl), step by step.

import { isPeriodic } from '../timeline/known';
import { member, parsed } from '../timeline/texts';
import { Timeline, type NewRow, type Row } from '../timeline/timeline';
import { TimelineView } from '../timeline/timelineView';

export type JsonObject = Record<string, unknown>;

/** Something that the router did: `effect` names it. */
export type Effect = JsonObject & { effect: string };

/** An effect with its time (ms since 1970), null where a file tells none. */
interface TimedEffect {
  effect: Effect;
  at: number | null;
}

/** One thing that went into the router, and what came of it. */
export interface SessionStep {
  step: JsonObject;
  effects: Effect[];
  /** What the device answered meanwhile, and so has to be set before. */
  device: JsonObject;
  row: Row;
}

/** Why a file can't be opened: a sentence. */
export class SessionError extends Error {}

const newestForm = 2;
const verbs = new Set(
  ('command message event music speedTest access press downloaded decoded notify device host listener ' +
    'release get drain free new use').split(' '),
);

interface NewStep extends Omit<SessionStep, 'effects' | 'row'> {
  effects: TimedEffect[];
  at: number | null;
  thread: string;
}

export class Session {
  /** Tells its rows from those of the phones. */
  readonly number = 'session';
  readonly timeline = new Timeline();
  readonly timelineView = new TimelineView(this.timeline);
  readonly steps: readonly SessionStep[];

  private constructor(
    readonly name: string,
    /** A recording tells of each effect what it came of; a scenario tells the order alone. */
    readonly isRecording: boolean,
    /** What is missing of it, a sentence; nothing where it is whole. */
    readonly missing: string | undefined,
    steps: NewStep[],
  ) {
    const asked = new Map<unknown, Row>();
    this.steps = steps.map(({ at, thread, effects, ...step }) => {
      const row = this.timeline.add({ ...rowOfStep(step.step), at, thread });
      if (row.kind === 'command' && 'as' in step.step) asked.set(step.step['as'], row);
      const { periodic } = row;
      for (const { effect, at } of effects)
        this.timeline.add({ ...rowOfEffect(effect), at, periodic, cause: causeOf(effect, asked, row) });
      return { ...step, effects: effects.map(({ effect }) => effect), row };
    });
  }

  /** Throws a SessionError. */
  static read(name: string, text: string): Session {
    const lines = text.split('\n');
    const first = parsed(lines.find((line) => line.trim() !== '' && !line.startsWith('#')) ?? '');
    if (member(first, 'vemorec') !== undefined) return Session.recording(name, first, lines.slice(1));
    if (member(first, 'n') !== undefined)
      throw new SessionError(
        `${name} is a later part of a session: put its parts together, the oldest first, and open that.`,
      );
    return Session.scenario(name, lines);
  }

  private static recording(name: string, header: unknown, lines: string[]): Session {
    const form = member(header, 'vemorec');
    if (typeof form !== 'number' || form > newestForm)
      throw new SessionError(`${name} has form ${String(form)}; this simulator reads up to form ${newestForm}.`);
    let missing = member(header, 'whole') === true ? undefined : 'Its beginning is missing.';
    let hasEnd = form < 2; // the first form had no last line
    const steps: NewStep[] = [];
    const byNumber = new Map<number, NewStep>();
    for (const [index, line] of lines.entries()) {
      if (line === '') continue;
      const note = parsed(line);
      const number = Number(member(note, 'n') ?? 0);
      const step = objectOf(member(note, 'step'));
      const device = step && 'device' in step ? objectOf(step['device']) : {};
      const effect = objectOf(member(note, 'effect')) as Effect | undefined;
      const queuedBy = member(note, 'by');
      const at = timeOf(member(note, 'at'));
      if (note === undefined && index === lines.length - 1) {
        missing = 'It breaks off in the middle of a line.';
      } else if (step && device && 'device' in step && byNumber.has(number)) {
        Object.assign(byNumber.get(number)!.device, device);
      } else if (step && device) {
        const made = { step, effects: [], device: {}, at, thread: String(member(note, 'thread')) };
        steps.push(made);
        byNumber.set(number, made);
      } else if (effect) {
        // What comes in no step is the making and ending of the router.
        const thread = String(member(note, 'thread'));
        byNumber.get(number)?.effects.push({ effect: { ...withArgument(effect), thread }, at });
      } else if (typeof queuedBy === 'number') {
        const cause = byNumber.get(queuedBy);
        if (cause) byNumber.set(number, cause);
      } else if (member(note, 'end') !== undefined) {
        hasEnd = true;
      } else if (member(note, 'lost') !== undefined) {
        missing = 'Parts of it could not be written.';
      } else {
        throw new SessionError(`${name} is damaged: line ${index + 2} can’t be read.`);
      }
    }
    if (!hasEnd) missing ??= 'Its end is missing: it broke off, or was going on.';
    return new Session(name, true, missing, steps);
  }

  private static scenario(name: string, lines: string[]): Session {
    const steps: NewStep[] = [];
    for (const [index, line] of lines.entries()) {
      if (line.trim() === '' || line.startsWith('#')) continue;
      const step = objectOf(parsed(line));
      const verb = step && Object.keys(step).find((key) => verbs.has(key));
      const { expect = [], partial: _partial, ...rest } = step ?? {};
      const expected = Array.isArray(expect) ? expect.map(objectOf) : [undefined];
      if (step && 'rows' in step)
        throw new SessionError(`${name} has a table of messages from line ${index + 1} on; only vemo-replay reads those.`);
      if (verb === undefined || expected.includes(undefined))
        throw new SessionError(
          steps.length === 0
            ? `${name} is neither a recording nor a scenario.`
            : `${name} is damaged: line ${index + 1} is no step of a scenario.`,
        );
      const at = null; // the order is all that it tells
      const effects = (expected as Effect[]).map((effect) => ({ effect, at }));
      const last = steps[steps.length - 1];
      // The tasks of the main queue are worked off by themselves.
      if (verb === 'drain' && last) last.effects.push(...effects);
      else steps.push({ step: rest, effects, device: {}, at, thread: threadOf(rest) });
    }
    if (steps.length === 0) throw new SessionError(`${name} is empty.`);
    return new Session(name, false, undefined, steps);
  }
}

function objectOf(value: unknown): JsonObject | undefined {
  return typeof value === 'object' && value !== null && !Array.isArray(value) ? (value as JsonObject) : undefined;
}

/** A time that a clock can show; null for anything else. */
function timeOf(value: unknown): number | null {
  return typeof value === 'number' && !Number.isNaN(new Date(value).getTime()) ? value : null;
}

function threadOf(step: JsonObject): string {
  if (typeof step['thread'] === 'string') return step['thread'];
  return 'event' in step || 'music' in step || 'speedTest' in step ? 'engine' : 'main';
}

// A script is noted as its text alone.
function withArgument(effect: Effect): Effect {
  const text = effect['text'];
  if (effect.effect !== 'script' || typeof text !== 'string') return effect;
  return { ...effect, argument: parsed(text.slice(text.indexOf('(') + 1, -1)) };
}

function rowOfStep(step: JsonObject): NewRow {
  const [verb = 'step', value] = Object.entries(step).find(([key]) => verbs.has(key)) ?? [];
  const message = verb === 'message' ? String(value) : undefined;
  const action = message === undefined ? undefined : member(parsed(message), 'head', 'action');
  switch (verb) {
    case 'message':
      return { kind: 'command', title: typeof action === 'string' ? action : 'not a message', text: message };
    case 'command':
      return { kind: 'command', title: String(value), text: JSON.stringify({ params: step['params'] }) };
    case 'event': {
      const event = String(value);
      const text = JSON.stringify(step);
      return { kind: 'event', title: event, text, failed: event === 'onError', periodic: isPeriodic(event) };
    }
    case 'access':
      return { kind: 'press', title: value === true ? 'Allow' : 'Don’t Allow' };
    case 'press':
      return { kind: 'press', title: String(value) };
    case 'device':
      return { kind: 'settings', title: 'Settings', text: JSON.stringify(value) };
    default:
      return { kind: 'note', title: verb, text: JSON.stringify(step) };
  }
}

function rowOfEffect(effect: Effect): NewRow {
  const { effect: name, thread: where, ...others } = effect;
  const thread = typeof where === 'string' ? where : 'main';
  switch (name) {
    case 'reply': {
      const failed = Number(member(effect, 'error', 'errcode') ?? 0) !== 0;
      return { kind: 'answer', title: String(effect['action']), text: JSON.stringify(others), failed, thread };
    }
    case 'engine': {
      const text = JSON.stringify(effect['args'] ?? []);
      return { kind: 'engine', title: String(effect['call']), text, thread };
    }
    case 'log': {
      const record = effect['record'];
      const failed = Boolean(member(record, 'errorCode'));
      const title = String(member(record, 'actionName'));
      return { kind: 'record', title, text: JSON.stringify(record), failed, thread };
    }
    case 'script':
      return { kind: 'event', title: nameOf(effect), text: JSON.stringify(effect['argument']), thread };
    default:
      return { kind: 'native', title: String(name), text: JSON.stringify(others), thread };
  }
}

// An answer stands with its command, even where an event brought it about.
function causeOf(effect: Effect, asked: ReadonlyMap<unknown, Row>, row: Row): Row {
  return (effect.effect === 'reply' ? asked.get(effect['item']) : undefined) ?? row;
}

/** What an effect is about: the call, the command that is answered, the event that is told. */
export function nameOf(effect: Effect): string {
  const about =
    effect['call'] ??
    effect['action'] ??
    member(effect, 'record', 'actionName') ??
    member(effect, 'argument', 'head', 'action') ??
    effect['name'] ??
    effect['media'];
  return about === undefined ? '' : String(about);
}
