// Records whole sessions of a phone, of any length: each page that connects is a session of its own.

import { signal } from '@preact/signals';
import type { FromPhone, ToPhone } from '../frames';

/** A session that was recorded; kept as long as the window is not loaded anew. */
export interface RecordedSession {
  /** Of its file. */
  name: string;
  /** When it ended (ms since 1970). */
  ended: number;
  file: Blob;
}

/** What is kept of one session: more ends the recording. */
const mostBytes = 256_000_000;
/** Lines are put together at so many characters, out of the page's own memory. */
const partLength = 1_000_000;

export class SessionRecorder {
  readonly isOn = signal(false);
  readonly sessions = signal<readonly RecordedSession[]>([]);
  /** Why the recording is not on any more. */
  readonly problem = signal<string | undefined>(undefined);
  private lines: string[] = [];
  private length = 0;
  private file = new Blob();
  private count = 0;

  /** `begin` is the beginning of the names of files. */
  constructor(
    private readonly begin: string,
    private readonly send: (frame: ToPhone) => void,
  ) {}

  turn(on: boolean): void {
    this.problem.value = undefined;
    this.isOn.value = on;
    this.send({ kind: 'record', on });
  }

  /** A phone is there: what it begins with is in its recording. */
  phoneCame(): void {
    if (this.isOn.peek()) this.send({ kind: 'record', on: true });
  }

  /** The phone is gone, and nothing more comes. */
  phoneWent(): void {
    this.end();
  }

  take(frame: Extract<FromPhone, { kind: 'recorded' }>): void {
    if ('over' in frame) return this.end();
    this.lines.push(frame.text);
    this.length += frame.text.length;
    if (this.length < partLength) return;
    this.putTogether();
    if (this.file.size < mostBytes || !this.isOn.peek()) return;
    this.turn(false);
    this.problem.value = 'The recording has 256 MB and was ended.';
  }

  /** The phone does not record. */
  refused(why: string): void {
    this.isOn.value = false;
    this.problem.value = `Not recorded: ${why}.`;
  }

  forget(session: RecordedSession): void {
    this.sessions.value = this.sessions.peek().filter((one) => one !== session);
  }

  private putTogether(): void {
    this.file = new Blob([this.file, ...this.lines]);
    this.lines = [];
    this.length = 0;
  }

  private end(): void {
    this.putTogether();
    const { file } = this;
    this.file = new Blob();
    if (file.size === 0) return;
    const name = `${this.begin}-${++this.count}.vemorec`;
    this.sessions.value = [...this.sessions.peek(), { name, ended: Date.now(), file }];
  }
}
