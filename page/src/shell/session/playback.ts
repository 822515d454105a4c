// Plays a session on a phone of the simulator, a step at a time, and marks what differs.

import { signal } from '@preact/signals';
import { differences } from './differences';
import { PlayingPhone } from './playingPhone';
import type { Session, SessionStep } from './session';

export class Playback {
  /** How many steps are played. */
  readonly at = signal(0);
  readonly isPlaying = signal(false);
  /** A step is under way. */
  readonly isBusy = signal(false);
  /** How many steps did other than they had done, and how many could not be played. */
  readonly differing = signal(0);
  readonly unplayed = signal(0);
  private phone: PlayingPhone | undefined;
  private underWay: Promise<void> | undefined;

  constructor(readonly session: Session) {}

  get isAtEnd(): boolean {
    return this.at.value >= this.session.steps.length;
  }

  /** Plays the next step, or waits for the one that is under way. */
  step(): Promise<void> {
    return (this.underWay ??= this.playNext().finally(() => (this.underWay = undefined)));
  }

  /** Plays until the end, or until it is paused. */
  async play(): Promise<void> {
    this.isPlaying.value = true;
    while (this.isPlaying.peek() && this.at.peek() < this.session.steps.length) await this.step();
    this.isPlaying.value = false;
  }

  pause(): void {
    this.isPlaying.value = false;
  }

  /** Back to the start: the next step is the first, on a phone like new. */
  rewind(): void {
    this.pause();
    if (!this.isBusy.peek()) this.phone?.end();
    this.phone = undefined;
    this.at.value = this.differing.value = this.unplayed.value = 0;
    for (const { row } of this.session.steps) row.remarks = undefined;
    this.session.timeline.revise();
    this.session.timelineView.active.value = undefined;
  }

  private async playNext(): Promise<void> {
    const next = this.session.steps[this.at.peek()];
    if (!next) return;
    this.isBusy.value = true;
    const isFirst = this.phone === undefined;
    const phone = (this.phone ??= new PlayingPhone());
    if (isFirst) await phone.begin();
    await this.playOn(phone, next);
    this.isBusy.value = false;
    if (phone.isGone) this.pause();
    if (phone === this.phone) this.at.value += 1;
    else phone.end(); // it was taken back to the start meanwhile
  }

  private async playOn(phone: PlayingPhone, { step, device, effects, row }: SessionStep): Promise<void> {
    const { timeline, timelineView } = this.session;
    timelineView.active.value = row.id;
    phone.set(device);
    if ('device' in step) return phone.set(step['device'] as typeof device);
    if (row.periodic) return;
    const came = await phone.play(step, effects.length);
    if (phone !== this.phone) return;
    if (typeof came === 'string') {
      this.unplayed.value += 1;
      return timeline.remark(row, { tone: 'warning', text: `Not played. ${came}` });
    }
    const closeness = { exact: !came.byItself, whole: this.session.isRecording };
    const found = differences(effects, came.effects, closeness);
    if (found.length === 0) return;
    this.differing.value += 1;
    timeline.remark(row, ...found.map((text) => ({ tone: 'error' as const, text: `${text}.` })));
  }
}
