// Makes rows of what goes to and fro between a page and its phone: an answer belongs to the
// command that asked for it.

import type { Remark, Row, Timeline } from './timeline';

/** A page message, as far as it can be read. */
export interface Message {
  text: string;
  action: string | undefined;
  cbid: string | undefined;
  params: unknown;
}
/** What can be said of a page message in plain words. */
export type Lint = (message: Message) => Remark[];

interface Envelope {
  head?: { action?: unknown; cbid?: unknown };
  error?: { errcode?: unknown };
  params?: unknown;
  cbid?: unknown;
}

export class Conversation {
  /** Looks at each message before it is sent on. */
  lint: Lint = () => [];
  /** Commands by cbid; of several with one cbid, the latest last. */
  private readonly commands = new Map<string, Row[]>();

  constructor(private readonly timeline: Timeline) {}

  /** A new page is there: nothing of an earlier one is answered any more. */
  begin(): void {
    this.end('The page is gone.');
  }

  /** No answer can come any more. */
  end(because: string): void {
    for (const rows of this.commands.values())
      for (const row of rows)
        if (row.waiting === 'waiting') {
          row.waiting = 'over';
          row.overBecause = because;
        }
    this.commands.clear();
    this.timeline.changed();
  }

  /** A page message on its way to the phone. */
  message(text: string): void {
    const message = readMessage(text);
    const { action, cbid } = message;
    const title = action ?? 'not a message';
    const row = this.timeline.add({ kind: 'command', title, text, failed: action === undefined });
    row.cbid = cbid;
    row.waiting = cbid === undefined ? 'unasked' : 'waiting';
    if (cbid !== undefined) this.commands.set(cbid, [...(this.commands.get(cbid) ?? []), row]);
    this.timeline.remark(row, ...this.lint(message));
  }

  /** A script that the page runs next. `needLog` is false for periodic ones. */
  script(script: string, needLog: boolean): void {
    const text = script.slice(script.indexOf('(') + 1, -1);
    const envelope = parsed(text);
    const action = textOf(envelope?.head?.action);
    const cbid = textOf(envelope?.head?.cbid);
    if (cbid !== undefined) return this.answer(cbid, action, text, envelope?.error?.errcode, !needLog);
    const event = textOf((envelope?.params as { event?: unknown } | undefined)?.event);
    this.timeline.add({
      kind: event === undefined ? 'event' : 'report',
      title: event === undefined ? (action ?? script.slice(0, 40)) : `${action ?? 'report'}: ${event}`,
      text,
      failed: action === 'onError',
      periodic: !needLog,
    });
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
    this.timeline.add({ kind: 'answer', title: action ?? 'answer', text, cause, failed, periodic });
    if (!cause) return;
    cause.waiting = 'answered';
    if (failed) cause.failed = true;
  }
}

function readMessage(text: string): Message {
  const envelope = parsed(text);
  return {
    text,
    action: textOf(envelope?.head?.action),
    cbid: textOf(envelope?.cbid),
    params: envelope?.params,
  };
}

function textOf(value: unknown): string | undefined {
  if (typeof value === 'number') return String(value);
  return typeof value === 'string' ? value : undefined;
}

function parsed(text: string): Envelope | undefined {
  try {
    const value: unknown = JSON.parse(text);
    return typeof value === 'object' && value !== null ? value : undefined;
  } catch {
    return undefined;
  }
}
