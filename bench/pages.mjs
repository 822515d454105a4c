// Round trips of a page in Chromium: the same call through the simulator with its router and time
// line, and through Qt WebChannel over its WebSocket server, in turns. Prints rows for bench/compare,
// and what they are the best of.
//
//   pages.mjs SERVER [ROUNDS]      SERVER is vemo-bench-webchannel-server
//
// VEMO_SIMULATOR and CHROMIUM as for the end-to-end tests.

import { spawn } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';
import { startBrowser, startSimulator } from '../testing/browser.mjs';

const [server, rounds = '5'] = process.argv.slice(2);
if (!server || !/^[1-9]\d*$/.test(rounds)) {
  console.error('pages: name the server and, if you like, a number of rounds from 1 on');
  process.exit(2);
}

const folder = mkdtempSync(`${tmpdir()}/vemo-pages-`);
process.on('exit', () => rmSync(folder, { recursive: true, force: true }));
const script = `${folder}/qwebchannel.js`;
const peer = spawn(server, [script], { stdio: ['pipe', 'pipe', 'inherit'] });
const peerAddress = await new Promise((resolve, reject) => {
  createInterface({ input: peer.stdout }).once('line', resolve);
  peer.once('error', reject);
  peer.once('exit', () => reject(new Error(`${server} does not start`)));
});
const simulator = await startSimulator(['--page', fileURLToPath(new URL('pages', import.meta.url)), '--log', '/dev/null']);
const browser = await startBrowser();

/** Microseconds of a call: of `calls` one after another, and of as many at once. */
const measure = (frame, calls) =>
  frame.evaluate(async (calls) => {
    const time = async (work) => {
      const start = performance.now();
      await work();
      return ((performance.now() - start) * 1000) / calls;
    };
    return {
      'one after another': await time(async () => {
        for (let call = 0; call < calls; ++call) await globalThis.call();
      }),
      'all at once': await time(() => Promise.all(Array.from({ length: calls }, () => globalThis.call()))),
    };
  }, calls);

const windows = { simulator: await browser.newPage(), webchannel: await browser.newPage() };
await windows.simulator.goto(simulator.address);
const frame = await (await windows.simulator.waitForSelector('iframe')).contentFrame();
await frame.waitForFunction(() => 'VemoClient' in window);
await frame.evaluate(async () => {
  const bridge = new VemoClient.Bridge();
  globalThis.call = () => bridge.setAudioRoute({ route: 1 });
  await bridge.initSDK();
});
await windows.webchannel.addScriptTag({ content: readFileSync(script, 'utf8') });
await windows.webchannel.evaluate(
  (address) =>
    new Promise((resolve) => {
      const socket = new WebSocket(address);
      socket.onopen = () =>
        new QWebChannel(socket, ({ objects: { classroom } }) => {
          globalThis.call = () => new Promise((done) => classroom.setAudioRoute(1, done));
          resolve();
        });
    }),
  peerAddress,
);

const best = {};
for (let round = 0; round <= Number(rounds); ++round) {
  for (const [name, window] of Object.entries(windows)) {
    await window.bringToFront();
    const times = await measure(name === 'simulator' ? frame : window, 1000);
    if (round === 0) continue; // the first is for the compilers of scripts
    for (const [how, time] of Object.entries(times)) {
      const key = `${how}/${name}`;
      best[key] = Math.min(best[key] ?? Infinity, time);
    }
  }
}
await browser.close();
await simulator.stop();
peer.stdin.end();
for (const [key, time] of Object.entries(best)) console.log(`${key}: ${Math.round(time)} µs`);
