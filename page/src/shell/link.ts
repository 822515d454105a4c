// The connection of the page in the frame with its phone in the simulator.

import type { FromPage, Places, ToPage } from '../../client/src/frames.js';
import { askForRefusal, openPhone, wasLetIn } from './access';
import type { FromPhone, ToPhone } from './frames';
import type { PhoneMemory } from './phoneMemory';

/** Whether the page's phone is there. */
export type LinkState = 'connecting' | 'ready' | 'stopped';

export interface LinkWatcher {
  /**
   * A page has connected, or its phone has come or gone; `cutOff` says why the page has none while the
   * simulator may go on.
   */
  onState(state: LinkState, cutOff?: string): void;
  /** Everything of the phone; a script is run after this. */
  onFrame(frame: FromPhone): void;
  /** A page message on its way to the phone. */
  onMessage(text: string): void;
  /** Decides which messages reach the phone, by passing them on, now or later. */
  filterMessage(text: string, pass: (text: string) => void): void;
  /** Decides which scripts the page runs, by passing them on, now or later. */
  filterScript(script: string, pass: (script: string) => void): void;
  /** Where the page wants the native views from now on. */
  onPlaces(places: Places): void;
  /** A script failed in the page. */
  onScriptError(script: string, error: string): void;
  /** The page did what a page must not. */
  onProblem(text: string): void;
}

// The page may send anything; what cannot be drawn is not there.
function arePlaces({ views, above }: Places): boolean {
  const isBox = (box: unknown) => Array.isArray(box) && box.length === 4 && box.every(Number.isFinite);
  return (
    Array.isArray(views) &&
    views.every((view) => isBox(view?.box) && (view.clip === undefined || isBox(view.clip))) &&
    Array.isArray(above) &&
    above.every((part) => isBox(part?.box) && part.radius >= 0)
  );
}

/** How much of a page may wait to be sent; more ends its connection (characters). */
const maxUnsent = 8_000_000;
const maxAskers = 1000;
const noPlaces: Places = { views: [], above: [] };

/**
 * Gives each page that attaches a WebSocket, and so a phone, of its own. What belongs to
 * an earlier page is dropped with its socket.
 */
export class PhoneLink {
  private socket: WebSocket | undefined;
  private port: MessagePort | undefined;
  /** Who asks whether the page has a function. */
  private askers: { path: string; tell: (has: boolean) => void }[] = [];

  constructor(
    private readonly watcher: LinkWatcher,
    private readonly memory: PhoneMemory,
  ) {}

  /** A new page, which speaks through `port`. */
  attach(port: MessagePort): void {
    this.detach();
    const socket = openPhone();
    this.socket = socket;
    this.port = port;
    const early: string[] = [];
    const current = () => this.socket === socket;
    const tellPage = (frame: ToPage) => port.postMessage(frame);
    const tell = (state: 'ready' | 'stopped', cutOff?: string) => {
      tellPage({ kind: 'state', state });
      this.watcher.onState(state, cutOff);
    };

    socket.addEventListener('open', () => {
      wasLetIn();
      if (!current()) return;
      this.send({ kind: 'note', on: true });
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
      this.watcher.filterScript(frame.text, (text) => {
        if (current()) tellPage({ kind: 'script', text });
      });
    });
    socket.addEventListener('close', async ({ reason, wasClean }) => {
      if (!current()) return;
      const words = wasClean ? undefined : await askForRefusal();
      if (!current()) return;
      this.socket = undefined;
      this.watcher.onPlaces(noPlaces);
      if (reason !== '') tell('stopped', `The simulator cut the page off: ${reason}.`);
      else if (words) tell('stopped', `The simulator gives the page no phone: ${words}`);
      else if (words === '') tell('stopped', 'The connection with the simulator is lost.');
      else tell('stopped');
    });

    const sent = (text: string) => {
      if (typeof text !== 'string') return this.watcher.onProblem('The page sent a message that is no text.');
      this.watcher.onMessage(text);
      this.watcher.filterMessage(text, pass);
    };
    const pass = (text: string) => {
      if (!current()) return;
      if (socket.readyState === WebSocket.OPEN) this.send({ kind: 'message', text });
      else early.push(text);
      if (socket.bufferedAmount < maxUnsent && early.length < maxUnsent / 100) return;
      this.detach();
      tell('stopped', 'The page sends faster than its phone takes it, and was cut off.');
    };
    port.onmessage = ({ data: frame }: MessageEvent<FromPage>) => {
      if (!current()) return;
      switch (frame?.kind) {
        case 'message':
          return sent(frame.text);
        case 'places':
          return arePlaces(frame) ? this.watcher.onPlaces(frame) : undefined;
        case 'failed':
          return this.watcher.onScriptError(frame.script, frame.error);
        case 'has':
          return this.told(frame);
        case 'bye':
          return this.detach();
      }
    };
    this.watcher.onState('connecting');
  }

  /** Sends one frame; lost when there is no phone, save how the network is to be: the next has it. */
  send(frame: ToPhone): void {
    this.memory.sent(frame);
    if (this.socket?.readyState === WebSocket.OPEN) this.socket.send(JSON.stringify(frame));
  }

  /** Asks the page whether it has a function; a page that says nothing of it is not waited for. */
  askFor(path: string, tell: (has: boolean) => void): void {
    if (this.askers.length >= maxAskers) this.askers.shift();
    this.askers.push({ path, tell });
    const question: ToPage = { kind: 'has', path };
    this.port?.postMessage(question);
  }

  private told({ path, has }: Extract<FromPage, { kind: 'has' }>): void {
    const told = this.askers.filter((asker) => asker.path === path);
    this.askers = this.askers.filter((asker) => asker.path !== path);
    for (const { tell } of told) tell(has === true);
  }

  /** Makes the phone like new. */
  reset(): void {
    for (const frame of this.memory.reset()) this.send(frame);
  }

  /** Ends the connection, as if the page had gone. */
  detach(): void {
    const socket = this.socket;
    this.socket = undefined;
    this.port = undefined;
    this.askers = [];
    socket?.close();
    this.watcher.onPlaces(noPlaces);
  }
}
