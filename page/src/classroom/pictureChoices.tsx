// How a picture may be drawn, as choices for a form.

import { signal, type Signal } from '@preact/signals';
import { Choice } from './controls';

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

/** As the engine draws before it is told otherwise. */
export class DrawingChoice {
  readonly mode: Signal<number> = signal(0);
  readonly mirror: Signal<number> = signal(0);
  readonly rotation: Signal<number> = signal(0);

  get drawing(): Drawing {
    return { mode: this.mode.value, mirror: this.mirror.value, rotation: this.rotation.value };
  }
}

/** Choices of fill, mirror and turn; `draw` is called with all three at each change. */
export function PictureChoices({
  title,
  choice,
  draw,
}: {
  title: string;
  choice: DrawingChoice;
  draw: (drawing: Drawing) => unknown;
}) {
  const pick = () => draw(choice.drawing);
  return (
    <>
      <Choice title={title} options={fills} value={choice.mode} pick={pick} />
      <Choice title="Mirror" options={mirrors} value={choice.mirror} pick={pick} />
      <Choice title="Turned" options={turns} value={choice.rotation} pick={pick} />
    </>
  );
}
