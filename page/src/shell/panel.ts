// The panel beside the phone: what goes to and fro, and how the phone is set.

import { h, iconButton } from '../dom';
import type { PhoneLink } from './link';
import { Log } from './log';
import './panel.css';
import type { PhoneMemory } from './phoneMemory';
import { PhonePage } from './phonePage';

export class Panel {
  readonly element: HTMLElement;
  readonly log = new Log();
  readonly phone: PhonePage;

  constructor(link: PhoneLink, memory: PhoneMemory, close: () => void) {
    this.phone = new PhonePage(link, memory);
    const pages = [this.log.element, this.phone.element];
    const tabs = ['Log', 'Phone'].map((title, at) =>
      h('button', { id: `tab-${at}`, role: 'tab', onclick: () => select(at) }, title),
    );
    const select = (chosen: number) => {
      for (const [at, page] of pages.entries()) {
        page.hidden = at !== chosen;
        tabs[at]!.setAttribute('aria-selected', String(at === chosen));
        tabs[at]!.tabIndex = at === chosen ? 0 : -1;
      }
    };
    for (const [at, page] of pages.entries()) {
      page.id = `tab-page-${at}`;
      page.setAttribute('role', 'tabpanel');
      page.setAttribute('aria-labelledby', `tab-${at}`);
      tabs[at]!.setAttribute('aria-controls', page.id);
    }
    const list = h('div', { class: 'tabs', role: 'tablist', 'aria-label': 'Developer panel' }, ...tabs);
    list.addEventListener('keydown', ({ key }) => {
      if (key !== 'ArrowLeft' && key !== 'ArrowRight') return;
      const other = tabs.findIndex((tab) => tab.tabIndex < 0);
      select(other);
      tabs[other]!.focus();
    });
    this.element = h(
      'aside',
      { class: 'panel', 'aria-label': 'Developer panel' },
      h('header', {}, list, iconButton('close', 'Close panel', close)),
      ...pages,
    );
    this.element.addEventListener('keydown', ({ key }) => {
      if (key === 'Escape') close();
    });
    select(0);
  }
}
