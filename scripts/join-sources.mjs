#!/usr/bin/env node
// Joins the sources of folders, for tools that read the same headers with every source: whatever reads
// them joined takes a fraction of the time.
//   join-sources.mjs BUILD
// BUILD is a configured folder with a compile_commands.json; BUILD/joined gets one of its own. Prints
// what to read, the longest first.
import { mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { dirname, relative, resolve, sep } from 'node:path';
import { fileURLToPath } from 'node:url';

const root = resolve(fileURLToPath(new URL('..', import.meta.url)));
const build = resolve(process.argv[2] ?? '.');
const joined = resolve(build, 'joined');

/**
 * Folders, or single sources, that are read as one, in this order: they share headers, and no name stands
 * for two things in them. Any other folder is read by itself.
 */
const together = [
  ['apps/broadcast', 'apps/protocol', 'apps/replay', 'apps/simulator', 'bench', 'docs/examples'],
  ['apps/classroom', 'tests/classroom', 'tests/engine'],
  ['apps/sign', 'bench/recording.cpp', 'engine'],
  ['json', 'recorder', 'simulation'],
  ['webview', 'platform'],
  ['tests/bridge', 'tests/fuzz', 'tests/recorder', 'tests/replay', 'tests/simulation', 'tests/stress', 'tests/testing'],
  ['tests/faults', 'tests/json', 'tests/webview'],
  ['tests/platform', 'tests/simulator'],
];
/** What each program has one of; where it is defined, it is named otherwise here. */
const ofAProgram = /^(?:int|constexpr [^=]*) (main|LLVMFuzzerTestOneInput|kUsage|kWho)\b/gm;
/** Options that come with a word. */
const pairs = new Set(['-isystem', '-include', '-Xclang']);

/** The options of a command, each with its word, without what it reads and writes. */
function optionsOf(command) {
  const words = command.match(/(?:[^\s"\\]|\\.|"(?:[^"\\]|\\.)*")+/g).slice(1);
  const options = [];
  for (let at = 0; at < words.length; ++at) {
    if (words[at] === '-o' || words[at] === '-c') ++at;
    else options.push(pairs.has(words[at]) ? `${words[at]} ${words[++at]}` : words[at]);
  }
  return options;
}

/** The unit that a source is read in, and where in it. */
function placeOf(source) {
  for (const name of [source, dirname(source)]) {
    const group = together.find((names) => names.includes(name));
    if (group) return { name: group[0], place: group.indexOf(name) };
  }
  return { name: dirname(source), place: 0 };
}

const units = new Map(); // by name: the sources of each place in it, and the options with which any target reads them
const unitOf = new Map(); // by source: a source that is in several targets is read once
for (const { file, command } of JSON.parse(readFileSync(`${build}/compile_commands.json`, 'utf8'))) {
  if (!file.startsWith(root + sep) || file.startsWith(build + sep)) continue;
  // Libraries that programs load before the system's, in place of its functions, are no one source.
  if (/ -D\w+_EXPORTS /.test(command)) continue;
  if (!unitOf.has(file)) {
    const { name, place } = placeOf(relative(root, file));
    if (!units.has(name)) units.set(name, { files: [], options: new Set() });
    (units.get(name).files[place] ??= []).push(file);
    unitOf.set(file, units.get(name));
  }
  for (const option of optionsOf(command)) unitOf.get(file).options.add(option);
}
if (units.size === 0) {
  console.error(`join-sources: ${build}/compile_commands.json names no source of ${root}`);
  process.exit(1);
}

rmSync(joined, { recursive: true, force: true });
mkdirSync(joined);
const commands = [...units].map(([name, { files, options }]) => {
  const file = `${joined}/${name.replaceAll(sep, '-')}.cpp`;
  let length = 0;
  const included = files.flatMap((some) => some.sort()).map((source, at) => {
    const text = readFileSync(source, 'utf8');
    length += text.length;
    const names = [...text.matchAll(ofAProgram)].map(([, word]) => word);
    const renamed = names.map((word) => `#define ${word} ${word}${at}\n`).join('');
    return `${renamed}#include "${source}"\n${names.map((word) => `#undef ${word}\n`).join('')}`;
  });
  writeFileSync(file, included.join(''));
  // What is named otherwise is no main any more, which alone may end without a result.
  const command = `clang++-19 ${[...options].join(' ')} -Wno-return-type -c ${file}`;
  return { length, entry: { directory: build, file, command } };
});
commands.sort((one, other) => other.length - one.length);
const entries = commands.map(({ entry }) => entry);
writeFileSync(`${joined}/compile_commands.json`, JSON.stringify(entries, null, 1));
for (const { file } of entries) console.log(file);
