// Measures the way to the servers.

import { signal } from '@preact/signals';
import type { KOBUSpeedTestResult } from '../protocol';
import type { Classroom } from './classroom';

export class SpeedTest {
  readonly total = signal(1);
  readonly completed = signal(0);
  readonly results = signal<readonly KOBUSpeedTestResult[]>([]);
  /** What happened last, in words. */
  readonly status = signal('How good is the way to the servers?');
  private test = 0; // counts, so that late answers of an earlier test change nothing

  constructor(private readonly classroom: Classroom) {}

  begin(): void {
    const mine = ++this.test;
    this.results.value = [];
    this.completed.value = 0;
    this.status.value = 'Measuring …';
    const { sdkAppId, userId, userSig } = this.classroom;
    this.classroom.bridge.follow('startSpeedTest', { sdkAppId, userId, userSig }, ({ error, retval }) => {
      if (mine !== this.test) return false;
      if (!retval) {
        this.status.value = `The test failed: ${error?.errmsg ?? ''}`;
        return false;
      }
      const { totalCount, completedCount, result } = retval;
      this.total.value = totalCount;
      this.completed.value = completedCount;
      if (result) this.results.value = [...this.results.value, result];
      const isDone = error?.errmsg === 'done';
      if (isDone) this.status.value = 'Done.';
      return !isDone;
    });
  }

  async end(): Promise<void> {
    ++this.test;
    if (await this.classroom.attempt('stopSpeedTest')) this.status.value = 'Stopped.';
  }
}
