// Passing notices.

import { h } from '../dom';
import type { Tone } from './classroom';

const shownMs = 5000;
const most = 3;

export class Toasts {
  readonly element = h('div', { class: 'toasts', role: 'status', 'aria-live': 'polite' });

  show(text: string, tone: Tone): void {
    const toast = h('div', { class: `toast ${tone}` }, text);
    this.element.append(toast);
    while (this.element.childElementCount > most) this.element.firstElementChild?.remove();
    setTimeout(() => toast.remove(), shownMs);
  }
}
