// A list of which only the part in sight is in the document.

import {
  elementScroll,
  observeElementOffset,
  observeElementRect,
  Virtualizer,
} from '@tanstack/virtual-core';
import { useLayoutEffect, useReducer, useState } from 'preact/hooks';

export interface VirtualListOptions {
  count: number;
  /** Never changes for one item. */
  keyOf: (index: number) => number;
  /** How high an item is until it is measured, in pixels. */
  height: number;
  scroller: () => HTMLElement | null;
}

/** Follows the end of the list while that is in sight, and keeps in place what is read. */
export function useVirtualList(options: VirtualListOptions): Virtualizer<HTMLElement, HTMLElement> {
  const { count, keyOf, height, scroller } = options;
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
    anchorTo: 'end',
    followOnAppend: true,
    scrollEndThreshold: 24,
    onChange: () => redraw(undefined),
  });
  useLayoutEffect(() => list._didMount(), []);
  useLayoutEffect(() => list._willUpdate());
  return list;
}
