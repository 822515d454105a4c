// The ways from a page to an application, in windows that a test makes up.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import vm from 'node:vm';
import { gzipSync } from 'node:zlib';
import { turn } from './application.mjs';

const script = readFileSync(new URL('../../page/client/dist/vemo-client.js', import.meta.url), 'utf8');

/** A window with what `own` has, and the client in it as a script tag would put it there. */
function windowWith(own = {}) {
  const listeners = new Map();
  const timers = [];
  const intervals = [];
  const observers = new Set();
  const warnings = [];
  const window = {
    setTimeout: (task, ms) => timers.push({ task, ms }),
    clearTimeout: () => {},
    setInterval: (task) => intervals.push(task),
    clearInterval: (number) => delete intervals[number - 1],
    requestAnimationFrame: () => {},
    // As a window does, which has the same listener once.
    addEventListener: (type, listener) =>
      listeners.set(type, [...(listeners.get(type) ?? []).filter((other) => other !== listener), listener]),
    removeEventListener: (type, listener) =>
      listeners.set(type, (listeners.get(type) ?? []).filter((other) => other !== listener)),
    MutationObserver: class {
      observe() {
        observers.add(this);
      }
      disconnect() {
        observers.delete(this);
      }
    },
    document: {},
    console: { warn: (text) => warnings.push(text) },
    ...own,
  };
  window.self = window;
  window.parent ??= window;
  vm.createContext(window);
  vm.runInContext(script, window);
  return {
    window,
    warnings,
    bridge: (options = '') => vm.runInContext(`new VemoClient.Bridge(${options})`, window),
    /** Does what waits for this long, once. */
    pass: (ms) => {
      for (const timer of timers.splice(0)) {
        if (timer.ms <= ms) timer.task();
        else timers.push(timer);
      }
    },
    /** How many of each listen, look again and again, or watch the document. */
    counts: () => ({
      ...Object.fromEntries([...listeners].map(([type, those]) => [type, those.length])),
      intervals: intervals.filter(Boolean).length,
      observers: observers.size,
    }),
    fire: (type, data) => {
      let isOver = false;
      const event = { ...data, stopImmediatePropagation: () => (isOver = true) };
      for (const listener of listeners.get(type) ?? []) if (!isOver) listener(event);
    },
  };
}

const actionsOf = (texts) => texts.map((text) => JSON.parse(text).head.action);

test('the script tag’s build is small', () => {
  const bytes = gzipSync(script, { level: 9 }).length;
  assert.ok(bytes <= 6 * 1024, `${bytes} bytes`);
});

test('a web view’s message handler is found, and later too', async () => {
  const sent = [];
  const webkit = { messageHandlers: { vemo: { postMessage: (text) => sent.push(text) } } };
  const there = windowWith({ webkit });
  const bridge = there.bridge();
  void bridge.initSDK();
  await turn();
  assert.deepEqual(actionsOf(sent), ['initSDK']);
  const { cbid } = JSON.parse(sent[0]);
  const version = bridge.getSDKVersion();
  vm.runInContext(
    `vemoBridge.onReply({"head":{"cbid":"${JSON.parse(sent[1]).cbid}"},"retval":{"version":"5"}})`,
    there.window,
  );
  assert.equal((await version).version, '5');
  assert.notEqual(cbid, JSON.parse(sent[1]).cbid);

  sent.length = 0;
  const late = windowWith();
  void late.bridge().initSDK();
  await turn();
  late.pass(100);
  assert.deepEqual(sent, []);
  late.window.webkit = webkit;
  late.pass(100);
  assert.deepEqual(actionsOf(sent), ['initSDK']);
});

test('a handler of another name and an injected object are taken when named', async () => {
  const sent = [];
  const { window, bridge } = windowWith({
    webkit: { messageHandlers: { ours: { postMessage: (text) => sent.push(text) } } },
    theirs: {
      sentBy: 'it',
      take(text) {
        sent.push(`${this.sentBy} ${text.length}`);
      },
    },
    vemoNative: { postMessage: (text) => sent.push(text) },
  });
  void bridge('{ transport: VemoClient.webViewHandler("ours") }').initSDK();
  await turn();
  assert.deepEqual(actionsOf(sent.splice(0)), ['initSDK']);
  void bridge('{ transport: VemoClient.injectedObject("theirs", "take") }').initSDK();
  await turn();
  assert.match(sent.splice(0)[0], /^it \d+$/);
  void bridge().exitRoom();
  await turn();
  assert.deepEqual(actionsOf(sent), ['exitRoom']);
  assert.ok(window.vemoBridge);
});

test('a page without an application is told so, after a while', async () => {
  const { bridge, pass, warnings } = windowWith();
  bridge();
  await turn();
  pass(100);
  assert.deepEqual(warnings, []);
  pass(5000);
  assert.match(warnings[0], /no application answers/);
});

test('a page that makes a second bridge is told so, unless it says of each how it talks', async () => {
  const { bridge, warnings } = windowWith();
  bridge();
  bridge('{ transport: VemoClient.webViewHandler() }');
  assert.deepEqual(warnings, []);
  bridge();
  assert.match(warnings[0], /a second Bridge/);
});

/** A window in a frame: what it told its parent, and what the parent may tell it. */
function framed(options) {
  const asked = [];
  const parent = { postMessage: (...message) => asked.push(message) };
  const made = windowWith({ parent });
  made.window.document.querySelectorAll = () => [];
  const bridge = made.bridge(options);
  const answer = (port, { source = parent, origin = 'http://127.0.0.1:8377', vemo = 'connected' } = {}) =>
    made.fire('message', { source, origin, data: { vemo }, ports: [port] });
  return { ...made, bridge, asked, parent, answer };
}
function newPort() {
  const frames = [];
  return { frames, postMessage: (frame) => frames.push(frame) };
}

