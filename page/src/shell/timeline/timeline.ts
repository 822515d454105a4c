// What has happened to one phone, row by row, causes before their effects.

import { signal } from '@preact/signals';

/** What a row tells of. */
export type Kind =
  /** A page message on its way to the phone. */
  | 'command'
  /** An answer; it belongs to its command, where that is known. */
  | 'answer'
  /** An engine event, or what the page is told of one. */
  | 'event'
  | 'report'
  /** A call that the router makes to its engine. */
  | 'engine'
  /** A record that the router logs. */
  | 'record'
  /** Whatever else the router asks of its system, or hears from it. */
  | 'native'
  /** A page has connected, and got a phone like new. */
  | 'connection'
  | 'prompt'
  | 'press'
  | 'network'
  | 'settings'
  | 'note'
  | 'problem';

/** A word on a row, beside it. */
export interface Remark {
  tone: 'hint' | 'warning' | 'error';
  text: string;
}

/** How far a command is; `unasked` without a cbid, `over` once no answer can come any more. */
export type Waiting = 'waiting' | 'answered' | 'unasked' | 'over';

export interface NewRow {
  kind: Kind;
  title: string;
  /** JSON where it is JSON; parsed only when somebody looks. */
  text?: string | undefined;
  /** Where it happened: `page`, `main`, `engine`, or another thread's name. */
  thread?: string;
  /** The row beneath which it belongs. */
  cause?: Row | undefined;
  failed?: boolean;
  /** It comes again and again, and is hidden unless it is asked for. */
  periodic?: boolean;
  /** What it is as a step of a scenario, where its text doesn't tell. */
  step?: object | undefined;
  /** Milliseconds since 1970; null where nobody knows; now, where it is left out. */
  at?: number | null;
}

export class Row {
  readonly at: number | null;
  /**
   * When it was, by a clock that nobody sets, unless it came with a time of its own: what lies
   * between two rows is told from these (ms). Null where nobody knows.
   */
  readonly ticks: number | null;
  readonly kind: Kind;
  readonly thread: string;
  readonly cause: Row | undefined;
  readonly periodic: boolean;
  title: string;
  text: string;
  failed: boolean;
  step: object | undefined;
  /** The order in which steps reached the router; 0 for what is not known to have. */
  stepNumber = 0;
  /** What came of it, in order. */
  beneath: Row[] | undefined;
  /** Of a command. */
  cbid: string | undefined;
  waiting: Waiting | undefined;
  answers: Row[] | undefined;
  /** Why no answer can come any more. */
  overBecause: string | undefined;
  remarks: Remark[] | undefined;
  /** Whether it fits a search: its number, and so many answers were looked at; see Lines. */
  searched = 0;
  searchedAnswers = 0;
  fits = true;

  constructor(
    /** Counts up from 1 in each time line. */
    readonly id: number,
    row: NewRow,
  ) {
    this.at = row.at === undefined ? Date.now() : row.at;
    this.ticks = row.at === undefined ? performance.now() : row.at;
    this.kind = row.kind;
    this.thread = row.thread ?? 'page';
    this.cause = row.cause;
    this.periodic = row.periodic ?? false;
    this.title = row.title;
    this.text = row.text ?? '';
    this.failed = row.failed ?? false;
    this.step = row.step;
    this.beneath = undefined;
    this.cbid = undefined;
    this.waiting = undefined;
    this.answers = undefined;
    this.overBecause = undefined;
    this.remarks = undefined;
  }
}

/** How much is kept: the oldest rows go first. */
export interface Limits {
  rows: number;
  /** Characters of all texts together. */
  characters: number;
}

const littleMs = 1000;
const limits: Limits = { rows: 100_000, characters: 64_000_000 };

/**
 * The rows of one phone. They change at once; `version` counts their changes for whoever watches
 * it, at most once a frame, and not while the window is out of sight.
 */
export class Timeline {
  readonly version = signal(0, {
    watched: () => (this.isWatched = true),
    unwatched: () => (this.isWatched = false),
  });
  private isWatched = false;
  /** The rows without a cause, the oldest first. What a row caused hangs on it. */
  rows: Row[] = [];
  /** All rows that are kept, and those that were dropped because there were too many. */
  count = 0;
  dropped = 0;
  /** How often rows were taken away or put in other than at the end. */
  reshaped = 0;
  /** How often something about earlier rows has changed: an answer, a remark. */
  revised = 0;
  /** The same two of rows that come again and again, which mostly nobody sees. */
  changedPeriodic = 0;
  /** Where rows have happened, the page first. */
  readonly threads = ['page'];
  private characters = 0;
  private lastId = 0;
  private scheduled = false;
  private soon: ReturnType<typeof setTimeout> | undefined;

  constructor(
    private readonly limit: Limits = limits,
    private readonly nextFrame: (run: () => void) => void = (run) => requestAnimationFrame(run),
  ) {}

  add(entry: NewRow): Row {
    const row = new Row(++this.lastId, entry);
    const { cause, thread } = row;
    if (!this.threads.includes(thread)) this.threads.push(thread);
    if (!cause) {
      this.rows.push(row);
    } else if (row.kind === 'answer') {
      (cause.answers ??= []).push(row);
      this.revised += 1;
    } else {
      (cause.beneath ??= []).push(row);
      if (row.periodic) this.changedPeriodic += 1;
      else this.reshaped += 1;
    }
    this.count += 1;
    this.characters += row.text.length;
    if (this.count > this.limit.rows || this.characters > this.limit.characters) this.dropOldest();
    if (row.periodic) this.changedALittle();
    else this.changed();
    return row;
  }

  /** Puts words beside a row. */
  remark(row: Row, ...remarks: Remark[]): void {
    if (remarks.length === 0) return;
    row.remarks = [...(row.remarks ?? []), ...remarks];
    this.revise(row);
  }

  /** Something about an earlier row has changed otherwise than through this class, or about many. */
  revise(row?: Row): void {
    if (row?.periodic) {
      this.changedPeriodic += 1;
      return this.changedALittle();
    }
    this.revised += 1;
    this.changed();
  }

  /** Forgets all rows. */
  clear(): void {
    this.rows = [];
    this.count = this.characters = this.dropped = 0;
    this.reshaped += 1;
    this.changed();
  }

  private changed(): void {
    if (this.scheduled || !this.isWatched) return;
    this.scheduled = true;
    this.nextFrame(() => {
      this.scheduled = false;
      this.version.value += 1;
    });
  }

  // What comes again and again need not be shown at once.
  private changedALittle(): void {
    if (this.soon !== undefined || !this.isWatched) return;
    this.soon = setTimeout(() => {
      this.soon = undefined;
      this.changed();
    }, littleMs);
  }

  // Some more than has to go, so that it is seldom done.
  private dropOldest(): void {
    const rows = this.limit.rows * 0.99;
    const characters = this.limit.characters * 0.99;
    let first = 0;
    while (
      first < this.rows.length - 1 &&
      (this.count > rows || this.characters > characters)
    ) {
      const { count, characters: long } = sizeOf(this.rows[first++]!);
      this.count -= count;
      this.dropped += count;
      this.characters -= long;
    }
    this.rows.splice(0, first);
    this.reshaped += 1;
  }
}

function sizeOf(row: Row): { count: number; characters: number } {
  const size = { count: 1, characters: row.text.length };
  for (const child of [...(row.answers ?? []), ...(row.beneath ?? [])]) {
    const { count, characters } = sizeOf(child);
    size.count += count;
    size.characters += characters;
  }
  return size;
}
