// Measures what a resting page of a class of three costs: the processor time of a whole browser
// that shows one of them, as parts of a core, in all and by its processes. The other two are in a browser
// of their own.
//
//   measure-page.mjs [SECONDS]      of each measurement, 60 if not given
//
// VEMO_SIMULATOR and CHROMIUM as for the end-to-end tests.

import { readFileSync, readdirSync } from 'node:fs';
import { Phone, startBrowser, startSimulator } from '../testing/browser.mjs';

const seconds = Number(process.argv[2] ?? 60);
if (!(seconds > 0)) {
  console.error(`measure-page: "${process.argv[2]}" is no number of seconds`);
  process.exit(2);
}
const ticksPerSecond = 100;

/** What a process of a browser is: browser, renderer, gpu-process, utility, ... */
function kindOf(id) {
  return /--type=([a-z-]+)/.exec(readFileSync(`/proc/${id}/cmdline`, 'utf8'))?.[1] ?? 'browser';
}

/** Processor time of this process's browsers that were started after `others`: seconds, by kind. */
function processorTime(others = new Set()) {
  const processes = readdirSync('/proc').filter((name) => /^\d+$/.test(name));
  const stats = new Map();
  for (const id of processes) {
    try {
      const fields = readFileSync(`/proc/${id}/stat`, 'utf8').replace(/^.*\) /, '').split(' ');
      const ticks = Number(fields[11]) + Number(fields[12]);
      stats.set(Number(id), { parent: Number(fields[1]), seconds: ticks / ticksPerSecond, kind: kindOf(id) });
    } catch {
      // It has ended.
    }
  }
  const isOurs = (id) => id === process.pid || (stats.has(id) && isOurs(stats.get(id).parent));
  const ours = [...stats].filter(([id]) => id !== process.pid && isOurs(id) && !others.has(id));
  const byKind = { all: 0 };
  for (const [, { kind, seconds }] of ours) {
    byKind.all += seconds;
    byKind[kind] = (byKind[kind] ?? 0) + seconds;
  }
  return { ids: new Set(ours.map(([id]) => id)), byKind };
}

const wait = (s) => new Promise((resolve) => setTimeout(resolve, s * 1000));
const simulator = await startSimulator(['--log', '/dev/null']);
const others = await startBrowser();
const inClass = async (browser, name) => {
  const phone = await Phone.open(await browser.newPage({ viewport: { width: 1280, height: 800 } }), simulator.address);
  await phone.setPermission('Camera', 'authorized');
  await phone.enter({ name });
  return phone;
};
const ben = await inClass(others, 'Ben');
const cleo = await inClass(others, 'Cleo');
const before = processorTime().ids;
const browser = await startBrowser();
const blank = await browser.newPage();
await measure('a browser with an empty page');
await blank.close();
const ada = await inClass(browser, 'Ada');
await ada.tile('Cleo').waitFor();

async function measure(what) {
  await wait(4);
  const start = processorTime(before).byKind;
  await wait(seconds);
  const end = processorTime(before).byKind;
  const part = (kind) => `${((100 * (end[kind] - (start[kind] ?? 0))) / seconds).toFixed(2)} %`;
  const { all, ...kinds } = end;
  const each = Object.keys(kinds).map((kind) => `${kind} ${part(kind)}`);
  console.log(`${what}: ${part('all')} of a core (${each.join(', ')})`);
}
await measure('cameras off');
for (const phone of [ben, cleo, ada]) await phone.control('Camera').click();
for (const name of ['Ada', 'Ben', 'Cleo']) await ada.nativeView(name).waitFor();
await measure('three cameras on');
await ada.openPanel('Time line');
await measure('three cameras on, time line open');

await browser.close();
await others.close();
await simulator.stop();
