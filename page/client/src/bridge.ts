// The bridge between a page and the application around it.

import { type Answer, type Answers, BridgeError, type CallOptions } from './calls.js';
import { commandNames, type Events, type Methods } from './protocol.js';
import type { BridgeState, EventEnvelope, Receiver, ReplyEnvelope, Transport } from './transport.js';
import { later, whicheverIsThere } from './transports.js';

/** The own camera or microphone has gone on or off, or code of the application reports. */
export interface NativeReport {
  /** The own user, if there is one. */
  userId?: string;
  /** The room's number as a text, "0" outside a room; not there for the room 4294967295. */
  classId?: string;
  /** "enable_camera", "disable_camera", "enable_mic", "disable_mic", or the application's own. */
  event: string;
}

/** What `Bridge.on` takes: the protocol's events, and the reports. */
export interface BridgeEvents extends Events {
  onNativeReport: NativeReport;
}
export type BridgeEvent = keyof BridgeEvents;
export type EventHandler<Name extends BridgeEvent> = (value: BridgeEvents[Name]) => void;

export interface BridgeOptions {
  /** The way to the application. Default: `whicheverIsThere()`. */
  transport?: Transport;
  /** The `timeout` of calls that name none (ms). */
  timeout?: number;
}

/** A command that waits for an answer. */
export interface Unanswered {
  command: string;
  params: object | undefined;
  /** When it was called (ms since 1970). */
  since: number;
}

interface Call extends Unanswered {
  /** Takes an answer; returns whether more may come. */
  answer(value: unknown, text: string): boolean;
  fail(error: unknown): void;
  settle(): void;
}

interface Listener {
  handler: (value: never) => void;
  once: boolean;
}

type Callback = { sdkcbName?: string; jsRecvcbName?: string };

const report = 'onNativeReport';
const warnAfterMs = 5000;

/** The commands with many answers, each with what tells the last one. */
const lasts: Record<string, (value: any, text: string, params: any) => boolean> = {
  playMusic: ({ state }, _, { onProgress, onComplete }) =>
    state === 'onComplete' || !(onProgress || onComplete),
  startSpeedTest: (_, text) => text === 'done',
};

export interface Bridge extends Methods {}

/**
 * A page's bridge; one is enough for a page. Every command is a method. Commands and handlers are
 * kept until the application is there. When it stops, open calls fail with the reason "stopped"; so
 * do those of a bridge whose place another takes, each made without a transport of its own.
 */
export class Bridge {
  /** Called at each change of `state`. */
  onState: (state: BridgeState) => void = () => {};

  private readonly transport: Transport;
  private readonly timeout: number | undefined;
  private readonly takesPlace: boolean;
  private readonly receiver: Receiver;
  private current: BridgeState = 'stopped';
  private connection: symbol | undefined;
  private post: (text: string) => void = () => {};
  private early: string[] = [];
  // An answer to a call of the page that was here before must not be taken for one of this page's.
  private readonly mark = Math.random().toString(36).slice(2);
  private lastCall = 0;
  private readonly calls = new Map<string, Call>();
  private readonly listeners = new Map<string, Listener[]>();
  private pageCallbacks: Callback[] = [];
  private readonly unregistered = new Set<'registCallBacks' | 'registReport'>();

  constructor({ transport, timeout }: BridgeOptions = {}) {
    this.transport = transport ?? whicheverIsThere();
    this.takesPlace = !transport;
    this.timeout = timeout;
    this.receiver = {
      onReply: (envelope) => this.replied(envelope),
      onEvent: (envelope) => this.happened(envelope),
      onReport: ({ params }) => this.happened({ head: { action: report }, retval: params }),
      onState: (state) => {
        if (!this.takesPlace) return;
        this.connection = undefined;
        this.change(state, 'another Bridge of this page has taken the place of this one');
      },
    };
    this.connect();
  }

  /** Whether the application answers. */
  get state(): BridgeState {
    return this.current;
  }

  /** The commands that wait for an answer, the oldest first. */
  get unanswered(): Unanswered[] {
    return Array.from(this.calls.values(), ({ command, params, since }) => ({ command, params, since }));
  }

