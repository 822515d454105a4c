// The client of the bridge for pages: commands as promises, events by name.

import { findHost, type Host, type HostConnection, type HostState } from './host';
import type { CommandName, Commands, EventName, Events } from './protocol';

export type Json = null | boolean | number | string | Json[] | JsonObject;
export interface JsonObject {
  [key: string]: Json | undefined;
}

/** The error record of a reply; code 0 is success. */
export interface ErrorRecord {
  module: string;
  errcode: number;
  errmsg: string;
}

/** One answer to a command; each part is there only when the router set it. */
export interface Reply {
  error?: ErrorRecord;
  retval?: JsonObject;
}

/** A command was answered with an error, or can't be answered any more (`stopped`). */
export class BridgeError extends Error {
  constructor(
    readonly command: string,
    readonly code: number,
    message: string,
    readonly stopped = false,
  ) {
    super(message);
    this.name = 'BridgeError';
  }
}

export type EventHandler<Name extends EventName> = (value: Events[Name]) => void;

/** The name of a command that is only known when the page runs, so that no types fit it. */
type NotKnownBefore<Name extends string> = string extends Name ? Name : never;

interface Waiting {
  command: string;
  since: number;
  /** Takes an answer; returns whether more may follow. */
  answer(reply: Reply): boolean;
  stop(): void;
}

interface ReplyEnvelope extends Reply {
  head: { module: string; action?: string; cbid: string };
}
interface EventEnvelope {
  head: { module: string; action: string };
  retval?: JsonObject;
}
interface ReportMessage {
  head: { module: string; action: string };
  params?: JsonObject;
}

/** The functions of the page that the application's scripts call. */
export interface ScriptFunctions {
  onReply(envelope: ReplyEnvelope): void;
  onEvent(envelope: EventEnvelope): void;
  onReport(message: ReportMessage): void;
}
declare global {
  interface Window {
    vemoBridge?: ScriptFunctions;
  }
}

/**
 * One page's client. A command may never be answered: its promise then stays open as
 * long as the application runs, and `waiting` tells of it. When the application is gone,
 * open promises are rejected with a BridgeError whose `stopped` is true.
 */
export class Bridge {
  onState: (state: HostState) => void = () => {};
  onReport: (event: JsonObject) => void = () => {};

  private readonly host: Host;
  private connection: HostConnection | undefined;
  private current: HostState = 'stopped';
  private lastCall = 0;
  private readonly waitingCalls = new Map<string, Waiting>();
  private readonly handlers = new Map<string, ((value: never) => void)[]>();

  /** Throws when the page runs in no application. */
  constructor(private readonly page: Window & typeof globalThis = window) {
    const host = findHost(page);
    if (!host) throw new Error('This page runs inside the application or its simulator.');
    this.host = host;
    page.vemoBridge = {
      onReply: (envelope) => this.replied(envelope),
      onEvent: (envelope) => this.happened(envelope),
      onReport: (message) => this.onReport(message.params ?? {}),
    };
  }

  get state(): HostState {
    return this.current;
  }

  /** Connects to a router that knows nothing of earlier ones. */
  connect(): void {
    this.stopWaiting();
    this.current = 'connecting';
    this.connection = this.host.attach(this.page, (state) => {
      this.current = state;
      if (state === 'stopped') this.stopWaiting();
      this.onState(state);
    });
    this.onState(this.current);
  }

  /** Sends a command and waits for its answer, whatever it says. */
  send(command: string, params?: JsonObject, options: { nativecb?: string } = {}): Promise<Reply> {
    return new Promise((resolve, reject) => {
      this.post(command, params, options.nativecb, {
        answer: (reply) => {
          resolve(reply);
          return false;
        },
        stop: () => reject(stopped(command)),
      });
    });
  }

  /** Sends a command and gives its value; an error record other than 0 is thrown. */
  call<Name extends CommandName>(
    command: Name,
    params?: Commands[Name]['params'],
    options?: { nativecb?: string },
  ): Promise<Commands[Name]['result']>;
  call<Name extends string>(
    command: NotKnownBefore<Name>,
    params?: JsonObject,
    options?: { nativecb?: string },
  ): Promise<JsonObject>;
  async call(
    command: string,
    params?: JsonObject,
    options: { nativecb?: string } = {},
  ): Promise<JsonObject> {
    const reply = await this.send(command, params, options);
    if (reply.error && reply.error.errcode !== 0) {
      throw new BridgeError(command, reply.error.errcode, reply.error.errmsg);
    }
    return reply.retval ?? {};
  }

  /** Sends a command that is answered many times; `onReply` says whether more may come. */
  follow(command: string, params: JsonObject, onReply: (reply: Reply) => boolean): void {
    this.post(command, params, undefined, { answer: onReply, stop: () => {} });
  }

  /** Sends any text as a page message, as it is. */
  postRaw(text: string): void {
    this.connection?.postMessage(text);
  }

  /** Adds a handler for an event; several are called in order. */
  on<Name extends EventName>(event: Name, handler: EventHandler<Name>): void {
    this.handlers.set(event, [...(this.handlers.get(event) ?? []), handler]);
  }

  /** Registers every event that has a handler, and the report function. */
  async register(): Promise<void> {
    const callbacks = [...this.handlers.keys()].map((sdkcbName) => ({
      sdkcbName,
      jsRecvcbName: 'vemoBridge.onEvent',
    }));
    await this.call('registCallBacks', { callbacks });
    await this.call('registReport', { reportfunc: 'vemoBridge.onReport' });
  }

  /** The commands that have no answer yet, oldest first. */
  waiting(): { command: string; since: number }[] {
    return [...this.waitingCalls.values()].map(({ command, since }) => ({ command, since }));
  }

  private post(
    command: string,
    params: JsonObject | undefined,
    nativecb: string | undefined,
    call: Pick<Waiting, 'answer' | 'stop'>,
  ): void {
    if (this.current === 'stopped' || !this.connection) {
      call.stop();
      return;
    }
    const cbid = String(++this.lastCall);
    this.waitingCalls.set(cbid, { command, since: Date.now(), ...call });
    this.connection.postMessage(
      JSON.stringify({ head: { module: 'kobu', action: command }, params, cbid, nativecb }),
    );
  }

  private replied(envelope: ReplyEnvelope): void {
    const { cbid } = envelope.head;
    const call = this.waitingCalls.get(cbid);
    if (call && !call.answer(envelope)) this.waitingCalls.delete(cbid);
  }

  private happened(envelope: EventEnvelope): void {
    const handlers = this.handlers.get(envelope.head.action) ?? [];
    for (const handler of handlers) handler((envelope.retval ?? {}) as never);
  }

  private stopWaiting(): void {
    const calls = [...this.waitingCalls.values()];
    this.waitingCalls.clear();
    for (const call of calls) call.stop();
  }
}

function stopped(command: string): BridgeError {
  return new BridgeError(command, 0, 'The application has stopped.', true);
}
