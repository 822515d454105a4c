// Makes what the fuzzers begin with, from the protocol: a message of each command and a line of
// each event, filled and bare, and a dictionary of all names and values.
//
//     vemo-protocol | node tests/fuzz/seeds.mjs FOLDER
import { mkdirSync, readFileSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';

const [folder] = process.argv.slice(2);
if (!folder) {
  console.error('seeds: give the folder to write to');
  process.exit(2);
}
const { commands, events } = JSON.parse(readFileSync(0, 'utf8'));

const samples = { boolean: true, integer: 1, number: 0.5, text: 'ann', list: [], object: {} };

/** A value that the protocol's `field` may have. */
function valueOf(field) {
  if ('example' in field) return field.example;
  if (field.values?.length) return field.values[0].value ?? field.values[0];
  if (field.members) {
    const record = Object.fromEntries(field.members.map((member) => [member.name, valueOf(member)]));
    return field.type === 'list' ? [record] : record;
  }
  return field.default ?? samples[field.type] ?? null;
}

function write(target, name, text) {
  mkdirSync(join(folder, target), { recursive: true });
  writeFileSync(join(folder, target, name), text);
}

const message = (action, params) =>
  `m${JSON.stringify({ head: { module: 'kobu', action }, params, cbid: action })}\n`;
const callbacks = events.map(({ name }) => ({ sdkcbName: name, jsRecvcbName: 'on' }));
const room = message('initSDK', {}) + message('registCallBacks', { callbacks })
  + message('enterRoom', {
    sdkAppId: 1, userId: 'ann', userSig: 'good', roomId: 7, appScene: 0, role: 20,
  }) + 't1000\n';

const words = new Set(['kobu', 'head', 'module', 'action', 'params', 'cbid', 'kind']);
const note = (field) => {
  words.add(field.name);
  field.members?.forEach(note);
};
for (const { name, params } of commands) {
  words.add(name);
  params.forEach(note);
  const filled = Object.fromEntries(params.map((field) => [field.name, valueOf(field)]));
  write('phone', name, room + message(name, filled) + 't3000\n' + message(name, {}) + 't100\n');
  write('records', name, JSON.stringify(filled));
}
for (const { name, payload } of events) {
  words.add(name);
  payload.forEach(note);
  // The engine gives what the page hears, but for the own user's id.
  const given = payload.map(valueOf);
  write('events', name, [given, given.slice(1), given.slice(0, -1), given.map(() => null)]
    .map((values) => `${name} ${JSON.stringify(values)}\n`).join(''));
}
writeFileSync(join(folder, 'words.dict'),
  [...words].map((word) => `${JSON.stringify(word)}\n`).join(''));
