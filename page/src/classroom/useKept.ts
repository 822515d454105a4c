// What views keep for as long as the room is shown, out of sight too.

import { createContext } from 'preact';
import { useContext } from 'preact/hooks';

/** By name. */
export type KeptState = Map<string, unknown>;

const Kept = createContext<KeptState | undefined>(undefined);
export const KeptProvider = Kept.Provider;

/** What `make` gave when it was first asked for under this name. */
export function useKept<T>(name: string, make: () => T): T {
  const kept = useContext(Kept);
  if (!kept) throw new Error('This view stands in no KeptProvider.');
  if (!kept.has(name)) kept.set(name, make());
  return kept.get(name) as T;
}
