// Fails when a style of src/ has a colour of its own, not one of tokens.css, or names one that is not there.
import { readdir, readFile } from 'node:fs/promises';
import { join } from 'node:path';

const folder = join(new URL('.', import.meta.url).pathname, 'src');
const files = (await readdir(folder, { recursive: true })).filter((file) => /\.(css|tsx)$/.test(file));
const texts = new Map();
for (const file of files) texts.set(file, await readFile(join(folder, file), 'utf8'));

const problems = [];
const defined = new Set([...texts.values()].flatMap((text) => [...text.matchAll(/(--[\w-]+)'?(?=:|, `)/g)].map(([, name]) => name)));
for (const [file, text] of texts) {
  if (!file.endsWith('.css')) continue;
  for (const [, name] of text.matchAll(/var\((--[\w-]+)\)/g))
    if (!defined.has(name)) problems.push(`${file}: ${name} is defined nowhere`);
  if (file === 'tokens.css') continue;
  for (const [colour] of text.matchAll(/#[0-9a-f]{3,8}\b|\brgba?\(/gi))
    problems.push(`${file}: ${colour} belongs into tokens.css`);
}
for (const problem of problems) console.error(`check-styles: ${problem}`);
process.exit(problems.length > 0 ? 1 : 0);
