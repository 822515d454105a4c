// The own microphone and camera.

import type { RoomAccess } from './roomAccess';

/** Off: not started, or stopped. Muted: running, but the others get nothing of it. */
export type DeviceState = 'off' | 'starting' | 'on' | 'muted';

/** The commands of one device. */
interface DeviceCalls {
  start(): Promise<unknown>;
  stop(): Promise<unknown>;
  mute(params: { mute: boolean }): Promise<unknown>;
}

export class LocalDevice {
  state: DeviceState = 'off';

  constructor(
    private readonly room: RoomAccess,
    private readonly calls: DeviceCalls,
    private readonly changed: () => void,
  ) {}

  get isRunning(): boolean {
    return this.state === 'on' || this.state === 'muted';
  }

  /** Starts it, or mutes or unmutes it once it runs. */
  async toggle(): Promise<void> {
    if (this.state === 'off') return this.start();
    if (this.state === 'starting') return;
    const mute = this.state === 'on';
    if (await this.room.attempt(this.calls.mute({ mute }))) this.state = mute ? 'muted' : 'on';
    this.changed();
  }

  async start(): Promise<void> {
    this.state = 'starting';
    this.changed();
    const started = await this.room.attempt(this.calls.start());
    const unwanted = (this.state as DeviceState) === 'off'; // taken away meanwhile
    if (started && unwanted) return this.stop();
    this.state = started ? 'on' : 'off';
    this.changed();
  }

  async stop(): Promise<void> {
    if (await this.room.attempt(this.calls.stop())) this.state = 'off';
    this.changed();
  }

  /** The room, or the stage, is left: what runs is stopped, or the engine would send it again. */
  takenAway(): void {
    if (this.isRunning) void this.room.attempt(this.calls.stop());
    this.state = 'off';
  }
}

export class LocalMedia {
  readonly microphone: LocalDevice;
  readonly camera: LocalDevice;
  frontCamera = true;
  /** 1 speech, 2 default, 3 music. */
  audioQuality = 2;

  constructor(private readonly room: RoomAccess) {
    const { bridge } = room;
    const changed = () => this.changed();
    this.microphone = new LocalDevice(
      room,
      {
        start: () => bridge.startLocalAudio({ quality: this.audioQuality }),
        stop: () => bridge.stopLocalAudio(),
        mute: (params) => bridge.muteLocalAudio(params),
      },
      changed,
    );
    this.camera = new LocalDevice(
      room,
      {
        start: () => bridge.startLocalPreview({ frontCamera: this.frontCamera }),
        stop: () => bridge.stopLocalPreview(),
        mute: (params) => bridge.muteLocalVideo(params),
      },
      changed,
    );
    bridge.on('onMicDidReady', () => {});
    bridge.on('onCameraDidReady', () => {});
    bridge.on('onSendFirstLocalAudioFrame', () => {});
    bridge.on('onSendFirstLocalVideoFrame', () => {});
    bridge.on('onAudioRouteChanged', ({ route }) =>
      room.notice(route === 0 ? 'Sound comes from the speaker.' : 'Sound comes from the earpiece.', 'info'),
    );
  }

  /** The room, or the stage, is left. */
  takenAway(): void {
    this.microphone.takenAway();
    this.camera.takenAway();
    this.changed();
  }

  async switchCamera(): Promise<void> {
    const frontCamera = !this.frontCamera;
    if (await this.room.attempt(this.room.bridge.switchCamera({ frontCamera }))) this.frontCamera = frontCamera;
    this.changed();
  }

  private changed(): void {
    const own = this.room.own;
    if (own) {
      own.audio = this.microphone.state === 'on';
      own.video = this.camera.isRunning;
      own.paused = this.camera.state === 'muted';
    }
    this.room.watcher.changed();
  }
}
