// What the shell and a phone in the simulator send each other.

import protocol from './tools/protocol.json';

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

/** `texts` are those of the bundle that change, with null for one that goes; `bundle` replaces all. */
export type SettingsChange = Partial<PhoneSettings> & { texts?: Record<string, string | null> };

/** How good the way to the cloud is: milliseconds one way, and percent lost. */
export interface Network {
  delay: number;
  upLoss: number;
  downLoss: number;
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
  /** The recording of the last minutes: the text of a .vemorec file. */
  | { kind: 'saved'; text: string }
  /** The next lines of the recording that is under way, or its end. */
  | { kind: 'recorded'; text: string }
  | { kind: 'recorded'; over: true }
  | { kind: 'broadcastPicker' }
  | { kind: 'pictures'; pictures: Picture[] }
  | { kind: 'image'; id: number; width: number; height: number; rgba: string }
  /** `frame` is the kind of the frame that could not be used. */
  | { kind: 'problem'; text: string; frame?: string }
  /**
   * Something reached the router (`step`, as in a scenario), or it did something (`effect`, as
   * in a transcript). `at` is when the step began (milliseconds since 1970); an effect has that of
   * its step. `number` is that of the step, or of the step that an effect comes of; without it,
   * that is the step of the same time on its thread. A frame with neither is a task of the main
   * thread, queued by another step. `lost` counts what could not be told.
   */
  | {
      kind: 'noted';
      at?: number;
      thread?: string;
      number?: number;
      queuedBy?: number;
      periodic?: boolean;
      step?: Record<string, unknown>;
      effect?: Record<string, unknown>;
      lost?: number;
    };

/** What the broadcast extension tells, each with the name of its notification. */
export const broadcastNotifications = protocol.notifications;
export type BroadcastEvent = keyof typeof broadcastNotifications;

/** What the simulator understands. */
export type ToPhone =
  | { kind: 'message'; text: string }
  | { kind: 'network'; drop: boolean }
  | ({ kind: 'network' } & Network)
  | { kind: 'settings'; settings: SettingsChange }
  | { kind: 'answer'; media: 'camera' | 'microphone'; granted: boolean }
  | { kind: 'press'; alert: number; button: number }
  | { kind: 'broadcast'; event: BroadcastEvent }
  /** An event of the engine, `times` times. */
  | { kind: 'fire'; event: string; args: readonly unknown[]; times: number }
  /** How downloads fail from now on; null: they don't. */
  | { kind: 'downloads'; error: { code: number; text: string } | null }
  | { kind: 'pictures' }
  /** Asks for the recording of the last minutes. */
  | { kind: 'save' }
  /** Whether the recording is to be told as it goes on. */
  | { kind: 'record'; on: boolean }
  /** Whether what happens at the router is to be told. */
  | { kind: 'note'; on: boolean };
