// How views read the class.

import { createContext } from 'preact';
import { useContext, useRef } from 'preact/hooks';
import { useComputed, type ReadonlySignal } from '@preact/signals';
import type { Classroom } from './classroom';

/** The class, and a signal that changes whenever something of it has. */
export interface ObservedClass {
  readonly classroom: Classroom;
  readonly changes: ReadonlySignal<unknown>;
}

const Observed = createContext<ObservedClass | undefined>(undefined);
export const ClassProvider = Observed.Provider;

function useObserved(): ObservedClass {
  const observed = useContext(Observed);
  if (!observed) throw new Error('This view stands in no ClassProvider.');
  return observed;
}

/** The class, for its commands. */
export function useClassroom(): Classroom {
  return useObserved().classroom;
}

/**
 * What `read` gives of the class. The component is drawn anew only when that has changed: it is
 * another value, or a list or a plain object with another value in it. The class changes in place,
 * so `read` gives copies of its parts; beside the class it reads only what stays as it is, like a key.
 */
export function useClass<T>(read: (classroom: Classroom) => T): T {
  const { classroom, changes } = useObserved();
  const last = useRef<T | undefined>(undefined);
  return useComputed(() => {
    void changes.value;
    const next = read(classroom);
    if (last.current === undefined || !isSame(last.current, next)) last.current = next;
    return last.current as T;
  }).value;
}

function isSame(one: unknown, other: unknown): boolean {
  if (one === other) return true;
  if (!isObject(one) || !isObject(other)) return false;
  const keys = Object.keys(one);
  return keys.length === Object.keys(other).length && keys.every((key) => one[key] === other[key]);
}

function isObject(value: unknown): value is Record<string, unknown> {
  return typeof value === 'object' && value !== null;
}
