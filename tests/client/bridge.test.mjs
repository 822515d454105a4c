// The bridge of a page: commands, their answers, and events.

import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';
import { Bridge, BridgeError, commandNames } from '../../page/client/dist/index.js';
import { Application, turn } from './application.mjs';

const success = (text) => ({ error: { module: 'JS', errcode: 0, errmsg: text } });

test('a command is sent as the protocol has it, and gives its value', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const version = bridge.getSDKVersion();
  const { cbid, ...rest } = application.sent[0];
  assert.deepEqual(rest, { head: { module: 'kobu', action: 'getSDKVersion' } });
  assert.equal(typeof cbid, 'string');
  application.answer('getSDKVersion', { retval: { version: '1.2' } });
  assert.deepEqual(await version, { version: '1.2' });

  void bridge.switchRole({ role: 20 }, { nativecb: 'switched' });
  const { params, nativecb } = application.message('switchRole');
  assert.deepEqual([params, nativecb], [{ role: 20 }, 'switched']);
});

test('every command of the protocol is a method, and those with many answers give each', () => {
  const types = readFileSync(new URL('../../page/client/src/protocol.ts', import.meta.url), 'utf8');
  const commands = [...types.matchAll(/^  (\w+): \{\n    params[^]*?answered: '(\w+)'/gm)];
  assert.deepEqual(commands.map(([, name]) => name), commandNames.split(' '));
  const bridge = new Bridge({ transport: new Application().transport });
  for (const [, name, answered] of commands) {
    const given = bridge[name]({});
    assert.equal(Symbol.asyncIterator in given, answered === 'many', name);
    assert.equal('then' in given, answered !== 'many', name);
  }
});

test('an error record with code 0 is success, and its text is not lost', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const made = bridge.initSDK();
  application.answer('initSDK', success('sdk version : 1.0.0'));
  assert.deepEqual(await made, { text: 'sdk version : 1.0.0' });
  const stopped = bridge.stopLocalAudio();
  application.answer('stopLocalAudio');
  assert.deepEqual(await stopped, { text: '' });
  const own = bridge.send('ofTheApplication', { a: 1 });
  application.answer('ofTheApplication', { ...success('fine'), retval: [1] });
  assert.deepEqual(await own, { value: [1], text: 'fine' });
});

test('another code is an error that says all', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const role = bridge.switchRole({ role: 20 });
  application.answer('switchRole', { error: { module: 'JS', errcode: -3, errmsg: 'not enter room' } });
  const error = await role.then(assert.fail, (error) => error);
  assert.ok(error instanceof BridgeError);
  const { command, module, code, text, reason, message } = error;
  assert.deepEqual(
    { command, module, code, text, reason, message },
    {
      command: 'switchRole',
      module: 'JS',
      code: -3,
      text: 'not enter room',
      reason: 'answered',
      message: 'switchRole: not enter room (JS -3)',
    },
  );
});

test('what is asked before the application is there waits for it, in order', async () => {
  const application = new Application();
  const bridge = new Bridge({ transport: application.transport });
  const made = bridge.initSDK();
  bridge.on('onEnterRoom', () => {});
  void bridge.getSDKVersion();
  assert.equal(bridge.state, 'connecting');
  assert.deepEqual(application.sent, []);
  application.receiver.onState('ready');
  assert.deepEqual(application.actions, ['initSDK', 'registCallBacks', 'getSDKVersion']);
  application.answer('initSDK', success('v'));
  assert.deepEqual(await made, { text: 'v' });
});

test('callback ids of one page load are another’s never', async () => {
  const ids = new Set();
  for (let load = 0; load < 50; ++load) {
    const application = new Application();
    const bridge = await application.connected();
    for (let call = 0; call < 3; ++call) void bridge.getSDKVersion();
    for (const { cbid } of application.sent) ids.add(cbid);
  }
  assert.equal(ids.size, 150);

  const application = new Application();
  const bridge = await application.connected();
  const version = bridge.getSDKVersion();
  application.receiver.onReply({ head: { cbid: '1' }, retval: { version: 'of another load' } });
  application.answer('getSDKVersion', { retval: { version: 'right' } });
  application.answer('getSDKVersion', { retval: { version: 'a second answer' } });
  assert.deepEqual(await version, { version: 'right' });
});

