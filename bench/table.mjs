// The table that bench/compare prints, of the results that Google Benchmark wrote.
//
//   table.mjs RESULTS.json...

import { readFileSync } from 'node:fs';

/** The best run of each benchmark. */
const best = new Map();
for (const file of process.argv.slice(2)) {
  // The spread of what is always 0 is written as no JSON has it.
  const text = readFileSync(file, 'utf8').replaceAll(/: -?(nan|inf)/gi, ': null');
  for (const run of JSON.parse(text).benchmarks) {
    if (run.run_type !== 'iteration') continue;
    const former = best.get(run.run_name);
    if (!former || run.cpu_time < former.cpu_time) best.set(run.run_name, run);
  }
}
if (!best.size) {
  console.error('table: no results are named; see bench/compare --help');
  process.exit(2);
}

const nanoseconds = (name) => best.get(name)?.cpu_time;

/** A row whose value is that of `ours` divided by that of `other`. */
const ratio = (what, ours, other, goal) => ({
  what,
  value: nanoseconds(ours) / nanoseconds(other),
  digits: 2,
  goal,
  how: [ours, other].map((name) => `${Math.round(nanoseconds(name))} ns`).join(' / '),
});
const beside = (name, peer, title, goal) =>
  ratio(`${name.split('/')[1]}, beside ${title}`, `${name}/router`, `${name}/${peer}`, goal);
const besideJson = (name, goal) => beside(name, 'json', 'Boost.JSON', goal);
const amount = (what, value, unit, digits, goal) => ({ what, value, unit, digits, goal, how: '' });

const perUser =
  (nanoseconds('event/onUserVoiceVolume110/router') - nanoseconds('event/onUserVoiceVolume10/router')) / 100;

const rows = [
  besideJson('command/setAudioRoute', 1.2),
  besideJson('command/getAudioVolume', 1.2),
  besideJson('command/setVideoEncoderParam', 1.2),
  besideJson('command/unknownAction', 1.2),
  besideJson('command/enterRoom', 1.5),
  besideJson('command/failing', 1.5),
  besideJson('event/onRemoteUserEnterRoom'),
  besideJson('event/onStatistics10'),
  besideJson('event/onUserVoiceVolume110'),
  amount('one user more in onUserVoiceVolume', perUser, 'ns', 0, 30),
  amount('making a router', nanoseconds('routers/make1000') / 1e6, 'µs', 1, 5),
  amount('memory of a router', best.get('routers/make1000')?.bytes / 1024, 'KiB', 1, 4),
  ratio('setAudioRoute at 10,000 routers, beside 1', 'routers/command10000', 'routers/command1', 1.5),
  amount('a step of vemo-replay, its start included', nanoseconds('replay/step') / 1000, 'µs', 1, 8.3),
  beside('command/setAudioRoute', 'webchannel', 'Qt WebChannel', 0.1),
  beside('command/enterRoom', 'webchannel', 'Qt WebChannel'),
  beside('event/onRemoteUserEnterRoom', 'webchannel', 'Qt WebChannel', 0.2),
  beside('command/setAudioRoute', 'jsonrpc', 'libjsonrpccpp', 0.1),
  beside('command/enterRoom', 'jsonrpc', 'libjsonrpccpp'),
  beside('event/onRemoteUserEnterRoom', 'jsonrpc', 'libjsonrpccpp'),
].filter(({ value }) => !Number.isNaN(value));

function verdict({ value, goal }) {
  if (goal === undefined) return '';
  return value <= goal ? 'reached' : `missed by ${Math.ceil((value / goal - 1) * 100)} %`;
}

const cells = rows.map((row) => [
  row.what,
  `${row.value.toFixed(row.digits)}${row.unit ? ` ${row.unit}` : ''}`,
  row.goal === undefined ? '' : `${row.goal}${row.unit ? ` ${row.unit}` : ''}`,
  verdict(row),
  row.how,
]);
const heads = ['what', 'value', 'goal', '', 'best times'];
const widths = heads.map((head, i) => Math.max(head.length, ...cells.map((row) => row[i].length)));
const line = (row) => `| ${row.map((cell, i) => cell.padEnd(widths[i])).join(' | ')} |`;
console.log(line(heads));
console.log(`|${widths.map((width) => '-'.repeat(width + 2)).join('|')}|`);
for (const row of cells) console.log(line(row));
