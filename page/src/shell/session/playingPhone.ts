// A phone of the simulator without a page: what goes in is put in by hand, and what its router does
// is heard by the step that brought it about.

import { openPhone } from '../access';
import { broadcastNotifications, type BroadcastEvent, type FromPhone, type ToPhone } from '../frames';
import type { Effect, JsonObject } from './session';

interface Heard {
  /** The verb of the step, with an event's name. */
  what: string;
  effects: Effect[];
}

/** How long something that the phone does by itself may take, beside the way to it and back. */
const patienceMs = 1500;
const statuses = ['notDetermined', 'restricted', 'denied', 'authorized'];
const settingNames = new Set(['os', 'bundle', 'canOpenSettings', 'appGroup']);

export class PlayingPhone {
  private readonly socket = openPhone();
  /** Steps that nobody has asked for yet, and by number whose a task or an effect is. */
  private unclaimed: Heard[] = [];
  private readonly byNumber = new Map<number, Heard>();
  private readonly asked: ('camera' | 'microphone')[] = [];
  private readonly alerts: Extract<FromPhone, { kind: 'alert' }>[] = [];
  private readonly watchers = new Set<() => void>();
  private lastEcho = 0;
  private echoes = 0;
  private problem: string | undefined;
  /** The simulator has ended. */
  isGone = false;

  constructor() {
    const { socket } = this;
    const look = () => this.watchers.forEach((watcher) => watcher());
    socket.addEventListener('open', look);
    socket.addEventListener('message', ({ data }) => {
      this.take(JSON.parse(String(data)) as FromPhone);
      look();
    });
    socket.addEventListener('close', () => {
      this.isGone = true;
      look();
    });
  }

  /** It leaves its room. */
  end(): void {
    this.socket.close();
  }

  /** Waits until it is there, or known to be gone. */
  async begin(): Promise<void> {
    await this.until(() => this.socket.readyState === WebSocket.OPEN);
    this.send({ kind: 'note', on: true });
  }

  /** Sets what of a device in a scenario is a setting of the phone. */
  set(device: JsonObject): void {
    const settings: JsonObject = {};
    for (const [key, value] of Object.entries(device)) {
      if (key === 'camera' || key === 'microphone') settings[key] = statuses[Number(value)];
      else if (settingNames.has(key)) settings[key] = value;
    }
    if (Object.keys(settings).length > 0) this.send({ kind: 'settings', settings });
  }

  /**
   * Puts in what a step of a scenario says. Gives what came of it, at least `count` effects unless
   * they keep away; `byItself` where the phone did it without being told. A text says why it can't.
   */
  async play(step: JsonObject, count: number): Promise<{ effects: Effect[]; byItself: boolean } | string> {
    if (this.isGone) return 'The simulator takes no further phone, or has stopped.';
    this.problem = undefined;
    const put = await this.put(step);
    if (typeof put === 'string') return put;
    const heard = await this.claim(put.what);
    if (!heard) return this.problem ? `The phone says: ${this.problem}.` : 'Nothing came of it.';
    await this.patiently(() => heard.effects.length >= count);
    await this.settled();
    return { effects: heard.effects, byItself: put.byItself };
  }

