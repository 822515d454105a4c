// The drawer beside the people: one page of it is open at a time.

import { h, icon, setData, type IconName } from '../dom';
import type { Classroom } from './classroom';
import { devicesPage } from './devicesPage';
import { musicPage } from './musicPage';
import { networkPage } from './networkPage';
import { peoplePage } from './peoplePage';
import { sharePage } from './sharePage';

/** One page of the drawer. */
export interface DrawerPage {
  element: HTMLElement;
  update(): void;
  /** The room has been left. */
  leave?(): void;
}

const pages = {
  people: { title: 'People', make: peoplePage },
  devices: { title: 'Devices', make: devicesPage },
  music: { title: 'Music', make: musicPage },
  network: { title: 'Network', make: networkPage },
  share: { title: 'Share the screen', make: sharePage },
} satisfies Record<string, { title: string; make: (classroom: Classroom) => DrawerPage }>;
type PageName = keyof typeof pages;

/** The pages that have a button of their own. */
const buttonFaces: Partial<Record<PageName, IconName>> = {
  people: 'people',
  devices: 'sliders',
  music: 'music',
  network: 'chart',
};

export class Drawer {
  readonly element = h('aside', { class: 'drawer' });
  readonly buttons: HTMLElement[];
  private readonly title = h('h2');
  private readonly body = h('div', { class: 'drawer-body' });
  private readonly made = new Map<PageName, DrawerPage>();
  private open: PageName | undefined;

  constructor(private readonly classroom: Classroom) {
    const closing = h('button', {
      class: 'icon-button',
      'aria-label': 'Close',
      onclick: () => this.show(undefined),
    });
    closing.append(icon('close'));
    this.element.append(h('header', {}, this.title, closing), this.body);
    this.buttons = (Object.entries(buttonFaces) as [PageName, IconName][]).map(([name, face]) =>
      h(
        'button',
        { class: 'control', 'data-page': name, onclick: () => this.toggle(name) },
        h('span', { class: 'face' }, icon(face)),
        h('span', { class: 'caption' }, pages[name].title),
      ),
    );
    this.show(undefined);
  }

  toggle(name: PageName): void {
    this.show(this.open === name ? undefined : name);
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

  private show(name: PageName | undefined): void {
    this.open = name;
    this.element.hidden = !name;
    for (const button of this.buttons)
      setData(button, 'look', button.dataset['page'] === name ? 'open' : '');
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
