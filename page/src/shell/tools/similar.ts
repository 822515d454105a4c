// What somebody may have meant.

/** The one of `names` that `name` may be a misspelling of: by case, or by a slip or two. */
export function similar(name: string, names: readonly string[]): string | undefined {
  const lower = name.toLowerCase();
  let best: string | undefined;
  let least = Math.min(3, Math.floor(name.length / 3) + 1);
  for (const one of names) {
    const far = one.toLowerCase() === lower ? 0 : distance(lower, one.toLowerCase(), least);
    if (far < least) [best, least] = [one, far];
  }
  return best;
}

/**
 * How many letters must be put in, taken out, replaced or swapped with their neighbour; `limit`
 * or more where it is that much.
 */
function distance(from: string, to: string, limit: number): number {
  if (Math.abs(from.length - to.length) >= limit) return limit;
  let earlier: number[] = [];
  let last = Array.from({ length: to.length + 1 }, (_, i) => i);
  for (let i = 1; i <= from.length; i++) {
    const row = [i];
    for (let j = 1; j <= to.length; j++) {
      const same = from[i - 1] === to[j - 1];
      let least = Math.min(last[j]! + 1, row[j - 1]! + 1, last[j - 1]! + (same ? 0 : 1));
      if (i > 1 && j > 1 && from[i - 1] === to[j - 2] && from[i - 2] === to[j - 1])
        least = Math.min(least, earlier[j - 2]! + 1);
      row.push(least);
    }
    [earlier, last] = [last, row];
  }
  return last[to.length]!;
}