  private async put(step: JsonObject): Promise<{ what: string; byItself: boolean } | string> {
    const { command, message, event, access, press, notify } = step;
    if (typeof message === 'string') return this.sent('message', { kind: 'message', text: message });
    if (typeof command === 'string') {
      const { params, nativecb, as } = step;
      const cbid = typeof as === 'string' ? as : `played-${this.byNumber.size}`;
      const text = JSON.stringify({ head: { module: 'kobu', action: command }, params, nativecb, cbid });
      return this.sent('message', { kind: 'message', text });
    }
    if (typeof access === 'boolean') {
      await this.patiently(() => this.asked.length > 0);
      const media = this.asked.shift();
      if (media === undefined) return 'The phone asks for nothing.';
      return this.sent('access', { kind: 'answer', media, granted: access });
    }
    if (typeof press === 'string') {
      await this.patiently(() => this.alerts.length > 0);
      const alert = this.alerts.shift();
      const button = alert?.buttons.findIndex(({ title }) => title === press) ?? -1;
      if (!alert || button < 0) return `No alert has a button “${press}”.`;
      return this.sent('press', { kind: 'press', alert: alert.id, button });
    }
    if (typeof notify === 'string') {
      const [name] = Object.entries(broadcastNotifications).find(([, its]) => its === notify) ?? [];
      if (!name) return `${notify} is no notification of the broadcast extension.`;
      return this.sent('notify', { kind: 'broadcast', event: name as BroadcastEvent });
    }
    if (typeof event === 'string') {
      const what = `event ${event}`;
      const came = () => this.unclaimed.some((heard) => heard.what === what);
      await this.patiently(came);
      if (came()) return { what, byItself: true };
      const args = Array.isArray(step['args']) ? step['args'] : [];
      return this.sent(what, { kind: 'fire', event, args, times: 1 });
    }
    const what = whatOf(step);
    if (what === undefined) return `Only vemo-replay plays ${JSON.stringify(step).slice(0, 60)}.`;
    await this.patiently(() => this.unclaimed.some((heard) => heard.what === what));
    return { what, byItself: true };
  }

  private sent(what: string, frame: ToPhone): { what: string; byItself: boolean } {
    this.send(frame);
    return { what, byItself: false };
  }

  private async claim(what: string): Promise<Heard | undefined> {
    const find = () => this.unclaimed.find((heard) => heard.what === what);
    await this.patiently(() => find() !== undefined || this.problem !== undefined);
    const heard = find();
    this.unclaimed = this.unclaimed.filter((one) => one !== heard);
    return heard;
  }

  // Frames are worked off in turn, and so is the main queue: what was queued before is done.
  private async settled(): Promise<void> {
    for (let turn = 0; turn < 2; ++turn) await this.until(this.echo());
  }

  /** Has the phone answer once it has worked off what it was sent; gives what says whether it has. */
  private echo(): () => boolean {
    const due = ++this.lastEcho;
    this.send({ kind: 'pictures' });
    return () => this.echoes >= due;
  }

  private async patiently(isSo: () => boolean): Promise<void> {
    if (isSo()) return;
    const isWorkedOff = this.echo();
    await this.until(() => isSo() || isWorkedOff());
    await this.until(isSo, patienceMs);
  }

  private send(frame: ToPhone): void {
    if (this.socket.readyState === WebSocket.OPEN) this.socket.send(JSON.stringify(frame));
  }

  private take(frame: FromPhone): void {
    switch (frame.kind) {
      case 'noted':
        return this.noted(frame);
      case 'prompt':
        return void this.asked.push(frame.media);
      case 'alert':
        return void this.alerts.push(frame);
      case 'pictures':
        return void (this.echoes += 1);
      case 'problem':
        return void (this.problem = frame.text);
    }
  }

  private noted({ number = 0, queuedBy, step, effect }: Extract<FromPhone, { kind: 'noted' }>): void {
    if (effect) {
      this.byNumber.get(number)?.effects.push(effect as Effect);
    } else if (queuedBy !== undefined) {
      const cause = this.byNumber.get(queuedBy);
      if (cause) this.byNumber.set(number, cause);
    } else if (step && !('device' in step)) {
      const heard = { what: whatOf(step) ?? 'other', effects: [] };
      this.unclaimed.push(heard);
      this.byNumber.set(number, heard);
    }
  }

  // Ends when it is so, the phone is gone, or the time is over.
  private until(isSo: () => boolean, ms?: number): Promise<void> {
    if (isSo() || this.isGone) return Promise.resolve();
    return new Promise((resolve) => {
      const end = () => {
        this.watchers.delete(look);
        clearTimeout(timer);
        resolve();
      };
      const look = () => {
        if (isSo() || this.isGone) end();
      };
      const timer = ms === undefined ? undefined : setTimeout(end, ms);
      this.watchers.add(look);
    });
  }
}

const ways = ['access', 'press', 'notify', 'music', 'speedTest', 'downloaded', 'decoded'];

// Nothing for what no phone does and nobody can do to one.
function whatOf(step: object): string | undefined {
  if ('command' in step || 'message' in step) return 'message';
  if ('event' in step) return `event ${String(step.event)}`;
  return ways.find((verb) => verb in step);
}
