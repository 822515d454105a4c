// What the shell says and does where its connection with the simulator is slow, is lost or is not to be had.

import assert from 'node:assert/strict';
import { once } from 'node:events';
import net from 'node:net';
import { test } from 'node:test';
import { screens, simulatorForEachTest } from '../../testing/browser.mjs';

const { address, blank, open } = simulatorForEachTest();

/** Holds all frames of the phones of `page` up by `ms`, each way. */
function holdFrames(page, ms) {
  return page.routeWebSocket(/\/phone\?/, (socket) => {
    const server = socket.connectToServer();
    socket.onMessage((frame) => setTimeout(() => server.send(frame), ms));
    server.onMessage((frame) => setTimeout(() => socket.send(frame), ms));
  });
}

test('over a connection that holds its frames up nothing untrue is said of a session that is played', async () => {
  const ada = await blank();
  await holdFrames(ada.page, 1000);
  await ada.visit(address());
  const panel = await ada.openPanel('Sessions');
  const scenario = [
    '{"command":"initSDK"}',
    '{"command":"startLocalAudio"}',
    '{"access":false,"partial":true,"expect":[{"effect":"reply","error":{"errcode":-1317}}]}',
  ].join('\n');
  const file = { name: 'refused.jsonl', mimeType: 'text/plain', buffer: Buffer.from(scenario) };
  await panel.locator('input[type="file"]').setInputFiles(file);
  await panel.getByRole('button', { name: 'Play', exact: true }).click();
  await panel.getByText(/^3 of 3 steps played: all as before\.$/).waitFor();
});

test('settings that are changed while the phone has not told of the first stand all', async () => {
  const ada = await blank();
  await holdFrames(ada.page, 1000);
  await ada.visit(address());
  const panel = await ada.openPanel('Phone');
  const texts = { 'Application name': 'Lesson', 'Why the camera': 'To be seen', 'Why the microphone': 'To be heard' };
  for (const [label, text] of Object.entries(texts)) {
    await panel.getByLabel(label, { exact: true }).fill(text);
    await panel.getByLabel(label, { exact: true }).blur();
  }
  await panel.getByLabel('Camera', { exact: true }).selectOption('denied');
  await panel.getByLabel('Microphone', { exact: true }).selectOption('restricted');
  await ada.openPanel('Time line');
  await ada.row('microphone: restricted').waitFor(); // the last is told
  await ada.openPanel('Phone');
  const values = await Promise.all(Object.keys(texts).map((label) => panel.getByLabel(label, { exact: true }).inputValue()));
  assert.deepEqual(values, Object.values(texts));
  assert.equal(await panel.getByLabel('Camera', { exact: true }).inputValue(), 'denied');
});

/**
 * A way to the simulator by another address. `cut` ends what goes over it; what asks for a phone waits
 * for `beforePhone`.
 */
async function wire(context) {
  const { port } = new URL(address());
  const way = { beforePhone: Promise.resolve() };
  const sockets = new Set();
  const server = net.createServer((near) => {
    const far = net.connect(port, '127.0.0.1');
    for (const [one, other] of [[near, far], [far, near]]) {
      sockets.add(one);
      one.on('error', () => {});
      one.on('close', () => other.destroy());
    }
    far.pipe(near);
    // The simulator answers to its own name alone.
    const own = `127.0.0.1:${server.address().port}`;
    near.on('data', async (bytes) => {
      const text = bytes.toString('latin1');
      if (text.startsWith('GET /phone')) await way.beforePhone;
      far.write(text.replaceAll(own, `127.0.0.1:${port}`), 'latin1');
    });
  });
  server.listen(0, '127.0.0.1');
  await once(server, 'listening');
  way.address = address().replace(`:${port}/`, `:${server.address().port}/`);
  way.cut = () => sockets.forEach((socket) => socket.destroy());
  context.after(() => {
    server.close();
    way.cut();
  });
  return way;
}

test('a network that is cut off while a page has no phone yet is cut off when it has', async (context) => {
  const way = await wire(context);
  let letIn;
  way.beforePhone = new Promise((resolve) => (letIn = resolve));
  const ada = await blank();
  await ada.page.goto(way.address);
  await ada.page.locator('.phone[data-state="connecting"]').waitFor();
  await ada.page.getByRole('button', { name: 'Cut off the network' }).click();
  await ada.page.locator('.device .badge', { hasText: 'Offline' }).waitFor();
  letIn();
  await ada.inPhase('outside');
  await ada.fillIn({ name: 'Ada' });
  await ada.view.getByRole('button', { name: 'Enter room' }).click();
  await ada.view.getByText('The room did not answer in time. Is this phone online?').waitFor();
});

test('a connection that is lost is not taken for a simulator that has stopped', async (context) => {
  const way = await wire(context);
  const ada = await blank();
  await ada.visit(way.address);
  await ada.enter({ name: 'Ada' });
  way.cut();
  const sentence = 'The connection with the simulator is lost.';
  const notice = ada.page.getByRole('status').filter({ hasText: sentence });
  await notice.waitFor();
  await ada.view.getByRole('heading', { name: 'The connection has ended' }).waitFor();
  assert.deepEqual(await ada.findings(), []);
  await ada.openPanel('Time line');
  await ada.row(sentence).waitFor();
  await ada.view.getByRole('button', { name: 'Try again' }).click();
  await ada.inPhase('outside');
  await notice.waitFor({ state: 'detached' });
  assert.equal(await ada.row('The simulator has stopped.').count(), 0);
  // The browser tells of what the simulator was asked then.
  ada.problems = ada.problems.filter((problem) => !problem.includes('426'));
});

test('a page for which there is no phone any more is told so, and gets one when another has gone', async () => {
  const ada = await open(screens[1]);
  const full = 'The simulator gives the page no phone: There are as many pages as this server takes; close one first.';
  // As many phones as it gives, from the window itself.
  await ada.page.evaluate(async () => {
    const token = new URLSearchParams(location.search).get('token');
    const opened = () =>
      new Promise((resolve) => {
        const socket = new WebSocket(`ws://${location.host}/phone?token=${token}`);
        socket.onopen = () => resolve(socket);
        socket.onclose = () => resolve(undefined);
      });
    window.others = [];
    for (let socket = await opened(); socket; socket = await opened()) window.others.push(socket);
  });
  const ben = await blank(screens[1]);
  await ben.page.goto(address());
  const notice = ben.page.getByRole('status').filter({ hasText: full });
  await notice.waitFor();
  assert.deepEqual(await ben.findings(), []);
  await ada.page.evaluate(() =>
    Promise.all(
      window.others.map((socket) => {
        const gone = new Promise((resolve) => (socket.onclose = resolve));
        socket.close();
        return gone;
      }),
    ),
  );
  await ben.view.getByRole('button', { name: 'Try again' }).click();
  await ben.inPhase('outside');
  await notice.waitFor({ state: 'detached' });
  // The browser says so of the phone that was refused.
  ben.problems = ben.problems.filter((problem) => !/503|WebSocket/.test(problem));
  ada.problems = ada.problems.filter((problem) => !/503/.test(problem));
});
