// Sharing the own screen.

import type { RoomAccess } from './roomAccess';

/** What the system can capture, as a sum. */
const inApplication = 1;
const wholeScreen = 2;

export type ShareState = 'off' | 'starting' | 'on' | 'paused';

export class ScreenShare {
  state: ShareState = 'off';
  private support = 0;

  constructor(private readonly room: RoomAccess) {
    const { bridge } = room;
    const becomes = (state: ShareState, text: string) => () => {
      this.state = state;
      room.notice(text, 'info');
      room.watcher.changed();
    };
    bridge.on('onScreenCaptureStarted', becomes('on', 'Your screen is shared.'));
    bridge.on('onScreenCapturePaused', becomes('paused', 'Sharing is paused.'));
    bridge.on('onScreenCaptureResumed', becomes('on', 'Sharing goes on.'));
    bridge.on('onScreenCaptureStoped', becomes('off', 'Sharing has ended.'));
    bridge.on('onScreenKitEvent', ({ event }) => {
      if (event === 'started') void this.start(wholeScreen);
      if (event === 'finished' && this.state !== 'off') void this.stop();
    });
  }

  get canShareApplication(): boolean {
    return (this.support & inApplication) !== 0;
  }
  get canShareScreen(): boolean {
    return (this.support & wholeScreen) !== 0;
  }

  /** Asks what this system can share. */
  async ask(): Promise<void> {
    this.support = (await this.room.bridge.isSupportScreenCapture()).mode;
  }

  /** The room, or the stage, is left: sharing is stopped, or the engine would go on with it. */
  takenAway(): void {
    if (this.state === 'on' || this.state === 'paused') void this.stop();
    this.state = 'off';
  }

  shareApplication(): Promise<void> {
    return this.start(inApplication);
  }

  /** Has the broadcast extension started; sharing begins with its "started". */
  async shareScreen(): Promise<void> {
    await this.room.attempt(this.room.bridge.launchScreenKit());
  }

  async pause(): Promise<void> {
    await this.room.attempt(this.room.bridge.pauseScreenCapture());
  }
  async resume(): Promise<void> {
    await this.room.attempt(this.room.bridge.resumeScreenCapture());
  }
  async stop(): Promise<void> {
    await this.room.attempt(this.room.bridge.stopScreenCapture());
  }

  // The start has happened when its event says so; its answer may come later or never.
  private async start(screenCaptureMode: number): Promise<void> {
    if (this.state === 'off') this.state = 'starting';
    this.room.watcher.changed();
    const started = await this.room.attempt(this.room.bridge.startScreenCapture({
      screenCaptureMode,
      width: 1280,
      height: 720,
      fps: 10,
      bitrate: 1200,
    }));
    if (!started && this.state === 'starting') this.state = 'off';
    this.room.watcher.changed();
  }
}
