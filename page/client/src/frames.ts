// What a page in the simulator and the shell around it send each other. They meet by messages
// between their windows; then they speak over the port that the shell's message brings.

/** From the page's window to the shell's: the page asks for a phone. */
export const connect = { vemo: 'connect' } as const;
/** The answer, which carries the port. A page of another origin than the named one gets none. */
export const connected = { vemo: 'connected' } as const;

export type FromPage =
  | { kind: 'message'; text: string }
  /** A script has failed. */
  | { kind: 'failed'; script: string; error: string }
  | ({ kind: 'places' } & Places)
  /** Whether the page has the function that was asked for. */
  | { kind: 'has'; path: string; has: boolean }
  /** The page loads itself anew, as it was told to; its server may take its time. */
  | { kind: 'reloads' }
  /** The page goes away. */
  | { kind: 'bye' };

export type ToPage =
  | { kind: 'state'; state: 'ready' | 'stopped' }
  | { kind: 'script'; text: string }
  | { kind: 'reload' }
  /** How the phone is set: the size of text in percent, the language; absent: as the browser is. */
  | { kind: 'look'; textSize?: number | undefined; language?: string | undefined }
  /** Asks whether the page has this function now, such as `vemoBridge.onEvent`. */
  | { kind: 'has'; path: string };

/** Where something lies in the page's window: left, top, width, height (CSS pixels). */
export type Box = [left: number, top: number, width: number, height: number];

/** Where the page wants the phone's native views. */
export interface Places {
  /** The elements with `data-native-view="USER/TYPE"`. */
  views: {
    name: string;
    box: Box;
    /** The element's corners, as in CSS. */
    radius: string;
    /** Where the view may be seen: the nearest element above with `data-native-clip`. */
    clip?: Box;
  }[];
  /** The elements with `data-native-above`, which lie above the views. */
  above: { box: Box; radius: number }[];
}
