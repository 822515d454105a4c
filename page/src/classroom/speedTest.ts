// Measures the way to the servers.

import { signal } from '@preact/signals';
import type { KOBUSpeedTestResult } from 'vemo-client';
import { inWords, type Classroom } from './classroom';

export class SpeedTest {
  readonly total = signal(1);
  readonly completed = signal(0);
  readonly results = signal<readonly KOBUSpeedTestResult[]>([]);
  /** What happened last, in words. */
  readonly status = signal('How good is the way to the servers?');
  private test = 0; // counts, so that late answers of an earlier test change nothing

  constructor(private readonly classroom: Classroom) {}

  async begin(): Promise<void> {
    const mine = ++this.test;
    this.results.value = [];
    this.completed.value = 0;
    this.status.value = 'Measuring …';
    const { bridge, sdkAppId, userId, userSig } = this.classroom;
    try {
      for await (const answer of bridge.startSpeedTest({ sdkAppId, userId, userSig })) {
        if (mine !== this.test) return;
        this.total.value = answer.totalCount;
        this.completed.value = answer.completedCount;
        if (answer.result) this.results.value = [...this.results.value, answer.result];
      }
      if (mine === this.test) this.status.value = 'Done.';
    } catch (error) {
      if (mine === this.test) this.status.value = `The test failed: ${inWords(error).detail}`;
    }
  }

  async end(): Promise<void> {
    ++this.test;
    const { classroom } = this;
    if (await classroom.attempt(classroom.bridge.stopSpeedTest())) this.status.value = 'Stopped.';
  }
}