test('a time-out ends the waiting, of one call or of all', async () => {
  const application = new Application();
  const bridge = await application.connected({ timeout: 5 });
  const late = await bridge.exitRoom().then(assert.fail, (error) => error);
  assert.deepEqual([late.command, late.reason, late.code], ['exitRoom', 'timeout', 0]);
  const patient = bridge.exitRoom({}, { timeout: 60_000 });
  const hasty = await bridge.exitRoom({}, { timeout: 1 }).then(assert.fail, (error) => error);
  assert.equal(hasty.reason, 'timeout');
  const [first] = bridge.unanswered;
  assert.equal(bridge.unanswered.length, 1);
  assert.equal(first.command, 'exitRoom');
  const { cbid } = application.sent[1];
  application.receiver.onReply({ head: { cbid }, retval: { userId: 'ada', reason: 0 } });
  assert.deepEqual(await patient, { userId: 'ada', reason: 0 });
});

test('a signal ends the waiting with its reason, before and after', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const reason = new Error('not now');
  await assert.rejects(bridge.exitRoom({}, { signal: AbortSignal.abort(reason) }), reason);
  assert.deepEqual(application.sent, []);
  const controller = new AbortController();
  const exit = bridge.exitRoom({}, { signal: controller.signal });
  controller.abort(reason);
  await assert.rejects(exit, reason);
  assert.deepEqual(bridge.unanswered, []);
  application.answer('exitRoom', { retval: {} }); // too late, and no harm
});

test('what is unanswered is listed, the oldest first', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const before = Date.now();
  void bridge.exitRoom();
  void bridge.setAudioRoute({ route: 1 });
  const list = bridge.unanswered;
  assert.deepEqual(
    list.map(({ command, params }) => [command, params]),
    [
      ['exitRoom', undefined],
      ['setAudioRoute', { route: 1 }],
    ],
  );
  assert.ok(list.every(({ since }) => since >= before && since <= Date.now()));
  application.answer('exitRoom', { retval: {} });
  assert.deepEqual(bridge.unanswered.map(({ command }) => command), ['setAudioRoute']);
});

test('handlers are registered once for many, and before the next command', async () => {
  const application = new Application();
  const bridge = await application.connected();
  bridge.on('onEnterRoom', () => {});
  bridge.on('onExitRoom', () => {});
  bridge.on('onExitRoom', () => {});
  assert.deepEqual(application.sent, []);
  await turn();
  assert.deepEqual(application.actions, ['registCallBacks']);
  assert.deepEqual(application.sent[0].params, {
    callbacks: [
      { sdkcbName: 'onEnterRoom', jsRecvcbName: 'vemoBridge.onEvent' },
      { sdkcbName: 'onExitRoom', jsRecvcbName: 'vemoBridge.onEvent' },
    ],
  });
  bridge.on('onError', () => {});
  void bridge.initSDK();
  assert.deepEqual(application.actions, ['registCallBacks', 'registCallBacks', 'initSDK']);
  assert.equal(application.sent[1].params.callbacks.length, 3);
  await turn();
  assert.equal(application.sent.length, 3);
});

test('on hears always, once hears once, off ends it, and the last one off unregisters', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const heard = [];
  const always = ({ userId }) => heard.push(`always ${userId}`);
  bridge.on('onConnectionLost', always);
  bridge.once('onConnectionLost', ({ userId }) => heard.push(`once ${userId}`));
  const end = bridge.on('onConnectionLost', ({ userId }) => heard.push(`other ${userId}`));
  for (const userId of ['a', 'b']) {
    application.happen('onConnectionLost', { userId });
    end();
  }
  assert.deepEqual(heard, ['always a', 'once a', 'other a', 'always b']);
  await turn();
  bridge.off('onConnectionLost', always);
  application.happen('onConnectionLost', { userId: 'c' });
  assert.equal(heard.length, 4);
  await turn();
  assert.deepEqual(application.message('registCallBacks').params, { callbacks: [] });
  application.happen('onNobodyKnows');
});

