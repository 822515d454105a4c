// The ways from a page to the application around it.

import { simulator } from './simulator.js';
import type { Transport } from './transport.js';

const lookEveryMs = 100;
const root = (typeof self === 'undefined' ? globalThis : self) as {
  parent?: unknown;
} & Record<string, any>;

/**
 * The message handler that a web view adds to a page: `webkit.messageHandlers.NAME.postMessage`.
 * Waits until it is there.
 */
export function webViewHandler(name = 'vemo'): Transport {
  return whenThere(() => handler(name));
}

/**
 * An object that the application has put into the page, with a method that takes a text. Waits
 * until it is there.
 */
export function injectedObject(name = 'vemoNative', method = 'postMessage'): Transport {
  return whenThere(() => injected(name, method));
}

/**
 * The first that is there: a web view's message handler, an injected object, the simulator when
 * the page runs in a frame.
 */
export function whicheverIsThere(): Transport {
  const find = () => handler('vemo') ?? injected('vemoNative', 'postMessage');
  const inFrame = root.parent !== undefined && root.parent !== root;
  return inFrame && !find() ? simulator() : whenThere(find);
}

/** Runs `task` after some time, and keeps no program of Node's from ending: pages are drawn there, too. */
export function later(task: () => void, ms: number): void {
  const timer: unknown = setTimeout(task, ms);
  (timer as { unref?(): void } | undefined)?.unref?.();
}

type Post = (text: string) => void;

function handler(name: string): Post | undefined {
  const found = root['webkit']?.messageHandlers?.[name];
  return found && ((text) => found.postMessage(text));
}

function injected(name: string, method: string): Post | undefined {
  const found = root[name];
  return found?.[method] && ((text) => found[method](text));
}

function whenThere(find: () => Post | undefined): Transport {
  return ({ onState }) => {
    let post: Post | undefined;
    const look = () => {
      post = find();
      if (post) onState('ready');
      else later(look, lookEveryMs);
    };
    void Promise.resolve().then(look);
    return (text) => post?.(text);
  };
}
