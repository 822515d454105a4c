// The drawer beside the people: one page of it is open at a time.

import { h, icon, iconButton, setData, type IconName } from '../dom';
import type { Classroom } from './classroom';
import { devicesPage } from './devicesPage';
import './drawer.css';
import type { DrawerPage } from './drawerPage';
import { musicPage } from './musicPage';
import { networkPage } from './networkPage';
import { peoplePage } from './peoplePage';
import { sharePage } from './sharePage';

const pages = {
  people: { title: 'People', make: peoplePage },
  devices: { title: 'Devices', make: devicesPage },
  music: { title: 'Music', make: musicPage },
  network: { title: 'Network', make: networkPage },
  share: { title: 'Share the screen', make: sharePage },
} satisfies Record<string, { title: string; make: (classroom: Classroom) => DrawerPage }>;
export type PageName = keyof typeof pages;

/** The pages that have a button of their own. */
const buttonFaces: Partial<Record<PageName, IconName>> = {
  people: 'people',
  devices: 'sliders',
  music: 'music',
  network: 'chart',
};

export class Drawer {
  readonly element: HTMLElement;
  readonly buttons: HTMLElement[];
  private readonly title = h('h2', { id: 'drawer-title', tabIndex: -1 });
  private readonly body = h('div', { class: 'drawer-body' });
  private readonly made = new Map<PageName, DrawerPage>();
  private open: PageName | undefined;
  private openedFrom: Element | null = null;

  /** `onShow` is told whenever the drawer is opened or closed. */
  constructor(
    private readonly classroom: Classroom,
    private readonly onShow: (page: PageName | undefined) => void,
  ) {
    this.element = h(
      'section',
      { class: 'drawer', 'aria-labelledby': this.title.id },
      h('header', {}, this.title, iconButton('close', 'Close', () => this.close())),
      this.body,
    );
    this.buttons = (Object.entries(buttonFaces) as [PageName, IconName][]).map(([name, face]) =>
      h(
        'button',
        { class: 'control', 'data-page': name, onclick: () => this.toggle(name) },
        h('span', { class: 'face' }, icon(face)),
        h('span', { class: 'caption' }, pages[name].title),
      ),
    );
    document.addEventListener('keydown', ({ key }) => {
      if (key === 'Escape') this.close();
    });
    this.show(undefined);
  }

  /** Opens a page and leads the focus there, or closes it when it is open. */
  toggle(name: PageName): void {
    if (this.open === name) return this.close();
    this.openedFrom = document.activeElement;
    this.show(name);
    this.title.focus();
  }

  update(): void {
    if (this.open) this.made.get(this.open)?.update();
  }

  /** The room has been left: the drawer begins anew with the next one. */
  leave(): void {
    for (const page of this.made.values()) page.leave?.();
    this.made.clear();
    this.show(undefined);
  }

  private close(): void {
    if (!this.open) return;
    this.show(undefined);
    if (this.openedFrom instanceof HTMLElement) this.openedFrom.focus();
  }

  private show(name: PageName | undefined): void {
    this.open = name;
    this.element.hidden = !name;
    for (const button of this.buttons) {
      const open = button.dataset['page'] === name;
      setData(button, 'look', open ? 'open' : '');
      button.setAttribute('aria-expanded', String(open));
    }
    this.onShow(name);
    if (!name) return;
    let page = this.made.get(name);
    if (!page) {
      page = pages[name].make(this.classroom);
      this.made.set(name, page);
    }
    this.title.textContent = pages[name].title;
    this.body.replaceChildren(page.element);
    page.update();
  }
}
