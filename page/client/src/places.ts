// Tells the simulator where the page wants the phone's native views.

import type { Box, Places } from './frames.js';

const moves = ['scroll', 'resize', 'transitionrun', 'animationstart', 'load', 'input'];
const seldomMs = 1000;

/** Calls `tell` with the places, now and whenever they have changed. Returns what ends that. */
export function watchPlaces(tell: (places: Places) => void): () => void {
  let isOver = false;
  let told = '{"views":[],"above":[]}';
  let looking = false;
  const look = () => {
    if (isOver) return;
    const places = currentPlaces((root) => observer.observe(root, changes));
    const text = JSON.stringify(places);
    looking = text !== told || isMoving();
    if (text !== told) tell(places);
    told = text;
    if (looking) requestAnimationFrame(look);
  };
  const start = () => {
    if (!looking) requestAnimationFrame(look);
    looking = true;
  };
  const changes = { subtree: true, childList: true, attributes: true, characterData: true };
  const observer = new MutationObserver(start);
  observer.observe(document, changes);
  for (const move of moves) addEventListener(move, start, true);
  // What gives no sign of itself; a frame of the browser's costs more than the look.
  const timer = setInterval(() => {
    if (!looking && !document.hidden) look();
  }, seldomMs);
  start();
  return () => {
    isOver = true;
    observer.disconnect();
    for (const move of moves) removeEventListener(move, start, true);
    clearInterval(timer);
  };
}

function isMoving(): boolean {
  const animations = document.getAnimations?.() ?? [];
  return animations.some(
    ({ playState, effect }) =>
      playState === 'running' && effect?.getComputedTiming().endTime !== Infinity,
  );
}

/** `onRoot` hears of each shadow root, again and again. */
function currentPlaces(onRoot: (root: ShadowRoot) => void): Places {
  const all = (name: string) => allIn(document, `[data-native-${name}]`, onRoot);
  return {
    views: all('view').map((element) => {
      const clip = clipAround(element);
      return {
        name: element.dataset['nativeView']!,
        box: boxOf(element),
        radius: getComputedStyle(element).borderRadius,
        ...(clip && { clip: boxOf(clip) }),
      };
    }),
    above: all('above').map((element) => ({
      box: boxOf(element),
      radius: parseFloat(getComputedStyle(element).borderTopLeftRadius),
    })),
  };
}

// In the components of a page, too, as far as they are open.
function allIn(root: Document | ShadowRoot, selector: string, onRoot: (root: ShadowRoot) => void): HTMLElement[] {
  const found = Array.from(root.querySelectorAll<HTMLElement>(selector));
  for (const { shadowRoot } of Array.from(root.querySelectorAll('*'))) {
    if (!shadowRoot) continue;
    onRoot(shadowRoot);
    found.push(...allIn(shadowRoot, selector, onRoot));
  }
  return found;
}

function clipAround(element: Element): Element | null {
  const { host } = element.getRootNode() as Partial<ShadowRoot>;
  return element.closest('[data-native-clip]') ?? (host ? clipAround(host) : null);
}

function boxOf(element: Element): Box {
  const { left, top, width, height } = element.getBoundingClientRect();
  return [left, top, width, height];
}
