/** A hue that belongs to a user, in degrees. */
export function hueOf(userId: string): number {
  let hash = 0;
  for (const character of userId) hash = (hash * 31 + (character.codePointAt(0) ?? 0)) % 360;
  return hash;
}
