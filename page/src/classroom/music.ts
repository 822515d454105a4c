// Background music: one piece at a time, played by the engine.

import { signal } from '@preact/signals';
import type { Bridge, Commands } from 'vemo-client';
import { inWords, type Classroom } from './classroom';

const audioId = 1;
export const pieces = [
  ['music/morning-bell.mp3', 'Morning bell'],
  ['music/quiet-reading.mp3', 'Quiet reading'],
  ['music/clean-up-song.mp3', 'Clean-up song'],
  ['music/lost.mp3', 'A lost recording'],
] as const;
export type Piece = (typeof pieces)[number][0];

export class Music {
  readonly path = signal<Piece>(pieces[0][0]);
  readonly loopCount = signal<number>(0);
  readonly publish = signal(true);
  readonly allVolume = signal(100);
  readonly playoutVolume = signal(100);
  readonly publishVolume = signal(100);

  readonly state = signal<'stopped' | 'playing' | 'paused'>('stopped');
  /** What happened last, in words. */
  readonly status = signal('Nothing is playing.');
  readonly positionMs = signal(0);
  readonly durationMs = signal(1);

  private play = 0; // counts, so that late answers of an earlier piece change nothing

  private readonly bridge: Bridge;

  constructor(private readonly classroom: Classroom) {
    this.bridge = classroom.bridge;
  }

  /** Begins the piece, or goes on after a pause. */
  async start(): Promise<void> {
    if (this.state.value !== 'paused') return this.begin();
    if (await this.classroom.attempt(this.bridge.resumeMusic({ audioId }))) this.become('playing', this.playing);
  }

  async pause(): Promise<void> {
    if (await this.classroom.attempt(this.bridge.pauseMusic({ audioId })))
      this.become('paused', `“${this.title}” is paused.`);
  }

  async stop(): Promise<void> {
    ++this.play;
    if (await this.classroom.attempt(this.bridge.stopMusic({ audioId }))) this.become('stopped', 'Stopped.');
  }

  async seek(position: number): Promise<void> {
    await this.classroom.attempt(this.bridge.setMusicInfo({ audioId, position }));
  }

  /** The volume of all music, 0 to 100. */
  async setAllVolume(volume: number): Promise<void> {
    await this.classroom.attempt(this.bridge.setMusicInfo({ volume }));
  }

  /** The piece's volumes here and for the others, 0 to 100. */
  async setVolume(volume: { playoutVolume: number } | { publishVolume: number }): Promise<void> {
    await this.classroom.attempt(this.bridge.setMusicInfo({ audioId, ...volume }));
  }

  private get title(): string {
    return pieces.find(([path]) => path === this.path.value)?.[1] ?? this.path.value;
  }
  private get playing(): string {
    return `Playing “${this.title}”.`;
  }

  private become(state: 'stopped' | 'playing' | 'paused', words: string): void {
    this.state.value = state;
    this.status.value = words;
  }

  private async begin(): Promise<void> {
    const mine = ++this.play;
    const [path, loopCount, publish] = [this.path.value, this.loopCount.value, this.publish.value];
    const wanted = { audioId, path, loopCount, publish, onStart: true, onProgress: true, onComplete: true };
    try {
      for await (const answer of this.bridge.playMusic(wanted)) {
        if (mine !== this.play) return;
        this.answered(answer);
      }
    } catch (error) {
      if (mine !== this.play) return;
      const { words, detail } = inWords(error);
      this.become('stopped', `${words} (${detail})`);
    }
  }

  private answered({ state, progressMs = 0, durationMs = 0 }: Commands['playMusic']['result']): void {
    if (state === 'onStart') this.become('playing', this.playing);
    if (state === 'onComplete') this.become('stopped', `“${this.title}” has ended.`);
    if (state === 'onProgress') {
      this.durationMs.value = durationMs;
      this.positionMs.value = progressMs;
    }
  }
}
