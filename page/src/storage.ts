// What the browser keeps of the pages. One that may keep nothing, or is full, is as one that has
// forgotten; and what is kept may be anything, as other pages of this address keep theirs there too.

/** For a window while it is open, or for all of this browser. */
export type Place = 'sessionStorage' | 'localStorage';

export function recall(place: Place, name: string): string | undefined {
  try {
    return window[place].getItem(name) ?? undefined;
  } catch {
    return undefined;
  }
}

/** The object or list that was kept as JSON; nothing where there is none. */
export function recallJson(place: Place, name: string): object | undefined {
  try {
    const value: unknown = JSON.parse(recall(place, name) ?? 'null');
    return typeof value === 'object' && value !== null ? value : undefined;
  } catch {
    return undefined;
  }
}

export function keep(place: Place, name: string, text: string): void {
  try {
    window[place].setItem(name, text);
  } catch {
    // It is not kept.
  }
}

export function forget(place: Place, name: string): void {
  try {
    window[place].removeItem(name);
  } catch {
    // Nothing was kept.
  }
}
