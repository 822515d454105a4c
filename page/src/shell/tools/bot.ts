// A student without a page: a phone in the simulator, told by buttons what to do.

import { signal } from '@preact/signals';
import type { ToPhone } from '../frames';
import { readScript, type ScriptCall } from './envelope';
import { roles } from '../../roles';
import { errorInWords } from '../../words';

/** The connection of one bot; what it is told comes by the two functions. */
export interface BotSocket {
  send(text: string): void;
  close(): void;
}
export type Connect = (onText: (text: string) => void, onState: (open: boolean) => void) => BotSocket;

export interface BotForm {
  name: string;
  /** A room is what one application calls by one number. */
  application: number;
  room: number;
  role: 'stage' | 'audience';
}

export interface BotState {
  /** `gone`: its phone is no more. */
  at: 'coming' | 'inside' | 'outside' | 'gone';
  role: 'stage' | 'audience';
  microphone: boolean;
  camera: boolean;
  sharing: boolean;
  network: 'good' | 'cut';
  /** What went wrong last. */
  trouble: string | undefined;
}

const heard = ['onExitRoom', 'onError', 'onScreenCaptureStarted', 'onScreenCaptureStoped'];
let made = 0;

/** One that enters at once, and does what it is told when it can. */
export class Bot {
  /** Tells it from all others of the window. */
  readonly id = ++made;
  readonly state;
  readonly name: string;
  readonly room: number;
  private readonly application: number;
  private readonly socket: BotSocket;
  private readonly waiting = new Map<string, (call: ScriptCall) => void>();
  private lastCall = 0;

  constructor({ name, application, room, role }: BotForm, connect: Connect) {
    this.name = name;
    this.room = room;
    this.application = application;
    this.state = signal<BotState>({
      at: 'coming',
      role,
      microphone: false,
      camera: false,
      sharing: false,
      network: 'good',
      trouble: undefined,
    });
    this.socket = connect(
      (text) => this.told(text),
      (open) => (open ? this.begin() : this.ended()),
    );
  }

  /** Enters its room, if it is not there. */
  enter(): void {
    const { at, role } = this.state.value;
    if (at !== 'outside') return;
    this.change({ at: 'coming', trouble: undefined });
    const params = {
      appScene: 1,
      sdkAppId: this.application,
      userId: this.name,
      userSig: 'bot',
      roomId: this.room,
      role: roles[role],
    };
    this.command('enterRoom', params, (call) => {
      const elapsed = call.retval?.['elapsed'];
      const code = typeof elapsed === 'number' && elapsed < 0 ? elapsed : (call.code ?? 0);
      if (code === 0) this.change({ at: 'inside' });
      else this.change({ at: 'outside', trouble: errorInWords(code) });
    });
  }

  leave(): void {
    if (this.state.value.at !== 'inside') return;
    this.stopMedia();
    this.command('exitRoom');
    this.change({ at: 'outside' });
  }

  setMicrophone(on: boolean): void {
    if (!this.canSend || on === this.state.value.microphone) return;
    this.command(on ? 'startLocalAudio' : 'stopLocalAudio', {}, this.unlessFailed({ microphone: on }));
  }

  setCamera(on: boolean): void {
    if (!this.canSend || on === this.state.value.camera) return;
    this.command(on ? 'startLocalPreview' : 'stopLocalPreview', {}, this.unlessFailed({ camera: on }));
  }

  /** Sharing has begun and ended when the engine says so. */
  setSharing(on: boolean): void {
    if (!this.canSend || on === this.state.value.sharing) return;
    const picture = { screenCaptureMode: 1, width: 1280, height: 720, fps: 10, bitrate: 1200 };
    if (on) this.command('startScreenCapture', picture, this.unlessFailed({}));
    else this.command('stopScreenCapture', undefined, this.unlessFailed({}));
  }

  setNetwork(network: 'good' | 'cut'): void {
    if (this.state.value.at === 'gone') return;
    this.send({ kind: 'network', drop: network === 'cut' });
    this.change({ network });
  }

  /** Ends it for good. */
  end(): void {
    this.socket.close();
    this.ended();
  }

  /** Whether it is on stage in its room. */
  get canSend(): boolean {
    const { at, role } = this.state.value;
    return at === 'inside' && role === 'stage';
  }

  private begin(): void {
    this.send({ kind: 'settings', settings: { camera: 'authorized', microphone: 'authorized' } });
    this.command('registCallBacks', {
      callbacks: heard.map((event) => ({ sdkcbName: event, jsRecvcbName: 'bot' })),
    });
    this.command('initSDK');
    this.change({ at: 'outside' });
    this.enter();
  }

  private ended(): void {
    this.waiting.clear();
    if (this.state.value.at !== 'gone')
      this.change({
        at: 'gone',
        microphone: false,
        camera: false,
        sharing: false,
        trouble: 'The simulator takes no further phone, or has stopped.',
      });
  }

  private told(text: string): void {
    const frame = JSON.parse(text) as { kind: string; text?: string };
    if (frame.kind === 'problem') return this.change({ trouble: frame.text });
    const call = frame.kind === 'script' ? readScript(frame.text ?? '') : undefined;
    if (!call) return;
    if (call.cbid !== undefined) {
      const answer = this.waiting.get(call.cbid);
      this.waiting.delete(call.cbid);
      return answer?.(call);
    }
    switch (call.action) {
      case 'onExitRoom': {
        if (this.state.value.at !== 'inside') return;
        this.stopMedia();
        return this.change({ at: 'outside', trouble: 'It was put out of the room.' });
      }
      case 'onScreenCaptureStarted':
        return this.change({ sharing: true });
      case 'onScreenCaptureStoped':
        return this.change({ sharing: false });
      case 'onError': {
        const code = call.retval?.['errCode'];
        return this.change({ trouble: errorInWords(typeof code === 'number' ? code : 0) });
      }
    }
  }

  // What runs is stopped, or the engine would send it again in the next room.
  private stopMedia(): void {
    const { microphone, camera, sharing } = this.state.value;
    if (microphone) this.command('stopLocalAudio');
    if (camera) this.command('stopLocalPreview');
    if (sharing) this.command('stopScreenCapture');
    this.change({ microphone: false, camera: false, sharing: false });
  }

  private unlessFailed(change: Partial<BotState>): (call: ScriptCall) => void {
    return ({ code = 0, errorText }) =>
      this.change(code === 0 ? { ...change, trouble: undefined } : { trouble: errorText });
  }

  private command(action: string, params?: object, answered?: (call: ScriptCall) => void): void {
    const cbid = String(++this.lastCall);
    if (answered) this.waiting.set(cbid, answered);
    const message = { head: { module: 'kobu', action }, params, cbid };
    this.send({ kind: 'message', text: JSON.stringify(message) });
  }

  private send(frame: ToPhone): void {
    this.socket.send(JSON.stringify(frame));
  }

  private change(change: Partial<BotState>): void {
    this.state.value = { ...this.state.value, ...change };
  }
}