  /** Connects with the application anew, after it had stopped. Handlers stay. */
  connect(): void {
    const root = typeof self === 'undefined' ? globalThis : self;
    const former = root.vemoBridge;
    root.vemoBridge = this.receiver;
    if (this.takesPlace && former && former !== this.receiver) {
      console.warn('vemo-client: a second Bridge in this page; the one before has stopped.');
      former.onState?.('stopped'); // which one of an older client lacks
    }
    const connection = Symbol();
    this.connection = connection;
    this.change('stopped');
    this.change('connecting');
    for (const event of this.listeners.keys()) this.registrationChanged(event);
    if (this.pageCallbacks.length > 0) this.registrationChanged('');
    this.post = this.transport({
      ...this.receiver,
      onState: (state) => {
        if (this.connection === connection) this.change(state);
      },
    });
    later(() => {
      if (this.connection !== connection || this.current !== 'connecting') return;
      console.warn('vemo-client: no application answers. This page runs in one, or in the simulator.');
    }, warnAfterMs);
  }

  /** Calls `handler` at each event from now on. Returns what ends that. */
  on<Name extends BridgeEvent>(event: Name, handler: EventHandler<Name>): () => void {
    return this.listen(event, handler, false);
  }

  /** Calls `handler` at the next event alone. Returns what ends that. */
  once<Name extends BridgeEvent>(event: Name, handler: EventHandler<Name>): () => void {
    return this.listen(event, handler, true);
  }

  /** Ends what `on` or `once` began, once. */
  off<Name extends BridgeEvent>(event: Name, handler: EventHandler<Name>): void {
    const listeners = this.listeners.get(event) ?? [];
    const found = listeners.find((listener) => listener.handler === handler);
    if (found) this.drop(event, found);
  }

  /** Sends a command that the protocol may not know. The methods are the typed way. */
  send(command: string, params?: object, options?: CallOptions): Promise<Answer> {
    return new Promise((resolve, reject) => {
      const answer = (value: unknown, text: string) => {
        resolve({ value, text });
        return false;
      };
      this.call(command, params, options, answer, reject);
    });
  }

  private call(
    command: string,
    params: object | undefined,
    { timeout = this.timeout, signal, nativecb }: CallOptions = {},
    answer: Call['answer'],
    reject: Call['fail'],
  ): () => void {
    if (command === 'registCallBacks') params = this.withHandlers(params);
    else if (command !== 'registReport') this.register();

    const cbid = `${this.mark}-${++this.lastCall}`;
    const text = JSON.stringify({ head: { module: 'kobu', action: command }, params, cbid, nativecb });
    let timer: ReturnType<typeof setTimeout> | undefined;
    const wait = () => {
      clearTimeout(timer);
      if (timeout === undefined) return;
      const late = new BridgeError(command, '', 0, `no answer in ${timeout} ms`, 'timeout');
      timer = setTimeout(() => fail(late), timeout);
    };
    const settle = () => {
      this.calls.delete(cbid);
      clearTimeout(timer);
      signal?.removeEventListener('abort', abort);
    };
    const fail = (error: unknown) => {
      settle();
      reject(error);
    };
    const abort = () => fail(signal!.reason ?? new Error('aborted'));
    if (signal?.aborted) abort();
    else if (this.current === 'stopped') fail(stopped(command));
    else {
      this.calls.set(cbid, {
        command,
        params,
        since: Date.now(),
        answer: (value, words) => {
          wait();
          return answer(value, words);
        },
        fail,
        settle,
      });
      wait();
      signal?.addEventListener('abort', abort);
      if (this.current === 'ready') this.post(text);
      else this.early.push(text);
    }
    return settle;
  }

  // Answers are kept until they are asked for.
  private follow(command: string, params: object = {}, options?: CallOptions): Answers<unknown> {
    type Result = IteratorResult<unknown>;
    const come: Promise<Result>[] = [];
    const asked: ((result: Result | Promise<Result>) => void)[] = [];
    let over = false;
    const end: Result = { done: true, value: undefined };
    const give = (result: Promise<Result>) => {
      const first = asked.shift();
      if (first) return first(result);
      result.catch(() => {}); // thrown by the loop
      come.push(result);
    };
    const finish = () => {
      over = true;
      for (const resolve of asked.splice(0)) resolve(end);
    };
    const answer = (value: unknown, text: string) => {
      give(Promise.resolve({ done: false, value }));
      const isLast = lasts[command]!(value ?? {}, text, params);
      if (isLast) finish();
      return !isLast;
    };
    const fail = (error: unknown) => {
      give(Promise.reject(error));
      finish();
    };
    let forget = () => {};
    try {
      forget = this.call(command, params, options, answer, fail);
    } catch (error) {
      fail(error); // parameters that can't be written as JSON
    }
    return {
      next: () =>
        come.shift() ?? (over ? Promise.resolve(end) : new Promise((resolve) => asked.push(resolve))),
      return: () => {
        forget();
        come.length = 0;
        finish();
        return Promise.resolve(end);
      },
      [Symbol.asyncIterator]() {
        return this;
      },
    };
  }

