// The connection of the page in the frame with its phone in the simulator.

import type { Host, HostConnection, HostState } from '../host';
import type { FromPhone, ToPhone } from './frames';
import type { PhoneMemory } from './phoneMemory';

export interface LinkWatcher {
  /** A page has connected, or its phone has come or gone. */
  onState(state: HostState): void;
  /** Everything of the phone; a script is run after this. */
  onFrame(frame: FromPhone): void;
  /** A page message on its way to the phone. */
  onMessage(text: string): void;
  /** Decides which messages reach the phone, by passing them on, now or later. */
  filterMessage(text: string, pass: (text: string) => void): void;
  /** Decides which scripts the page runs, by passing them on, now or later. */
  filterScript(script: string, pass: (script: string) => void): void;
  /** A script failed in the page. */
  onScriptError(script: string, error: unknown): void;
}

/**
 * Gives each page that attaches a WebSocket, and so a phone, of its own. What belongs to
 * an earlier page is dropped with its socket.
 */
export class PhoneLink implements Host {
  private socket: WebSocket | undefined;

  constructor(
    private readonly watcher: LinkWatcher,
    private readonly memory: PhoneMemory,
  ) {}

  attach(page: Window, onState: (state: HostState) => void): HostConnection {
    this.detach();
    const socket = new WebSocket(`ws://${location.host}/phone`);
    this.socket = socket;
    const early: string[] = [];
    const current = () => this.socket === socket;
    const tell = (state: HostState) => {
      onState(state);
      this.watcher.onState(state);
    };

    socket.addEventListener('open', () => {
      if (!current()) return;
      for (const frame of this.memory.begin()) this.send(frame);
      for (const text of early.splice(0)) this.send({ kind: 'message', text });
      tell('ready');
    });
    socket.addEventListener('message', (event) => {
      if (!current()) return;
      const frame = JSON.parse(String(event.data)) as FromPhone;
      if (frame.kind === 'settings') this.memory.told(frame.settings);
      this.watcher.onFrame(frame);
      if (frame.kind !== 'script') return;
      this.watcher.filterScript(frame.text, (script) => {
        if (current()) this.run(page, script);
      });
    });
    socket.addEventListener('close', () => {
      if (!current()) return;
      this.socket = undefined;
      tell('stopped');
    });
    page.addEventListener('pagehide', () => {
      if (current()) this.detach();
    });
    this.watcher.onState('connecting');

    return {
      postMessage: (text) => {
        if (!current()) return;
        this.watcher.onMessage(text);
        this.watcher.filterMessage(text, (passed) => {
          if (!current()) return;
          if (socket.readyState === WebSocket.OPEN) this.send({ kind: 'message', text: passed });
          else early.push(passed);
        });
      },
    };
  }

  /** Sends one frame; lost when there is no phone. */
  send(frame: ToPhone): void {
    if (this.socket?.readyState !== WebSocket.OPEN) return;
    this.socket.send(JSON.stringify(frame));
    this.memory.sent(frame);
  }

  /** Makes the phone like new. */
  reset(): void {
    for (const frame of this.memory.reset()) this.send(frame);
  }

  /** Ends the connection, as if the page had gone. */
  detach(): void {
    const socket = this.socket;
    this.socket = undefined;
    socket?.close();
  }

  // As a web view does: the text is run as a script of the page itself.
  private run(page: Window, script: string): void {
    try {
      (page as Window & { eval(text: string): unknown }).eval(script);
    } catch (error) {
      this.watcher.onScriptError(script, error);
    }
  }
}
