// Form controls of the drawer's pages. What is set stands in a signal, which the control writes;
// `pick` is told of each choice.

import type { ComponentChildren } from 'preact';
import { signal, type Signal } from '@preact/signals';
import './controls.css';
import { useKept } from './useKept';

interface Setting<T> {
  title: string;
  value: Signal<T>;
  pick?: (value: T) => unknown;
}

export function Section({ title, children }: { title: string; children: ComponentChildren }) {
  return (
    <section class="section">
      <h3>{title}</h3>
      {children}
    </section>
  );
}

export function Button({ title, press, disabled }: { title: string; press: () => unknown; disabled?: boolean }) {
  return (
    <button type="button" class="secondary" onClick={press} disabled={disabled}>
      {title}
    </button>
  );
}

export function Row({ children }: { children: ComponentChildren }) {
  return <div class="button-row">{children}</div>;
}

/** A box that is folded up at first, and stays as it was left. `name` is its own alone. */
export function Fold(props: { title: string; name: string; 'data-person'?: string; children: ComponentChildren }) {
  const { title, name, children, ...attributes } = props;
  const open = useKept(`fold ${name}`, () => signal(false));
  return (
    <details
      class="person"
      open={open}
      onToggle={({ currentTarget }) => (open.value = currentTarget.open)}
      {...attributes}
    >
      <summary>{title}</summary>
      {children}
    </details>
  );
}

/** A switch with a label. */
export function Toggle({ title, value, pick }: Setting<boolean>) {
  return (
    <label class="toggle">
      <span>{title}</span>
      <input
        type="checkbox"
        checked={value}
        onChange={({ currentTarget }) => {
          value.value = currentTarget.checked;
          pick?.(value.value);
        }}
      />
    </label>
  );
}

/** A slider from 0 to 100; `pick` is told once it is let go. */
export function Slider({ title, value, pick }: Setting<number>) {
  return (
    <label class="slider">
      <span>{title}</span>
      <output>{value}</output>
      <input
        type="range"
        aria-label={title}
        min="0"
        max="100"
        value={value}
        onInput={({ currentTarget }) => (value.value = Number(currentTarget.value))}
        onChange={({ currentTarget }) => pick?.(Number(currentTarget.value))}
      />
    </label>
  );
}

/** A choice among `options`, which are [value, title]. */
export function Choice<T extends string | number>({
  title,
  options,
  value,
  pick,
}: Setting<T> & { options: readonly (readonly [T, string])[] }) {
  const choose = (list: HTMLSelectElement) => {
    const chosen = options[list.selectedIndex];
    if (!chosen) return;
    value.value = chosen[0];
    pick?.(chosen[0]);
  };
  return (
    <label class="choice-row">
      <span>{title}</span>
      <select aria-label={title} onChange={({ currentTarget }) => choose(currentTarget)}>
        {options.map(([key, text]) => (
          <option key={key} value={key} selected={key === value.value}>
            {text}
          </option>
        ))}
      </select>
    </label>
  );
}
