// How a picture may be drawn, as choices for a form.

import { choice } from './controls';

export const fills = [
  [0, 'Fill'],
  [1, 'Fit'],
] as const;
const mirrors = [
  [0, 'Automatic'],
  [1, 'Mirrored'],
  [2, 'As it is'],
] as const;
export const turns = [
  [0, 'Upright'],
  [1, '90°'],
  [2, '180°'],
  [3, '270°'],
] as const;

export interface Drawing {
  mode: number;
  mirror: number;
  rotation: number;
}

/** Choices of fill, mirror and turn; `draw` is called with all three at each change. */
export function pictureChoices(title: string, draw: (drawing: Drawing) => unknown): HTMLElement[] {
  const drawing: Drawing = { mode: 0, mirror: 0, rotation: 0 };
  const change = (part: Partial<Drawing>) => draw(Object.assign(drawing, part));
  return [
    choice(title, fills, 0, (mode) => change({ mode })),
    choice('Mirror', mirrors, 0, (mirror) => change({ mirror })),
    choice('Turned', turns, 0, (rotation) => change({ rotation })),
  ];
}
