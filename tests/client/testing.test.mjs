// The application that plays a scenario, for the unit tests of pages.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Bridge } from '../../page/client/dist/index.js';
import { PlayedScenario } from '../../page/client/dist/testing.js';
import { turn } from './application.mjs';

const lesson = `
# Ada enters; Ben is there.
{"device":{"camera":3}}
{"command":"initSDK","expect":[{"effect":"log"},{"effect":"reply","error":{"module":"JS","errcode":0,"errmsg":"sdk version : 9"}}]}
{"command":"enterRoom","params":{"roomId":7,"userId":"*"},"as":"enter"}
{"event":"onEnterRoom","args":[120],"expect":[{"effect":"reply","item":"enter","error":{"errcode":0},"retval":{"userId":"ada","elapsed":120}}]}
{"event":"onRemoteUserEnterRoom","args":["ben"],"expect":[{"effect":"script","argument":{"head":{"action":"onRemoteUserEnterRoom"},"retval":{"userId":"ada","remoteUserId":"ben"}}}]}
{"command":"startLocalAudio","expect":[{"effect":"reply","error":{"module":"KOBU","errcode":-1317,"errmsg":"no"}}]}
{"command":"stopLocalAudio"}
{"command":"exitRoom","expect":[]}
`;

test('a page plays through a scenario', async () => {
  const scenario = new PlayedScenario(lesson);
  const bridge = new Bridge({ transport: scenario.transport });
  const came = new Promise((resolve) => bridge.on('onRemoteUserEnterRoom', resolve));
  assert.equal((await bridge.initSDK()).text, 'sdk version : 9');
  assert.match(scenario.waitsFor, /^line 5: enterRoom$/);
  const { elapsed } = await bridge.enterRoom({ appScene: 1, roomId: 7, userId: 'ada' });
  assert.equal(elapsed, 120);
  assert.equal((await came).remoteUserId, 'ben');
  await assert.rejects(bridge.startLocalAudio(), { code: -1317, module: 'KOBU' });
  assert.deepEqual(await bridge.stopLocalAudio(), { text: '' });
  void bridge.exitRoom();
  await scenario.finished;
  assert.equal(scenario.waitsFor, undefined);
  assert.deepEqual(bridge.unanswered.map(({ command }) => command), ['exitRoom']);
});

test('another command than the scenario’s fails the test and the call', async () => {
  for (const [params, why] of [
    [{ roomId: 8, userId: 'ada' }, /line 5 waits for enterRoom \{"roomId":7,"userId":"\*"\}/],
    [{ roomId: 7 }, /the page sent enterRoom \{"appScene":1,"roomId":7\}/],
  ]) {
    const scenario = new PlayedScenario(lesson);
    const bridge = new Bridge({ transport: scenario.transport });
    await bridge.initSDK();
    await assert.rejects(bridge.enterRoom({ appScene: 1, ...params }), { code: -1 });
    await assert.rejects(scenario.finished, why);
  }
  const short = new PlayedScenario('{"command":"initSDK"}');
  const bridge = new Bridge({ transport: short.transport });
  await bridge.initSDK();
  await short.finished;
  await assert.rejects(bridge.uninitSDK(), /the scenario is over/);
});

test('events can be fired, and the application can stop', async () => {
  const scenario = new PlayedScenario('');
  const bridge = new Bridge({ transport: scenario.transport });
  const heard = [];
  bridge.on('onConnectionLost', (value) => heard.push(value));
  bridge.on('onNativeReport', (value) => heard.push(value));
  await scenario.finished;
  scenario.fire('onConnectionLost', { userId: 'ada' });
  scenario.fire('onNativeReport', { classId: '7', event: 'enable_mic' });
  assert.deepEqual(heard, [{ userId: 'ada' }, { classId: '7', event: 'enable_mic' }]);
  const open = bridge.send('open');
  scenario.stop();
  await assert.rejects(open, { reason: 'stopped' });
  await turn();
});

test('a scenario that can’t be played is refused with its line', () => {
  for (const [text, why] of [
    ['{"command":"initSDK"}\n{nose', /^line 2: /],
    ['# words\n\n{"nose":1}', /^line 3: no verb/],
    ['{"rows":"initSDK"}', /^line 1: tables and set-ups/],
    ['{"use":"engine"}', /^line 1: tables and set-ups/],
    ['{"command":"a","expect":[{"effect":"reply","retval":{"a":["*"]}}]}', /^line 1: "\*" is no value/],
    ['{"event":"a","expect":[{"effect":"script"}]}', /^line 1: a script without/],
  ])
    assert.throws(() => new PlayedScenario(text), { message: why });
});