test('a handler that throws keeps no other from being called, and is told of', async (t) => {
  const application = new Application();
  const bridge = await application.connected();
  const tasks = [];
  t.mock.method(globalThis, 'setTimeout', (task) => tasks.push(task));
  const heard = new Promise((resolve) => {
    bridge.on('onConnectionLost', () => {
      throw new Error('broken');
    });
    bridge.on('onConnectionLost', resolve);
  });
  application.happen('onConnectionLost', {});
  await heard;
  assert.equal(tasks.length, 1);
  assert.throws(tasks[0], { message: 'broken' });
});

test('what the page registers by itself and its handlers stand in one table', async () => {
  const application = new Application();
  const bridge = await application.connected();
  bridge.on('onEnterRoom', () => {});
  const own = { sdkcbName: 'onError', jsRecvcbName: 'myError' };
  void bridge.registCallBacks({ callbacks: [own] });
  const enter = { sdkcbName: 'onEnterRoom', jsRecvcbName: 'vemoBridge.onEvent' };
  assert.deepEqual(application.message('registCallBacks').params, { callbacks: [own, enter] });
  bridge.on('onExitRoom', () => {});
  await turn();
  const exit = { sdkcbName: 'onExitRoom', jsRecvcbName: 'vemoBridge.onEvent' };
  assert.deepEqual(application.message('registCallBacks').params, { callbacks: [own, enter, exit] });

  // The router forgets the table at a call that fails too.
  const failing = bridge.registCallBacks({});
  application.answer('registCallBacks', {
    error: { module: 'JS', errcode: -1, errmsg: 'no callbacks content' },
  });
  await assert.rejects(failing, { text: 'no callbacks content' });
  await turn();
  assert.deepEqual(application.message('registCallBacks').params, { callbacks: [enter, exit] });
});

test('reports are heard like events, by a registration of their own', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const heard = [];
  const handler = (report) => heard.push(report);
  bridge.on('onNativeReport', handler);
  await turn();
  assert.deepEqual(application.actions, ['registReport']);
  assert.deepEqual(application.sent[0].params, { reportfunc: 'vemoBridge.onReport' });
  const report = { userId: 'ada', classId: '7', event: 'enable_mic' };
  globalThis.vemoBridge.onReport({ head: { module: 'kobu', action: 'onNativeReport' }, params: report });
  assert.deepEqual(heard, [report]);
  bridge.off('onNativeReport', handler);
  await turn();
  assert.deepEqual(application.sent[1].params, {});
});

test('scripts of the application reach the bridge', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const version = bridge.getSDKVersion();
  const heard = new Promise((resolve) => bridge.on('onConnectionLost', resolve));
  const { cbid } = application.message('getSDKVersion');
  globalThis.vemoBridge.onReply({ head: { cbid }, retval: { version: '3' } });
  globalThis.vemoBridge.onEvent({ head: { action: 'onConnectionLost' }, retval: { userId: 'ada' } });
  assert.deepEqual(await version, { version: '3' });
  assert.deepEqual(await heard, { userId: 'ada' });
});

test('when the application stops open calls fail, and a new connection has all handlers', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const states = [];
  bridge.onState = (state) => states.push(state);
  bridge.on('onEnterRoom', () => {});
  bridge.on('onNativeReport', () => {});
  await turn();
  const open = bridge.exitRoom();
  const old = application.receiver;
  old.onState('stopped');
  await assert.rejects(open, { reason: 'stopped', command: 'exitRoom', code: 0 });
  await assert.rejects(bridge.initSDK(), { reason: 'stopped' });
  application.sent.length = 0;
  bridge.connect();
  const made = bridge.initSDK();
  old.onState('ready'); // of a connection that is no more
  assert.deepEqual(application.sent, []);
  application.receiver.onState('ready');
  assert.deepEqual(application.actions, ['registCallBacks', 'registReport', 'initSDK']);
  application.answer('initSDK', success('v'));
  await made;
  assert.deepEqual(states, ['stopped', 'connecting', 'ready']);
});

