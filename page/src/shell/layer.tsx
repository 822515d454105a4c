import { createContext, type ComponentChildren } from 'preact';
import { useContext, useLayoutEffect, useRef } from 'preact/hooks';
import type { Layers } from './layers';

/** The layers above the page of the phone in which something is shown. */
export const LayersContext = createContext<Layers | undefined>(undefined);

/** Something above the page that takes the focus and keeps it; see layers.ts. */
export function Layer(
  props: {
    /** What the Escape key does. */
    escape: () => void;
    class: string;
    role?: 'dialog';
    children: ComponentChildren;
  } & Record<`data-${string}` | `aria-${string}`, string | undefined>,
) {
  const { escape, children, ...attributes } = props;
  const layers = useContext(LayersContext);
  const element = useRef<HTMLDivElement>(null);
  const latestEscape = useRef(escape);
  latestEscape.current = escape;
  useLayoutEffect(() => {
    const shown = element.current!;
    layers?.show(shown, () => latestEscape.current());
    return () => layers?.close(shown);
  }, []);
  return (
    <div ref={element} {...attributes}>
      {children}
    </div>
  );
}
