// The own microphone and camera.

import type { RoomAccess } from './roomAccess';

/** Off: not started, or stopped. Muted: running, but the others get nothing of it. */
export type DeviceState = 'off' | 'starting' | 'on' | 'muted';

export class LocalMedia {
  microphone: DeviceState = 'off';
  camera: DeviceState = 'off';
  frontCamera = true;
  /** 1 speech, 2 default, 3 music. */
  audioQuality = 2;

  constructor(private readonly room: RoomAccess) {
    const { bridge } = room;
    bridge.on('onMicDidReady', () => {});
    bridge.on('onCameraDidReady', () => {});
    bridge.on('onSendFirstLocalAudioFrame', () => {});
    bridge.on('onSendFirstLocalVideoFrame', () => {});
    bridge.on('onAudioRouteChanged', ({ route }) =>
      room.notice(route === 0 ? 'Sound comes from the speaker.' : 'Sound comes from the earpiece.', 'info'),
    );
  }

  /** The room, or the stage, is left: what runs is stopped, or the engine would send it again. */
  takenAway(): void {
    if (isRunning(this.microphone)) void this.room.attempt(this.room.bridge.stopLocalAudio());
    if (isRunning(this.camera)) void this.room.attempt(this.room.bridge.stopLocalPreview());
    this.microphone = 'off';
    this.camera = 'off';
    this.changed();
  }

  /** Starts the microphone, or mutes or unmutes it once it runs. */
  async toggleMicrophone(): Promise<void> {
    if (this.microphone === 'off') return this.startMicrophone();
    if (this.microphone === 'starting') return;
    const mute = this.microphone === 'on';
    if (await this.room.attempt(this.room.bridge.muteLocalAudio({ mute }))) this.microphone = mute ? 'muted' : 'on';
    this.changed();
  }

  async startMicrophone(): Promise<void> {
    this.microphone = 'starting';
    this.changed();
    const started = await this.room.attempt(this.room.bridge.startLocalAudio({ quality: this.audioQuality }));
    const unwanted = (this.microphone as DeviceState) === 'off'; // taken away meanwhile
    if (started && unwanted) return this.stopMicrophone();
    this.microphone = started ? 'on' : 'off';
    this.changed();
  }

  async stopMicrophone(): Promise<void> {
    if (await this.room.attempt(this.room.bridge.stopLocalAudio())) this.microphone = 'off';
    this.changed();
  }

  /** Starts the camera, or mutes or unmutes it once it runs. */
  async toggleCamera(): Promise<void> {
    if (this.camera === 'off') return this.startCamera();
    if (this.camera === 'starting') return;
    const mute = this.camera === 'on';
    if (await this.room.attempt(this.room.bridge.muteLocalVideo({ mute }))) this.camera = mute ? 'muted' : 'on';
    this.changed();
  }

  async startCamera(): Promise<void> {
    this.camera = 'starting';
    this.changed();
    const started = await this.room.attempt(this.room.bridge.startLocalPreview({ frontCamera: this.frontCamera }));
    const unwanted = (this.camera as DeviceState) === 'off'; // taken away meanwhile
    if (started && unwanted) return this.stopCamera();
    this.camera = started ? 'on' : 'off';
    this.changed();
  }

  async stopCamera(): Promise<void> {
    if (await this.room.attempt(this.room.bridge.stopLocalPreview())) this.camera = 'off';
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
      own.audio = this.microphone === 'on';
      own.video = this.camera === 'on' || this.camera === 'muted';
      own.paused = this.camera === 'muted';
    }
    this.room.watcher.changed();
  }
}

function isRunning(state: DeviceState): boolean {
  return state === 'on' || state === 'muted';
}