test('a command with many answers gives them as they come, to the last', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const speed = bridge.startSpeedTest({ sdkAppId: 1, userId: 'ada', userSig: 's' });
  const answer = (completedCount, errmsg) =>
    application.answer('startSpeedTest', {
      error: { module: 'KOBU', errcode: 0, errmsg },
      retval: { totalCount: 3, completedCount },
    });
  answer(1, 'ing');
  answer(2, 'ing');
  const seen = [];
  const over = (async () => {
    for await (const { completedCount } of speed) seen.push(completedCount);
  })();
  await turn();
  assert.deepEqual(seen, [1, 2]);
  answer(3, 'done');
  await over;
  assert.deepEqual(seen, [1, 2, 3]);
  assert.deepEqual(bridge.unanswered, []);
});

test('music that is asked for its start alone ends there', async () => {
  const application = new Application();
  const bridge = await application.connected();
  for (const [flags, states] of [
    [{ onStart: true }, ['onStart']],
    [{ onStart: true, onComplete: true }, ['onStart', 'onComplete']],
  ]) {
    const music = bridge.playMusic({ audioId: 1, path: 'a.mp3', ...flags });
    for (const state of states) application.answer('playMusic', { retval: { audioId: 1, state } });
    const seen = [];
    for await (const { state } of music) seen.push(state);
    assert.deepEqual(seen, states);
  }
});

test('an error ends the answers; breaking out of the loop ends the waiting', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const music = () =>
    bridge.playMusic({ audioId: 1, path: 'a.mp3', onStart: true, onProgress: true, onComplete: true });
  const progress = { retval: { audioId: 1, state: 'onProgress', progressMs: 1 } };
  const failing = music();
  application.answer('playMusic', progress);
  application.answer('playMusic', { error: { module: 'KOBU', errcode: -4001, errmsg: 'lost' } });
  await turn(); // nobody looks at it yet, and it is no unhandled rejection
  const seen = [];
  await assert.rejects(
    async () => {
      for await (const { state } of failing) seen.push(state);
    },
    { code: -4001 },
  );
  assert.deepEqual(seen, ['onProgress']);

  const broken = music();
  application.answer('playMusic', progress);
  for await (const _ of broken) break;
  assert.deepEqual(bridge.unanswered, []);
  application.answer('playMusic', progress);
  assert.deepEqual(await broken.next(), { done: true, value: undefined });
});

test('parameters that can’t be written as JSON fail as all else does, and nothing is sent', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const circular = { audioId: 1, path: 'a.mp3' };
  circular.itself = circular;
  await assert.rejects(bridge.setAudioRoute(circular), TypeError);
  await assert.rejects(bridge.send('its own', circular), TypeError);
  const music = bridge.playMusic(circular);
  await turn(); // nobody looks at it yet, and it is no unhandled rejection
  await assert.rejects(async () => {
    for await (const _ of music) assert.fail('an answer came');
  }, TypeError);
  assert.deepEqual(await music.next(), { done: true, value: undefined });
  assert.deepEqual(bridge.unanswered, []);
  void bridge.exitRoom();
  assert.deepEqual(application.actions, ['exitRoom']);
});

test('callbacks that can’t be written as JSON leave those that were registered before', async () => {
  const application = new Application();
  const bridge = await application.connected();
  void bridge.registCallBacks({ callbacks: [{ sdkcbName: 'onError', jsRecvcbName: 'failed' }] });
  const circular = { sdkcbName: 'onWarning' };
  circular.itself = circular;
  await assert.rejects(bridge.registCallBacks({ callbacks: [circular] }), TypeError);

  bridge.on('onEnterRoom', () => {});
  await turn();
  assert.deepEqual(application.sent.at(-1).params.callbacks, [
    { sdkcbName: 'onError', jsRecvcbName: 'failed' },
    { sdkcbName: 'onEnterRoom', jsRecvcbName: 'vemoBridge.onEvent' },
  ]);
});

test('a signal and a time-out end answers too', async () => {
  const application = new Application();
  const bridge = await application.connected();
  const music = { audioId: 1, path: 'a.mp3', onComplete: true };
  const controller = new AbortController();
  const waiting = bridge.playMusic(music, { signal: controller.signal }).next();
  controller.abort(new Error('enough'));
  await assert.rejects(waiting, { message: 'enough' });
  await assert.rejects(bridge.playMusic(music, { timeout: 1 }).next(), { reason: 'timeout' });
});