test('in a frame the page asks the window around it, and speaks over the port it is given', async () => {
  const { bridge, asked, answer, window } = framed();
  assert.deepEqual(structuredClone(asked), [[{ vemo: 'connect' }, '*']]);
  const made = bridge.initSDK();
  const port = newPort();
  answer(port);
  port.onmessage({ data: { kind: 'state', state: 'ready' } });
  assert.deepEqual(port.frames.map(({ kind }) => kind), ['message']);
  const { cbid } = JSON.parse(port.frames[0].text);
  const run = (text) => port.onmessage({ data: { kind: 'script', text } });
  run(`vemoBridge.onReply({"head":{"cbid":"${cbid}"},"error":{"errcode":0,"errmsg":"v"}})`);
  assert.equal((await made).text, 'v');

  window.told = [];
  window.page = { owner: 'page', tell(value) { window.told.push([this.owner, value.a]); } };
  run('page.tell({"a":"x)("})');
  run('told.push(1 + 1)');
  run('noFunction({"a":1})');
  run('page.tell(');
  assert.deepEqual(structuredClone(window.told), [['page', 'x)('], 2]);
  const failed = port.frames.filter(({ kind }) => kind === 'failed');
  assert.match(failed[0].error, /noFunction is not defined/);
  assert.match(failed[1].error, /SyntaxError/);
  port.onmessage({ data: { kind: 'state', state: 'stopped' } });
  assert.equal(bridge.state, 'stopped');
});

test('only the window around it and an address of this machine are listened to', () => {
  for (const wrong of [
    { source: {} },
    { origin: 'http://evil.example' },
    { origin: 'http://localhost.evil.example' },
    { origin: 'http://127.0.0.1.evil.example:8377' },
    { vemo: 'connect' },
  ]) {
    const { bridge, answer } = framed();
    void bridge.initSDK();
    const foreign = newPort();
    answer(foreign, wrong);
    assert.equal(foreign.onmessage, undefined, JSON.stringify(wrong));
    const right = newPort();
    answer(right, { origin: 'http://localhost:8377' });
    right.onmessage({ data: { kind: 'state', state: 'ready' } });
    assert.equal(right.frames.length, 1);
  }
  const { answer, asked } = framed('{ transport: VemoClient.simulator({ origin: "https://bench.example" }) }');
  assert.equal(asked[0][1], 'https://bench.example');
  const loopback = newPort();
  answer(loopback);
  assert.equal(loopback.onmessage, undefined);
  const named = newPort();
  answer(named, { origin: 'https://bench.example' });
  assert.ok(named.onmessage);
});

test('a page that goes away says so', () => {
  const { answer, fire } = framed();
  const port = newPort();
  answer(port);
  fire('pagehide', {});
  assert.equal(port.frames.at(-1).kind, 'bye');
});

test('a page that connects again and again listens no more than once', () => {
  const { bridge, answer, counts, fire } = framed();
  const ports = [newPort(), newPort(), newPort()];
  answer(ports[0]);
  const once = counts();
  assert.ok(once.focusin === 1 && once.pagehide === 1 && once.intervals === 1, JSON.stringify(once));
  for (const port of ports.slice(1)) {
    bridge.connect();
    answer(port);
    assert.deepEqual(counts(), once);
  }
  fire('pagehide', {});
  assert.deepEqual(ports.map(({ frames }) => frames.length), [0, 0, 1]);
});

test('a page that is to reload says so before it does', () => {
  const { answer, window } = framed();
  const port = newPort();
  window.location = { reload: () => port.postMessage('reload') };
  answer(port);
  port.onmessage({ data: { kind: 'reload' } });
  assert.deepEqual(structuredClone(port.frames), [{ kind: 'reloads' }, 'reload']);
});

test('a second Bridge takes the place of the first, whose calls fail and say so', async () => {
  const sent = [];
  const webkit = { messageHandlers: { vemo: { postMessage: (text) => sent.push(JSON.parse(text)) } } };
  const { window, bridge } = windowWith({ webkit });
  const first = bridge();
  const states = [];
  first.onState = (state) => states.push(state);
  first.on('onEnterRoom', () => {});
  const exit = first.exitRoom();
  await turn();
  const second = bridge();
  const error = await exit.then(assert.fail, (error) => error);
  assert.deepEqual([error.reason, error.text], ['stopped', 'another Bridge of this page has taken the place of this one']);
  await assert.rejects(first.initSDK(), { reason: 'stopped' });
  assert.deepEqual(states, ['ready', 'stopped']);
  const version = second.getSDKVersion();
  await turn();
  window.vemoBridge.onReply({ head: { cbid: sent.at(-1).cbid }, retval: { version: '2' } });
  assert.equal((await version).version, '2');

  first.connect(); // and takes it back, with all its handlers
  await turn();
  assert.deepEqual([first.state, second.state], ['ready', 'stopped']);
  assert.equal(sent.at(-1).params.callbacks[0].sdkcbName, 'onEnterRoom');
});

test('a program that makes a Bridge where no application is ends all the same', () => {
  const client = new URL('../../page/client/dist/index.js', import.meta.url).href;
  const program = `import { Bridge } from '${client}'; new Bridge().on('onError', () => {}); console.log('made');`;
  const { stdout, signal } = spawnSync(process.execPath, ['--input-type=module', '-e', program], {
    encoding: 'utf8',
    timeout: 30_000,
  });
  assert.deepEqual([stdout, signal], ['made\n', null]);
});
