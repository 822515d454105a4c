// The client of the bridge for pages: commands as promises, events by name.

import { findHost, type Host, type HostConnection, type HostState } from './host';
import type { CommandName, Commands, EventName, Events } from './protocol';

/** The error record of a reply; code 0 is success. */
export interface ErrorRecord {
  module: string;
  errcode: number;
  errmsg: string;
}

/** One answer to a command; each part is there only when the router set it. */
export interface Reply<Value = object> {
  error?: ErrorRecord;
  retval?: Value;
}
export type ReplyTo<Name extends CommandName> = Reply<Commands[Name]['result']>;

/** A command was answered with an error, or can't be answered any more (`stopped`). */
export class BridgeError extends Error {
  constructor(
    readonly command: CommandName,
    readonly code: number,
    message: string,
    readonly stopped = false,
  ) {
    super(message);
    this.name = 'BridgeError';
  }
}

export type EventHandler<Name extends EventName> = (value: Events[Name]) => void;

interface Waiting {
  /** Takes an answer; returns whether more may follow. */
  answer(reply: Reply<never>): boolean;
  stop(): void;
}

interface ReplyEnvelope extends Reply<never> {
  head: { module: string; action?: string; cbid: string };
}
interface EventEnvelope {
  head: { module: string; action: string };
  retval?: object;
}

/** The functions of the page that the application's scripts call. */
export interface ScriptFunctions {
  onReply(envelope: ReplyEnvelope): void;
  onEvent(envelope: EventEnvelope): void;
  onReport(): void;
}
declare global {
  interface Window {
    vemoBridge?: ScriptFunctions;
  }
}

/**
 * One page's client. A command may never be answered: its promise then stays open as
 * long as the application runs. When the application is gone, open promises are rejected
 * with a BridgeError whose `stopped` is true.
 */
export class Bridge {
  onState: (state: HostState) => void = () => {};

  private readonly host: Host;
  private connection: HostConnection | undefined;
  private current: HostState = 'stopped';
  private lastCall = 0;
  private readonly waiting = new Map<string, Waiting>();
  private readonly handlers = new Map<string, ((value: never) => void)[]>();

  /** Throws when the page runs in no application. */
  constructor(private readonly page: Window & typeof globalThis = window) {
    const host = findHost(page);
    if (!host) throw new Error('This page runs inside the application or its simulator.');
    this.host = host;
    page.vemoBridge = {
      onReply: (envelope) => this.replied(envelope),
      onEvent: (envelope) => this.happened(envelope),
      onReport: () => {}, // the page needs none; the developer panel shows them
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

  /** Sends a command and gives its value; an error record other than 0 is thrown. */
  call<Name extends CommandName>(
    command: Name,
    params?: Commands[Name]['params'],
    options: { nativecb?: string } = {},
  ): Promise<Commands[Name]['result']> {
    return new Promise((resolve, reject) => {
      this.post(command, params, options.nativecb, {
        answer: ({ error, retval }) => {
          if (error && error.errcode !== 0) {
            reject(new BridgeError(command, error.errcode, error.errmsg));
          } else {
            resolve(retval ?? {});
          }
          return false;
        },
        stop: () => reject(stopped(command)),
      });
    });
  }

  /** Sends a command that is answered many times; `onReply` says whether more may come. */
  follow<Name extends CommandName>(
    command: Name,
    params: Commands[Name]['params'],
    onReply: (reply: ReplyTo<Name>) => boolean,
  ): void {
    this.post(command, params, undefined, { answer: onReply, stop: () => {} });
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

  private post(
    command: CommandName,
    params: object | undefined,
    nativecb: string | undefined,
    call: Waiting,
  ): void {
    if (this.current === 'stopped' || !this.connection) {
      call.stop();
      return;
    }
    const cbid = String(++this.lastCall);
    this.waiting.set(cbid, call);
    this.connection.postMessage(
      JSON.stringify({ head: { module: 'kobu', action: command }, params, cbid, nativecb }),
    );
  }

  private replied(envelope: ReplyEnvelope): void {
    const { cbid } = envelope.head;
    const call = this.waiting.get(cbid);
    if (call && !call.answer(envelope)) this.waiting.delete(cbid);
  }

  private happened(envelope: EventEnvelope): void {
    const handlers = this.handlers.get(envelope.head.action) ?? [];
    for (const handler of handlers) handler((envelope.retval ?? {}) as never);
  }

  private stopWaiting(): void {
    const calls = [...this.waiting.values()];
    this.waiting.clear();
    for (const call of calls) call.stop();
  }
}

function stopped(command: CommandName): BridgeError {
  return new BridgeError(command, 0, 'The application has stopped.', true);
}
