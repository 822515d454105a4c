// A list of which only the part in sight is in the document.

import {
  elementScroll,
  observeElementOffset,
  observeElementRect,
  Virtualizer,
} from '@tanstack/virtual-core';
import { useLayoutEffect, useReducer, useState } from 'preact/hooks';

/** So near to its end a list is at its end. */
export const atEndPixels = 24;

export interface VirtualListOptions {
  count: number;
  /** Never changes for one item. */
  keyOf: (index: number) => number;
  /** How high an item is until it is measured, in pixels. */
  height: number;
  scroller: () => HTMLElement | null;
  /** The list follows its end; else what is in sight stays where it is while items grow. */
  follows: boolean;
}

/** A list whose items have heights of their own. */
export function useVirtualList(options: VirtualListOptions): Virtualizer<HTMLElement, HTMLElement> {
  const { count, keyOf, height, scroller, follows } = options;
  const [, redraw] = useReducer((count: number) => count + 1, 0);
  const [list] = useState(
    () =>
      new Virtualizer<HTMLElement, HTMLElement>({
        count,
        getItemKey: keyOf,
        estimateSize: () => height,
        getScrollElement: scroller,
        observeElementRect,
        observeElementOffset,
        scrollToFn: elementScroll,
      }),
  );
  list.setOptions({
    ...list.options,
    count,
    getItemKey: keyOf,
    estimateSize: () => height,
    getScrollElement: scroller,
    overscan: 8,
    anchorTo: follows ? 'end' : 'start',
    followOnAppend: follows,
    scrollEndThreshold: atEndPixels,
    onChange: () => redraw(undefined),
  });
  useLayoutEffect(() => list._didMount(), []);
  useLayoutEffect(() => list._willUpdate());
  useLayoutEffect(() => {
    if (follows) list.scrollToEnd();
  }, [count, follows]);
  return list;
}
