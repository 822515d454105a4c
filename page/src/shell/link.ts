// The connection of the page in the frame with its phone in the simulator.

import type { Host, HostConnection, HostState } from '../host';

export interface Picture {
  userId: string;
  viewType: number;
  /** The own camera or screen. */
  own: boolean;
  /** The number of the image shown instead of the camera; 0 for none. */
  muteImage: number;
  width: number;
  height: number;
  /** 0 for a picture that stands still. */
  fps: number;
  front: boolean;
  rotation: number;
  mirror: boolean;
  drawing: { rotation: number; fillMode: number; mirrorType: number };
}

export interface PhoneSettings {
  os: string;
  camera: string;
  microphone: string;
  bundle: Record<string, string>;
  canOpenSettings: boolean;
  appGroup: string;
}

/** What the simulator sends. */
export type FromPhone =
  | { kind: 'script'; text: string; needLog: boolean }
  | { kind: 'settings'; settings: PhoneSettings }
  | { kind: 'prompt'; media: 'camera' | 'microphone'; application: string; description: string }
  | {
      kind: 'alert';
      id: number;
      title: string;
      message: string;
      buttons: { title: string; destructive: boolean }[];
    }
  | { kind: 'openSettings' }
  | { kind: 'broadcastPicker' }
  | { kind: 'pictures'; pictures: Picture[] }
  | { kind: 'image'; id: number; width: number; height: number; rgba: string }
  | { kind: 'problem'; text: string };

/** What the simulator understands. */
export type ToPhone =
  | { kind: 'message'; text: string }
  | { kind: 'network'; drop: boolean }
  | { kind: 'network'; delay: number; upLoss: number; downLoss: number }
  | { kind: 'settings'; settings: Partial<PhoneSettings> }
  | { kind: 'answer'; media: 'camera' | 'microphone'; granted: boolean }
  | { kind: 'press'; alert: number; button: number }
  | { kind: 'broadcast'; event: 'Started' | 'Paused' | 'Resumed' | 'Finished' }
  | { kind: 'pictures' };

export interface LinkWatcher {
  /** A page has connected, or its phone has come or gone. */
  onState(state: HostState): void;
  /** Everything of the phone, scripts included, which have been run already. */
  onFrame(frame: FromPhone): void;
  /** A page message on its way to the phone. */
  onMessage(text: string): void;
  /** A script failed in the page. */
  onScriptError(script: string, error: unknown): void;
}

/**
 * Gives each page that attaches a WebSocket, and so a phone, of its own. What belongs to
 * an earlier page is dropped with its socket.
 */
export class PhoneLink implements Host {
  private socket: WebSocket | undefined;

  constructor(private readonly watcher: LinkWatcher) {}

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
      for (const text of early.splice(0)) this.send({ kind: 'message', text });
      tell('ready');
    });
    socket.addEventListener('message', (event) => {
      if (!current()) return;
      const frame = JSON.parse(String(event.data)) as FromPhone;
      if (frame.kind === 'script') this.run(page, frame.text);
      this.watcher.onFrame(frame);
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
        if (socket.readyState === WebSocket.OPEN) this.send({ kind: 'message', text });
        else early.push(text);
      },
    };
  }

  /** Sends one frame; lost when there is no phone. */
  send(frame: ToPhone): void {
    if (this.socket?.readyState === WebSocket.OPEN) this.socket.send(JSON.stringify(frame));
  }

  private detach(): void {
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
