/** A hue that belongs to a user, in degrees. */
export function hueOf(userId: string): number {
  let hash = 0x811c9dc5;
  for (const character of userId) hash = Math.imul(hash ^ (character.codePointAt(0) ?? 0), 0x01000193);
  return (hash >>> 0) % 360;
}
