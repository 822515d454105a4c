#!/usr/bin/env node
// Puts sources into a document: the code block after a line that ends with `FILE`: is that file.
//   quote-sources.mjs [--check] DOCUMENT.md
// --check only tells, by a line and exit status 1, whether the document is as it would be made.
import { readFileSync, writeFileSync } from 'node:fs';

const words = process.argv.slice(2);
const check = words[0] === '--check';
if (check) words.shift();
if (words.length !== 1) {
  console.error('usage: quote-sources.mjs [--check] DOCUMENT.md');
  process.exit(2);
}
const [document] = words;
const root = new URL('../', import.meta.url);

let quoted = 0;
let old;
try {
  old = readFileSync(document, 'utf8');
} catch (problem) {
  console.error(`${document} can't be read: ${problem.code}`);
  process.exit(2);
}
const made = old.replace(/`([^`\n]+)`:\n\n(```\w+\n)[^]*?\n?```\n/g, (_, file, fence) => {
  quoted += 1;
  return `\`${file}\`:\n\n${fence}${readFileSync(new URL(file, root), 'utf8')}\`\`\`\n`;
});
if (!quoted) {
  console.error(`${document} quotes no file`);
  process.exit(2);
}
if (made !== old) {
  if (check) {
    console.error(`${document} and the files that it quotes differ; scripts/quote-sources.mjs ${document}`);
    process.exit(1);
  }
  writeFileSync(document, made);
}