  private replied({ head: { cbid }, error, retval }: ReplyEnvelope): void {
    const call = this.calls.get(cbid);
    if (!call) return;
    const { module = '', errcode = 0, errmsg = '' } = error ?? {};
    if (errcode !== 0) call.fail(new BridgeError(call.command, module, errcode, errmsg));
    else if (!call.answer(retval, errmsg)) call.settle();
  }

  private happened({ head: { action }, retval = {} }: EventEnvelope): void {
    for (const listener of Array.from(this.listeners.get(action) ?? [])) {
      if (listener.once) this.drop(action, listener);
      try {
        listener.handler(retval as never);
      } catch (error) {
        setTimeout(() => {
          throw error; // to the page's own reporting; the other handlers are called all the same
        });
      }
    }
  }

  private listen(event: string, handler: (value: never) => void, once: boolean): () => void {
    const listener = { handler, once };
    const listeners = this.listeners.get(event);
    if (listeners) listeners.push(listener);
    else {
      this.listeners.set(event, [listener]);
      this.registrationChanged(event);
    }
    return () => this.drop(event, listener);
  }

  private drop(event: string, listener: Listener): void {
    const listeners = this.listeners.get(event);
    const at = listeners ? listeners.indexOf(listener) : -1;
    if (!listeners || at < 0) return;
    listeners.splice(at, 1);
    if (listeners.length > 0) return;
    this.listeners.delete(event);
    this.registrationChanged(event);
  }

  // Changes made at once are registered at once, and before the next command, so that none of its
  // events is missed.
  private registrationChanged(event: string): void {
    this.unregistered.add(event === report ? 'registReport' : 'registCallBacks');
    void Promise.resolve().then(() => this.register());
  }

  private register(): void {
    const changed = Array.from(this.unregistered);
    this.unregistered.clear();
    if (this.current === 'stopped') return;
    for (const command of changed) {
      const params =
        command === 'registCallBacks'
          ? { callbacks: this.pageCallbacks }
          : this.listeners.has(report)
            ? { reportfunc: 'vemoBridge.onReport' }
            : {};
      this.send(command, params).catch((error: unknown) => {
        if (!(error instanceof BridgeError) || error.reason === 'answered') throw error;
      });
    }
  }

  // Each "registCallBacks" replaces the one before: what the page registers by itself stands in
  // one table with what has handlers here.
  private withHandlers(params: { callbacks?: Callback[] } | undefined): object | undefined {
    const given = params?.callbacks;
    if (!Array.isArray(given)) {
      this.pageCallbacks = [];
      this.registrationChanged(''); // the router forgets the former table even so
      return params;
    }
    const kept = JSON.parse(JSON.stringify(given)) as Callback[]; // throws before anything has changed
    this.unregistered.delete('registCallBacks');
    this.pageCallbacks = kept;
    const events = Array.from(this.listeners.keys()).filter((event) => event !== report);
    const own = events.map((sdkcbName) => ({ sdkcbName, jsRecvcbName: 'vemoBridge.onEvent' }));
    return { ...params, callbacks: [...given, ...own] };
  }

  private change(state: BridgeState, why?: string): void {
    if (this.current === state) return;
    this.current = state;
    if (state === 'ready') for (const text of this.early.splice(0)) this.post(text);
    if (state === 'stopped') {
      this.early = [];
      for (const call of Array.from(this.calls.values())) call.fail(stopped(call.command, why));
    }
    this.onState(state);
  }
}

for (const name of commandNames.split(' ')) {
  Object.defineProperty(Bridge.prototype, name, {
    configurable: true,
    writable: true,
    value: lasts[name]
      ? function (this: Bridge, params?: object, options?: CallOptions) {
          return this['follow'](name, params, options);
        }
      : function (this: Bridge, params?: object, options?: CallOptions) {
          return this.send(name, params, options).then(({ value, text }) => value ?? { text });
        },
  });
}

function stopped(command: string, why = 'the application has stopped'): BridgeError {
  return new BridgeError(command, '', 0, why, 'stopped');
}

declare global {
  /** What the application's scripts call. */
  // eslint-disable-next-line no-var
  var vemoBridge: Receiver | undefined;
}
