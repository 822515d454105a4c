// What the shell and a phone in the simulator send each other.

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
  | { kind: 'broadcastPicker' }
  | { kind: 'pictures'; pictures: Picture[] }
  | { kind: 'image'; id: number; width: number; height: number; rgba: string }
  | { kind: 'problem'; text: string };

/** What the simulator understands. */
export type ToPhone =
  | { kind: 'message'; text: string }
  | { kind: 'network'; drop: boolean }
  | ({ kind: 'network' } & Network)
  | { kind: 'settings'; settings: Partial<PhoneSettings> }
  | { kind: 'answer'; media: 'camera' | 'microphone'; granted: boolean }
  | { kind: 'press'; alert: number; button: number }
  | { kind: 'broadcast'; event: 'started' | 'paused' | 'resumed' | 'finished' }
  | { kind: 'pictures' };
