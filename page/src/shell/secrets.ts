// Signatures let whoever has one enter a room in another's name, so they are not shown.

const secretKey = 'userSig';
const mask = '•••';

/** A page message or script's text with the values of signatures masked. */
export function withoutSecrets(text: string): string {
  if (!text.includes(secretKey)) return text;
  let value: unknown;
  try {
    value = JSON.parse(text);
  } catch {
    // What can't be read is cut off there: nothing tells where the signature ends.
    return text.slice(0, text.indexOf(secretKey) + secretKey.length) + mask;
  }
  return JSON.stringify(value, (key, part: unknown) => {
    if (key === secretKey) return mask;
    return typeof part === 'string' ? withoutSecrets(part) : part; // JSON within a text
  });
}
