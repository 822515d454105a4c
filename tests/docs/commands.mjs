// Checks docs/commands.md: it has a row for every command and every event that a page can
// register, in the order of the code, and each scenario that a row names exists and holds
// that command or event to something.
//
//   node commands.mjs [FILE]    FILE: the document, docs/commands.md by default
//
// Writes what is wrong to standard error, a line each, and ends with 1; else with 0.
import { existsSync, readFileSync } from 'node:fs';
import { dirname, relative, resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

const root = resolve(dirname(fileURLToPath(import.meta.url)), '../..');
const commandCount = 55;
const eventCount = 28;

const read = (file) => readFileSync(file, 'utf8');
const names = (file, pattern) => [...read(resolve(root, file)).matchAll(pattern)].map((m) => m[1]);

const commands = names('webview/command_table.cpp', /\bRow\{"(\w+)"/g);
const events = [
  ...names('bridge/KOBUCloudDelegate.h', /virtual void (on\w+)\(/g),
  'onScreenKitEvent', // from the notifications of the screen extension, not from the engine
];

// The names that a scenario holds to something: those of its steps with an `expect`. The
// screen extension's event is no step of its own: it is held where it is expected.
const heldBy = new Map();
function heldIn(file) {
  if (!heldBy.has(file)) {
    const held = new Set();
    for (const line of read(file).split('\n')) {
      if (line.trim() === '' || line.startsWith('#')) continue;
      const step = JSON.parse(line);
      if (!step.expect) continue;
      for (const name of [step.command, step.event, messageAction(step.message)]) held.add(name);
      for (const effect of step.expect) {
        if (effect.record?.actionName === 'onScreenKitEvent') held.add('onScreenKitEvent');
      }
    }
    heldBy.set(file, held);
  }
  return heldBy.get(file);
}

function messageAction(text) {
  try {
    return JSON.parse(text).head.action;
  } catch {
    return undefined; // no message, or one that is none on purpose
  }
}

// Rows such as: | `initSDK` | what it does | [a](../tests/scenarios/a.jsonl), ... |
function rowsOf(text) {
  return text.split('\n').flatMap((line) => {
    const name = /^\| `(\w+)` \|/.exec(line)?.[1];
    return name ? [{ name, links: [...line.matchAll(/\]\(([^)]*)\)/g)].map((m) => m[1]) }] : [];
  });
}

const document = resolve(process.argv[2] ?? resolve(root, 'docs/commands.md'));
const troubles = [];

if (commands.length !== commandCount) troubles.push(`the command table has ${commands.length} rows`);
if (events.length !== eventCount) troubles.push(`a page can register ${events.length} events`);

const rows = rowsOf(read(document));
const expected = [...commands, ...events];
for (const name of expected) {
  if (!rows.some((row) => row.name === name)) troubles.push(`${name}: has no row`);
}
const seen = new Set();
for (const { name, links } of rows) {
  if (!expected.includes(name)) troubles.push(`${name}: is no command or event`);
  if (seen.has(name)) troubles.push(`${name}: has two rows`);
  seen.add(name);
  if (links.length === 0) troubles.push(`${name}: names no scenario`);
  for (const link of links) {
    const file = resolve(dirname(document), link);
    if (!link.endsWith('.jsonl') || !existsSync(file)) {
      troubles.push(`${name}: there is no scenario ${link}`);
    } else if (!heldIn(file).has(name)) {
      troubles.push(`${name}: is not held by ${relative(root, file)}`);
    }
  }
}
const order = rows.map((row) => row.name).filter((name) => expected.includes(name));
if (troubles.length === 0 && order.join() !== expected.join()) {
  troubles.push('the rows are not in the order of the code');
}

for (const trouble of troubles) console.error(`${relative(root, document)}: ${trouble}`);
process.exitCode = troubles.length === 0 ? 0 : 1;
