// Layers above the phone's page, of which only the uppermost can be used: the page and the
// layers below are inert, Tab stays within, and the focus returns where it was.

import type { PageFrame } from './pageFrame';

interface Layer {
  element: HTMLElement;
  escape(): void;
  /** Where the focus was when the layer came. */
  cameFrom: Element | null;
}

export class Layers {
  private readonly open: Layer[] = [];

  constructor(private readonly page: PageFrame) {
    // A script of the page may still take the focus, which an inert frame does not prevent. While it
    // goes there, a browser lets nobody else have it.
    addEventListener('blur', () =>
      setTimeout(() => {
        const top = this.open[this.open.length - 1];
        if (top && document.activeElement === page.frame) firstOf(top.element).focus();
      }),
    );
  }

  /** `element` lies above all others from now on; `escape` is what the Escape key does. */
  show(element: HTMLElement, escape: () => void): void {
    element.tabIndex = -1; // a press beside its controls leaves the focus in it
    element.addEventListener('keydown', (event) => {
      if (event.key === 'Escape') escape();
      else if (event.key === 'Tab') this.moveFocus(element, event.shiftKey);
      else return;
      event.preventDefault();
    });
    this.open.push({ element, escape, cameFrom: document.activeElement });
    this.settle();
    firstOf(element).focus();
  }

  /** A layer is taken away: called while it is still there. */
  close(element: HTMLElement): void {
    const closed = this.open.find((layer) => layer.element === element);
    if (!closed) return;
    const at = this.open.indexOf(closed);
    this.open.splice(at, 1);
    const hadFocus = element.contains(document.activeElement);
    this.settle();
    const above = this.open[at];
    if (above) above.cameFrom = closed.cameFrom;
    else if (hadFocus) this.giveBack(closed.cameFrom);
  }

  private settle(): void {
    this.page.frame.inert = this.open.length > 0;
    for (const [at, { element }] of this.open.entries()) element.inert = at < this.open.length - 1;
  }

  private giveBack(element: Element | null): void {
    if (element === this.page.frame) this.page.focus();
    else if (element?.isConnected) (element as HTMLElement).focus();
  }

  private moveFocus(element: HTMLElement, back: boolean): void {
    const controls = controlsOf(element);
    const at = controls.indexOf(document.activeElement as HTMLElement);
    const next = back ? (at <= 0 ? controls.length : at) - 1 : (at + 1) % controls.length;
    controls[next]?.focus();
  }
}

function firstOf(element: HTMLElement): HTMLElement {
  return controlsOf(element)[0] ?? element;
}

function controlsOf(element: HTMLElement): HTMLElement[] {
  return [...element.querySelectorAll<HTMLElement>('button:enabled, input:enabled')];
}
