// What the parts of a class know of the whole.

import type { Bridge } from 'vemo-client';

// Which stream, or which view, of a user.
export const cameraStream = 0;
export const screenStream = 2;

export type Tone = 'info' | 'good' | 'bad';

export interface Person {
  userId: string;
  own: boolean;
  audio: boolean;
  /** Whether there is a picture to show. */
  video: boolean;
  /** The own camera runs, but the others see nothing of it. */
  paused: boolean;
  screen: boolean;
  /** 0 to 100. */
  volume: number;
  /** 0 unknown, 1 excellent to 6 unusable. */
  quality: number;
  /** 0 to 100, how loud the person is played here. */
  playVolume: number;
}

export interface Watcher {
  /** Something that is drawn has changed. */
  changed(): void;
  /** Something worth a passing notice has happened. */
  notice(text: string, tone: Tone): void;
}

export interface RoomAccess {
  readonly bridge: Bridge;
  readonly watcher: Watcher;
  /** The own user, while in a room. */
  readonly own: Person | undefined;
  /** Waits for a command; a failure becomes a notice. Gives its value, or nothing. */
  attempt<Value>(call: Promise<Value>): Promise<Value | undefined>;
  notice(text: string, tone: Tone): void;
}
