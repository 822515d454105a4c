// The class as this page knows it: who is in the room, what the own devices do, and the
// commands that change it. It draws nothing.

import { Bridge, BridgeError, type EventHandler, type EventName, type KOBUStatistics } from 'vemo-client';
import { roles } from '../roles';
import { errorInWords, exitInWords, leaveInWords } from '../words';
import { LocalMedia } from './localMedia';
import { cameraStream, type Person, type RoomAccess, type Tone, type Watcher } from './roomAccess';
import { ScreenShare } from './screenShare';

const onlineClassScene = 1;

export type Phase = 'connecting' | 'stopped' | 'outside' | 'entering' | 'inside' | 'leaving';
export type Connection = 'good' | 'lost' | 'reconnecting';

export interface EnterForm {
  name: string;
  roomId: number;
  role: number;
  sdkAppId: number;
  userSig: string;
}

/** A failure in words, with the router's own text. */
export interface Problem {
  words: string;
  detail: string;
}

export class Classroom implements RoomAccess {
  phase: Phase = 'connecting';
  connection: Connection = 'good';
  role: number = roles.audience;
  roomId = 0;
  userId = '';
  sdkAppId = 0;
  userSig = '';
  version = '';
  problem: Problem | undefined;
  statistics: KOBUStatistics | undefined;
  readonly people = new Map<string, Person>();
  private newcomersAreNews = false;
  private lastError: string | undefined;
  readonly media: LocalMedia;
  readonly share: ScreenShare;

  constructor(
    readonly bridge: Bridge,
    readonly watcher: Watcher,
  ) {
    this.media = new LocalMedia(this);
    this.share = new ScreenShare(this);
    this.listen();
    bridge.onState = (state) => {
      if (state === 'ready') void this.start();
      if (state === 'stopped') {
        this.reset();
        this.phase = 'stopped';
        watcher.changed();
      }
    };
  }

  get own(): Person | undefined {
    return this.people.get(this.userId);
  }

  get onStage(): boolean {
    return this.phase === 'inside' && this.role === roles.stage;
  }

  /** Connects with the application again, after it had stopped. */
  connect(): void {
    if (this.bridge.state !== 'stopped') return;
    this.phase = 'connecting';
    this.problem = undefined;
    this.watcher.changed();
    this.bridge.connect();
  }

  async enter(form: EnterForm): Promise<void> {
    this.reset();
    this.phase = 'entering';
    this.problem = undefined;
    this.userId = form.name;
    this.sdkAppId = form.sdkAppId;
    this.userSig = form.userSig;
    this.roomId = form.roomId;
    this.role = form.role;
    this.watcher.changed();
    try {
      const { elapsed } = await this.bridge.enterRoom({
        sdkAppId: form.sdkAppId,
        userId: form.name,
        userSig: form.userSig,
        roomId: form.roomId,
        role: form.role,
        appScene: onlineClassScene,
        autoRecvAudio: true,
        autoRecvVideo: true,
      });
      if (elapsed < 0) throw new BridgeError('enterRoom', 'KOBU', elapsed, '');
      this.phase = 'inside';
      this.person(form.name);
      this.notice(`You are in room ${form.roomId}.`, 'good');
    } catch (error) {
      this.failedToEnter(error);
    }
    this.watcher.changed();
  }

  async leave(): Promise<void> {
    this.phase = 'leaving';
    this.watcher.changed();
    await this.attempt(this.bridge.exitRoom());
    if (this.phase !== 'leaving') return;
    this.reset();
    this.phase = 'outside';
    this.watcher.changed();
  }

  /** Goes on stage or back to the audience; the answer comes when the room has agreed. */
  async switchRole(role: number): Promise<void> {
    const done = await this.attempt(this.bridge.switchRole({ role }, { nativecb: 'switchRole' }));
    if (!done) return;
    this.role = role;
    if (role === roles.audience) {
      this.media.takenAway();
      this.share.takenAway();
    }
    this.notice(role === roles.stage ? 'You are on stage.' : 'You are in the audience.', 'good');
    this.watcher.changed();
  }

  /** Opens the views of all who send a picture. */
  async showEverybody(): Promise<void> {
    for (const { userId, own, video, screen } of this.people.values()) {
      if (own) continue;
      if (video) await this.attempt(this.bridge.startRemoteView({ userId, streamType: cameraStream }));
      if (screen) await this.attempt(this.bridge.startRemoteSubStreamView({ userId }));
    }
  }

  /** Ends the engine, which leaves the room, and starts another one. */
  async restartEngine(): Promise<void> {
    this.phase = 'leaving';
    this.reset();
    await this.attempt(this.bridge.uninitSDK());
    this.phase = 'outside';
    await this.attempt(this.bridge.initSDK());
    this.watcher.changed();
  }

  async attempt<Value>(call: Promise<Value>): Promise<Value | undefined> {
    try {
      return await call;
    } catch (error) {
      if (!(error instanceof BridgeError)) throw error;
      if (error.reason !== 'stopped') {
        const detail = error.text && ` (${error.text})`;
        this.notice(`${errorInWords(error.code)}${detail}`, 'bad');
      }
      return undefined;
    }
  }

