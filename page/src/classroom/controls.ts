// Form controls of the drawer's pages.

import { h, setText } from '../dom';
import './controls.css';

type Press = () => unknown;

export function section(title: string, ...children: (Node | false)[]): HTMLElement {
  return h('section', { class: 'section' }, h('h3', {}, title), ...children);
}

export function button(title: string, press: Press): HTMLButtonElement {
  return h('button', { class: 'secondary', onclick: press }, title);
}

export function row(...children: Node[]): HTMLElement {
  return h('div', { class: 'button-row' }, ...children);
}

/** A switch with a label; `pick` is called with what it was set to. */
export function toggle(title: string, on: boolean, pick: (on: boolean) => unknown): HTMLLabelElement {
  const box = h('input', { type: 'checkbox', checked: on, onchange: () => pick(box.checked) });
  return h('label', { class: 'toggle' }, h('span', {}, title), box);
}

/** A slider; `pick` is called once it is let go. */
export function slider(
  title: string,
  value: number,
  pick: (value: number) => unknown,
  most = 100,
): { element: HTMLLabelElement; input: HTMLInputElement; show(text: string): void } {
  const shown = h('output', {}, String(value));
  const input = h('input', {
    'aria-label': title || undefined,
    type: 'range',
    min: '0',
    max: String(most),
    value: String(value),
    oninput: () => setText(shown, input.value),
    onchange: () => pick(Number(input.value)),
  });
  return {
    element: h('label', { class: 'slider' }, h('span', {}, title), shown, input),
    input,
    show: (text) => setText(shown, text),
  };
}

/** A choice among `options`, which are [value, title]. */
export function choice<T extends string | number>(
  title: string,
  options: readonly (readonly [T, string])[],
  value: T,
  pick: (value: T) => unknown,
): HTMLLabelElement {
  const list = h(
    'select',
    {
      'aria-label': title,
      onchange: () => {
        const picked = options[list.selectedIndex];
        if (picked) pick(picked[0]);
      },
    },
    ...options.map(([key, text]) => h('option', { value: String(key), selected: key === value }, text)),
  );
  return h('label', { class: 'choice-row' }, h('span', {}, title), list);
}
