// Passing notices.

import { h } from '../dom';
import type { Tone } from './roomAccess';
import './toasts.css';

const shownMs = 5000;

/** Shows the latest notice. */
export class Toasts {
  readonly element = h('div', { class: 'toasts', role: 'status', 'aria-live': 'polite' });

  show(text: string, tone: Tone): void {
    const toast = h('div', { class: `toast ${tone}`, 'data-native-above': '' }, text);
    // The last one is seen; what went wrong stays in sight while other news comes.
    const bad = this.element.querySelector('.bad');
    if (bad && tone !== 'bad') bad.before(toast);
    else this.element.append(toast);
    setTimeout(() => toast.remove(), shownMs);
  }
}
