// How a time line is looked at; it outlives the closing of the panel.

import { computed, signal } from '@preact/signals';
import { firstFilter, Lines, type Filter, type Group } from './lines';
import type { Row, Timeline } from './timeline';

export class TimelineView {
  readonly filter = signal<Filter>(firstFilter);
  readonly showsSecrets = signal(false);
  /** The id of the row that the keys act on. */
  readonly active = signal<number | undefined>(undefined);
  private readonly unfolded = new Set<number>();
  private readonly foldings = signal(0);
  private readonly lines = new Lines();

  constructor(private readonly timeline: Timeline) {}

  // Most of what happens is not shown: whoever looks is told of what is.
  private readonly changes = computed(() => {
    this.timeline.version.value;
    return this.lines.update(this.timeline, this.filter.value, (row) => this.isOpen(row), this.foldings.value);
  });

  /** The rows that are shown now. */
  get rows(): readonly Row[] {
    this.changes.value;
    return this.lines.rows;
  }

  isOpen(row: Row): boolean {
    return this.unfolded.has(row.id);
  }

  fold(row: Row, open = !this.isOpen(row)): void {
    if (open) this.unfolded.add(row.id);
    else this.unfolded.delete(row.id);
    this.foldings.value += 1;
  }

  change(changes: Partial<Filter>): void {
    this.filter.value = { ...this.filter.peek(), ...changes };
  }

  toggleGroup(group: Group): void {
    const groups = new Set(this.filter.peek().groups);
    if (!groups.delete(group)) groups.add(group);
    this.change({ groups });
  }
}
