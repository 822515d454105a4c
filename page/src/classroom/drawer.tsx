// The drawer beside the people: one page of it is open at a time.

import type { FunctionComponent } from 'preact';
import { useEffect, useLayoutEffect, useRef, useState } from 'preact/hooks';
import { IconButton, type IconName } from '../icons';
import { DevicesPage } from './devicesPage';
import './drawer.css';
import { MusicPage } from './musicPage';
import { NetworkPage } from './networkPage';
import { PeoplePage } from './peoplePage';
import { SharePage } from './sharePage';

export const pageTitles = {
  people: 'People',
  devices: 'Devices',
  music: 'Music',
  network: 'Network',
  share: 'Share the screen',
};
export type PageName = keyof typeof pageTitles;

/** The pages that have a button of their own. */
export const pageFaces = {
  people: 'people',
  devices: 'sliders',
  music: 'music',
  network: 'chart',
} satisfies Partial<Record<PageName, IconName>>;

const pages: Record<PageName, FunctionComponent> = {
  people: PeoplePage,
  devices: DevicesPage,
  music: MusicPage,
  network: NetworkPage,
  share: SharePage,
};

export interface DrawerState {
  readonly open: PageName | undefined;
  /** Opens a page, or closes it when it is open. */
  toggle(page: PageName): void;
  close(): void;
}

/** A drawer that is closed at first, and gives the focus that it had back when it closes. */
export function useDrawer(): DrawerState {
  const [open, setOpen] = useState<PageName>();
  const openedFrom = useRef<Element | null>(null);
  useLayoutEffect(() => {
    const hadFocus = document.activeElement === document.body;
    if (!open && hadFocus && openedFrom.current instanceof HTMLElement) openedFrom.current.focus();
  }, [open]);
  return {
    open,
    toggle(page) {
      if (open !== page) openedFrom.current = document.activeElement;
      setOpen(open === page ? undefined : page);
    },
    close: () => setOpen(undefined),
  };
}

export function Drawer({ page, close }: { page: PageName; close: () => void }) {
  const Body = pages[page];
  const title = useRef<HTMLHeadingElement>(null);
  useLayoutEffect(() => title.current?.focus(), [page]);
  useEffect(() => {
    const closeOnEscape = ({ key }: KeyboardEvent) => {
      if (key === 'Escape') close();
    };
    document.addEventListener('keydown', closeOnEscape);
    return () => document.removeEventListener('keydown', closeOnEscape);
  }, []);
  return (
    <section class="drawer" aria-labelledby="drawer-title">
      <header>
        <h2 id="drawer-title" tabIndex={-1} ref={title}>
          {pageTitles[page]}
        </h2>
        <IconButton name="close" title="Close" press={close} />
      </header>
      <div class="drawer-body" key={page}>
        <div class="stack">
          <Body />
        </div>
      </div>
    </section>
  );
}
