// Tells the simulator where the page wants the phone's native views.

import type { Box, Places } from './frames.js';

const moves = ['scroll', 'resize', 'transitionrun', 'animationstart', 'load', 'input'];
const seldomMs = 1000;

/** Calls `tell` with the places, now and whenever they have changed. */
export function watchPlaces(tell: (places: Places) => void): void {
  let told = '{"views":[],"above":[]}';
  let looking = false;
  const look = () => {
    const places = currentPlaces();
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
  new MutationObserver(start).observe(document, changes);
  for (const move of moves) addEventListener(move, start, true);
  setInterval(start, seldomMs); // what gives no sign of itself
  start();
}

function isMoving(): boolean {
  const animations = document.getAnimations?.() ?? [];
  return animations.some(
    ({ playState, effect }) =>
      playState === 'running' && effect?.getComputedTiming().endTime !== Infinity,
  );
}

function currentPlaces(): Places {
  return {
    views: all('view').map((element) => {
      const clip = element.closest('[data-native-clip]');
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

function all(name: string): HTMLElement[] {
  return Array.from(document.querySelectorAll<HTMLElement>(`[data-native-${name}]`));
}

function boxOf(element: Element): Box {
  const { left, top, width, height } = element.getBoundingClientRect();
  return [left, top, width, height];
}
