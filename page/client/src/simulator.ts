// The simulator as the application: its shell is the window around the page's frame.

import { connect, connected, type FromPage, type ToPage } from './frames.js';
import { watchPlaces } from './places.js';
import type { Transport } from './transport.js';

/** Ends what a connection has set up, when another follows. */
let endFormer = () => {};

const loopback = /^https?:\/\/(localhost|127\.0\.0\.1|\[::1\])(:\d+)?$/;

/**
 * The simulator, when the page runs in its phone. Only a window of this machine around the page
 * is listened to, or one of `origin`.
 */
export function simulator({ origin }: { origin?: string } = {}): Transport {
  return ({ onState }) => {
    let port: MessagePort | undefined;
    const post = (frame: FromPage) => port?.postMessage(frame);
    const takePort = (event: MessageEvent) => {
      const { source, origin: its, data, ports } = event;
      if (source !== parent || data?.vemo !== connected.vemo) return;
      if (origin === undefined ? !loopback.test(its) : its !== origin) return;
      event.stopImmediatePropagation(); // the next port is that of another Bridge, which has asked since
      removeEventListener('message', takePort);
      port = ports[0]!;
      endFormer();
      port.onmessage = ({ data: frame }: MessageEvent<ToPage>) => {
        if (frame.kind === 'state') onState(frame.state);
        if (frame.kind === 'script') run(frame.text, post);
        if (frame.kind === 'reload') {
          post({ kind: 'reloads' });
          location.reload();
        }
        if (frame.kind === 'look') wear(frame);
        if (frame.kind === 'has') post({ ...frame, has: typeof found(frame.path).value === 'function' });
      };
      const sayBye = () => post({ kind: 'bye' });
      addEventListener('pagehide', sayBye);
      const endWatching = watchPlaces((places) => post({ kind: 'places', ...places }));
      endFormer = () => {
        removeEventListener('pagehide', sayBye);
        endWatching();
      };
      keepFocus();
    };
    addEventListener('message', takePort);
    parent.postMessage(connect, origin ?? '*');
    return (text) => post({ kind: 'message', text });
  };
}

// The application's scripts call a function of the page with a JSON text. Such a call is made
// without eval, which a page's content security policy may forbid.
function run(script: string, post: (frame: FromPage) => void): void {
  try {
    const [, path, json] = /^([\w$]+(?:\.[\w$]+)*)\(([^]*)\)$/.exec(script) ?? [];
    const { owner, value } = found(path ?? '');
    if (typeof value === 'function' && isJson(json!)) value.call(owner, JSON.parse(json!));
    else (0, eval)(script);
  } catch (error) {
    post({ kind: 'failed', script, error: String(error) });
  }
}

// What the page calls so, and what that belongs to.
function found(path: string): { owner?: any; value?: any } {
  let owner: any;
  let value: any = self;
  for (const name of path.split('.')) [owner, value] = [value, value?.[name]];
  return { owner, value };
}

// The page sees its user's language as the phone is set. What it read before stays; so does what its
// server is told.
function wear({ textSize, language }: Extract<ToPage, { kind: 'look' }>): void {
  document.documentElement.style.fontSize = textSize ? `${textSize}%` : '';
  const before = navigator.language;
  const own = navigator as { language?: string; languages?: readonly string[] };
  if (language) {
    const configurable = true;
    Object.defineProperties(own, {
      language: { configurable, value: language },
      languages: { configurable, value: [language] },
    });
  } else {
    delete own.language;
    delete own.languages;
  }
  if (navigator.language !== before) dispatchEvent(new Event('languagechange'));
}

function isJson(text: string): boolean {
  try {
    JSON.parse(text);
    return true;
  } catch {
    return false;
  }
}

// While something lies above the page the browser takes the focus out of it; when the page has it again,
// so has the element that had it, unless the user has pressed elsewhere.
function keepFocus(): void {
  // Each of them listens once, however often it is added.
  addEventListener('pointerdown', forgetFocus, true);
  addEventListener('focusin', noteFocus);
  addEventListener('focus', giveFocusBack);
}
let focused: HTMLElement | undefined;
const forgetFocus = () => (focused = undefined);
const noteFocus = ({ target }: FocusEvent) => (focused = target as HTMLElement);
function giveFocusBack(): void {
  if (document.activeElement === document.body && focused?.isConnected) focused.focus();
}
