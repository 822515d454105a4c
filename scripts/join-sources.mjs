#!/usr/bin/env node
// Joins the sources of each folder, for tools that read the same headers with every source: whatever
// reads them joined takes a fraction of the time.
//   join-sources.mjs BUILD
// BUILD is a configured folder with a compile_commands.json; BUILD/joined gets one of its own.
import { mkdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { dirname, resolve, sep } from 'node:path';
import { fileURLToPath } from 'node:url';

const root = resolve(fileURLToPath(new URL('..', import.meta.url)));
const build = resolve(process.argv[2] ?? '.');
const joined = resolve(build, 'joined');

/** What a program has one of: `main`, and what libFuzzer calls, which may be named otherwise here. */
const main = /^int main\(/m;
const fuzzed = 'LLVMFuzzerTestOneInput';
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

const units = new Map(); // by name: the sources, and the options with which any target reads them
const unitOf = new Map(); // by source: a source that is in several targets is read once
for (const { file, command } of JSON.parse(readFileSync(`${build}/compile_commands.json`, 'utf8'))) {
  if (!file.startsWith(root + sep) || file.startsWith(build + sep)) continue;
  // Libraries that programs load before the system's, in place of its functions, are no one source.
  if (/ -D\w+_EXPORTS /.test(command)) continue;
  if (!unitOf.has(file)) {
    const folder = dirname(file);
    const begins = main.test(readFileSync(file, 'utf8'));
    const alone = begins && units.get(folder)?.begins;
    const name = alone ? file : folder;
    if (!units.has(name)) units.set(name, { begins, files: [], options: new Set() });
    const unit = units.get(name);
    unit.begins ||= begins;
    unit.files.push(file);
    unitOf.set(file, unit);
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
  const file = `${joined}/${name.slice(root.length + 1).replaceAll(sep, '-').replace(/\.cpp$/, '')}.cpp`;
  const included = files.sort().map((source, at) => {
    const renamed = source.endsWith('_fuzz.cpp') ? `#undef ${fuzzed}\n#define ${fuzzed} ${fuzzed}${at}\n` : '';
    return `${renamed}#include "${source}"\n`;
  });
  writeFileSync(file, included.join(''));
  return { directory: build, file, command: `clang++-19 ${[...options].join(' ')} -c ${file}` };
});
writeFileSync(`${joined}/compile_commands.json`, JSON.stringify(commands, null, 1));
