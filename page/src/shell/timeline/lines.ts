// Which rows of a time line are shown, in order.

import type { Kind, Row, Timeline } from './timeline';

export const groups = {
  commands: 'Commands',
  events: 'Events',
  phone: 'Phone',
  engine: 'Engine',
  records: 'Records',
  notes: 'Notes',
} as const;
export type Group = keyof typeof groups;

const groupOf: Record<Kind, Group> = {
  command: 'commands',
  answer: 'commands',
  event: 'events',
  report: 'events',
  engine: 'engine',
  native: 'engine',
  record: 'records',
  prompt: 'phone',
  press: 'phone',
  network: 'phone',
  settings: 'phone',
  connection: 'notes',
  note: 'notes',
  problem: 'notes',
};

export interface Filter {
  groups: ReadonlySet<Group>;
  /** What comes again and again, too. */
  periodic: boolean;
  /** Only what failed, and what there is a remark on. */
  failures: boolean;
  /** Any case; empty for all. */
  search: string;
}

/** What came of a command or an event is shown beneath it when it is unfolded, whatever it is. */
export const firstFilter: Filter = {
  groups: new Set<Group>(['commands', 'events', 'phone', 'notes']),
  periodic: false,
  failures: false,
  search: '',
};

/** The rows that are shown; brought up to date by `update`, which does no more than is needed. */
export class Lines {
  rows: Row[] = [];
  /** How often they have come to look otherwise. */
  changes = 0;
  private filter: Filter | undefined;
  private opened = -1;
  private reshaped = -1;
  private revised = -1;
  private changedPeriodic = -1;
  private threads = 0;
  private lastId = 0;
  private search = 0;
  private pattern: RegExp | undefined;

  /** Returns `changes`; `opened` counts the changes of what `isOpen` says. */
  update(timeline: Timeline, filter: Filter, isOpen: (row: Row) => boolean, opened: number): number {
    if (filter.search !== this.filter?.search) {
      this.search += 1;
      this.pattern = filter.search
        ? new RegExp(filter.search.replace(/[.*+?^${}()|[\]\\]/g, '\\$&'), 'i')
        : undefined;
    }
    const looksBack = filter.failures || filter.search !== '';
    const anew =
      filter !== this.filter ||
      opened !== this.opened ||
      timeline.reshaped !== this.reshaped ||
      (filter.periodic && timeline.changedPeriodic !== this.changedPeriodic) ||
      (looksBack && timeline.revised !== this.revised);
    const isRevised = timeline.revised !== this.revised || timeline.threads.length !== this.threads;
    this.filter = filter;
    this.opened = opened;
    this.reshaped = timeline.reshaped;
    this.revised = timeline.revised;
    this.changedPeriodic = timeline.changedPeriodic;
    this.threads = timeline.threads.length;
    const { rows } = timeline;
    let first = 0;
    if (anew) {
      this.rows = [];
    } else {
      first = rows.length;
      while (first > 0 && rows[first - 1]!.id > this.lastId) --first;
    }
    const shown = this.rows.length;
    for (let at = first; at < rows.length; ++at) this.show(rows[at]!, filter, isOpen);
    this.lastId = rows[rows.length - 1]?.id ?? 0;
    if (anew || isRevised || this.rows.length > shown) this.changes += 1;
    return this.changes;
  }

  private show(row: Row, filter: Filter, isOpen: (row: Row) => boolean): void {
    const isWanted = this.isWanted(row, filter);
    if (isWanted) this.rows.push(row);
    const open = isWanted && isOpen(row);
    for (const child of row.beneath ?? [])
      if (open || this.isWanted(child, filter)) this.rows.push(child);
  }

  private isWanted(row: Row, filter: Filter): boolean {
    if (row.periodic && !filter.periodic) return false;
    if (!filter.groups.has(groupOf[row.kind])) return false;
    if (filter.failures && !row.failed && !row.remarks) return false;
    return !this.pattern || this.isFound(row, this.pattern);
  }

  // Answers may have come since the row was last looked at.
  private isFound(row: Row, pattern: RegExp): boolean {
    const answers = row.answers ?? [];
    if (row.searched !== this.search) {
      row.searched = this.search;
      row.searchedAnswers = 0;
      row.fits = isIn(row, pattern);
    }
    while (!row.fits && row.searchedAnswers < answers.length)
      row.fits = isIn(answers[row.searchedAnswers++]!, pattern);
    return row.fits;
  }
}

function isIn({ title, text }: Row, pattern: RegExp): boolean {
  return pattern.test(title) || pattern.test(text);
}