  notice(text: string, tone: Tone): void {
    this.watcher.notice(text, tone);
  }

  private async start(): Promise<void> {
    try {
      await this.bridge.initSDK();
      this.version = (await this.bridge.getSDKVersion()).version;
      await this.share.ask();
      this.phase = 'outside';
    } catch (error) {
      if (error instanceof BridgeError && error.reason === 'stopped') return;
      this.problem = quoted(inWords(error));
      this.phase = 'outside';
    }
    this.watcher.changed();
  }

  private failedToEnter(error: unknown): void {
    this.reset();
    if (this.phase === 'stopped') return;
    this.phase = 'outside';
    this.problem = quoted(inWords(error));
  }

  private reset(): void {
    this.people.clear();
    this.connection = 'good';
    this.statistics = undefined;
    this.lastError = undefined;
    this.newcomersAreNews = false;
    this.media.takenAway();
    this.share.takenAway();
  }

  private person(userId: string): Person {
    let person = this.people.get(userId);
    if (!person) {
      person = {
        userId,
        own: userId === this.userId,
        audio: false,
        video: false,
        paused: false,
        screen: false,
        volume: 0,
        quality: 0,
        playVolume: 100,
      };
      this.people.set(userId, person);
    }
    return person;
  }

  // Events reach the page for as long as its router lives; those of a room that the page
  // has left, or failed to enter, change nothing here.
  private listen(): void {
    const inRoom = <Name extends EventName>(event: Name, handler: EventHandler<Name>) =>
      bridge.on(event, (value) => {
        if (this.phase !== 'inside') return;
        handler(value);
        this.watcher.changed();
      });
    const { bridge } = this;

    bridge.on('onEnterRoom', () => {});
    inRoom('onExitRoom', ({ reason }) => {
      const detail = this.lastError ? `The last error: ${this.lastError}` : '';
      this.reset();
      this.phase = 'outside';
      this.problem = { words: exitInWords(reason), detail };
    });
    // Some end the stay: their notice would go with the room.
    inRoom('onError', ({ errCode, errMsg }) => {
      this.lastError = `${errorInWords(errCode)} (${errMsg})`;
      this.notice(this.lastError, 'bad');
    });
    bridge.on('onWarning', ({ warningMsg }) => this.notice(warningMsg, 'info'));

    inRoom('onRemoteUserEnterRoom', ({ remoteUserId }) => {
      this.person(remoteUserId);
      if (this.newcomersAreNews) this.notice(`${remoteUserId} is on stage now.`, 'info');
    });
    inRoom('onRemoteUserLeaveRoom', ({ remoteUserId, reason }) => {
      this.people.delete(remoteUserId);
      this.notice(`${remoteUserId} ${leaveInWords(reason)}.`, 'info');
    });
    inRoom('onUserAudioAvailable', ({ availableUserId, available }) => {
      this.person(availableUserId).audio = available;
    });
    inRoom('onUserVideoAvailable', ({ availableUserId: userId, available }) => {
      this.person(userId).video = available;
      const view = { userId, streamType: cameraStream };
      void this.attempt(available ? bridge.startRemoteView(view) : bridge.stopRemoteView(view));
    });
    inRoom('onUserSubStreamAvailable', ({ availableUserId: userId, available }) => {
      this.person(userId).screen = available;
      const view = { userId };
      void this.attempt(available ? bridge.startRemoteSubStreamView(view) : bridge.stopRemoteSubStreamView(view));
    });

    // Those on stage already are told of right behind the enter, before anything is measured.
    for (const measured of ['onUserVoiceVolume', 'onNetworkQuality', 'onStatistics'] as const)
      inRoom(measured, () => {
        this.newcomersAreNews = true;
      });
    inRoom('onUserVoiceVolume', ({ userVolumes }) => {
      const volumes = new Map(userVolumes?.map(({ userId, volume }) => [userId, volume]));
      for (const person of this.people.values()) person.volume = volumes.get(person.userId) ?? 0;
    });
    inRoom('onNetworkQuality', ({ localQuality, remoteQuality = [] }) => {
      for (const { userId, quality } of localQuality ? [localQuality, ...remoteQuality] : remoteQuality) {
        const person = this.people.get(userId ?? '');
        if (person) person.quality = quality;
      }
    });
    inRoom('onStatistics', ({ statistics }) => {
      this.statistics = statistics;
    });

    const connection = (event: EventName, state: Connection, text: string, tone: Tone) =>
      inRoom(event, () => {
        this.connection = state;
        this.notice(text, tone);
      });
    connection('onConnectionLost', 'lost', 'The connection is lost.', 'bad');
    connection('onTryToReconnect', 'reconnecting', 'Trying to reconnect …', 'info');
    connection('onConnectionRecovery', 'good', 'The connection is back.', 'good');
  }
}

/** A failure whose detail says whose words it is in. */
function quoted({ words, detail }: Problem): Problem {
  return { words, detail: detail && `The router says: ${detail}` };
}

/** A failure in words. */
export function inWords(error: unknown): Problem {
  if (error instanceof BridgeError) {
    return { words: errorInWords(error.code), detail: error.text };
  }
  return { words: 'Something went wrong.', detail: String(error) };
}
