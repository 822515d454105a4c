// Signatures let whoever has one enter a room in another's name, so they are not shown.

const secretKey = 'userSig';
const mask = '•••';

// Each letter may stand as it is or be escaped, behind more backslashes in texts within texts.
const secretKeyAsWritten = new RegExp(
  [...secretKey].map((letter) => `(?:${letter}|\\\\+u00${letter.charCodeAt(0).toString(16)})`).join(''),
);

/** A page message or script's text with the values of signatures masked. */
export function withoutSecrets(text: string): string {
  const key = secretKeyAsWritten.exec(text);
  if (!key) return text;
  try {
    return JSON.stringify(JSON.parse(text), (name, part: unknown) => {
      if (name === secretKey) return mask;
      return typeof part === 'string' ? withoutSecrets(part) : part; // JSON within a text
    });
  } catch {
    // What can't be read is cut off there: nothing tells where the signature ends.
    return text.slice(0, key.index + key[0].length) + mask;
  }
}
