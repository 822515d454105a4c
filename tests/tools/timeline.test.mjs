// The time line: which row belongs to which, what is shown of it, and what it is saved as.
import assert from 'node:assert/strict';
import { beforeEach, test } from 'node:test';

import { source } from './source.mjs';

const { Timeline } = await source('shell/timeline/timeline.ts');
const { Conversation } = await source('shell/timeline/conversation.ts');
const { firstFilter, Lines } = await source('shell/timeline/lines.ts');
const { jsonLines, scenario } = await source('shell/timeline/exports.ts');

let frames; // what waits for the next frame of the screen
let timeline;
let conversation;
beforeEach(() => {
  frames = [];
  timeline = new Timeline(undefined, (run) => frames.push(run));
  conversation = new Conversation(timeline);
});

const send = (action, cbid, params) =>
  conversation.message(JSON.stringify({ head: { module: 'kobu', action }, params, cbid }));
const answer = (action, cbid, code = 0, errmsg = '', needLog = true) => {
  const error = code ? { module: 'KOBU', errcode: code, errmsg } : undefined;
  conversation.script(`page.reply(${JSON.stringify({ head: { action, cbid }, error, retval: {} })})`, needLog);
};
const tell = (action, retval, needLog = true) =>
  conversation.script(`page.event(${JSON.stringify({ head: { action }, retval })})`, needLog);
const titles = (rows) => rows.map(({ title }) => title);
const rowOf = (title) => timeline.rows.find((row) => row.title === title);
const shown = (changes = {}, isOpen = () => false) => {
  const lines = new Lines();
  lines.update(timeline, { ...firstFilter, ...changes }, isOpen, 0);
  return titles(lines.rows);
};
const saved = (text) => text.trimEnd().split('\n').map((line) => JSON.parse(line));

test('an answer belongs to the command with its cbid', () => {
  send('initSDK', '1');
  send('enterRoom', '2');
  answer('enterRoom', '2', -3301, 'not let in');
  const [init, enter] = timeline.rows;
  assert.deepEqual([init.waiting, enter.waiting], ['waiting', 'answered']);
  assert.deepEqual([init.failed, enter.failed, enter.answers[0].failed], [false, true, true]);
  answer('initSDK', '1');
  answer('initSDK', '1');
  assert.equal(init.answers.length, 2);
  assert.equal(init.failed, false);
});

test('of commands with one cbid, an answer goes to the one with its name', () => {
  send('initSDK', 'same');
  send('getSDKVersion', 'same');
  answer('getSDKVersion', 'same');
  assert.deepEqual(timeline.rows.map(({ waiting }) => waiting), ['waiting', 'answered']);
});

test('an answer that nobody asked for, and a text that is no message, have rows of their own', () => {
  answer('initSDK', 'unknown');
  conversation.message('{"head":');
  send('exitRoom');
  assert.deepEqual(titles(timeline.rows), ['initSDK', 'not a message', 'exitRoom']);
  assert.deepEqual(timeline.rows.map(({ waiting }) => waiting), [undefined, 'unasked', 'unasked']);
  assert.equal(rowOf('not a message').failed, true);
});

test('a command that can have no answer any more says why', () => {
  send('enterRoom', '1');
  send('enterRoom', '2');
  send('startScreenCapture', '3');
  send('playMusic', '4', { audioId: 1, path: 'a.mp3' });
  send('playMusic', '5', { audioId: 1, path: 'a.mp3', onStart: true });
  assert.deepEqual(timeline.rows.map(({ waiting }) => waiting), ['waiting', 'waiting', 'waiting', 'over', 'waiting']);
  assert.match(timeline.rows[3].overBecause, /none of onStart, onProgress, onComplete is true/);
  answer('enterRoom', '2');
  assert.match(timeline.rows[0].overBecause, /by the protocol: a later enterRoom took its place/);
  send('uninitSDK', '6');
  answer('uninitSDK', '6');
  assert.match(timeline.rows[2].overBecause, /the engine was released/);
  send('getSDKVersion', '7');
  conversation.end('The simulator has stopped.');
  assert.equal(rowOf('getSDKVersion').overBecause, 'The simulator has stopped.');
});

test('a failed second enter leaves the first one waiting', () => {
  send('enterRoom', '1');
  send('enterRoom', '2');
  answer('enterRoom', '2', -1, 'no appScene param');
  assert.equal(timeline.rows[0].waiting, 'waiting');
});

test('what the router does stands beneath what made it do so, on its thread', () => {
  send('initSDK', '1');
  send('enterRoom', '2', { roomId: 1 });
  const noted = (frame) => conversation.noted({ kind: 'noted', at: 5, ...frame });
  noted({ thread: 'main', number: 1, step: { command: 'initSDK' } });
  noted({ thread: 'main', number: 1, effect: { effect: 'engine', call: 'KOBUCloud.sharedInstance', args: [] } });
  noted({ thread: 'main', number: 2, step: { command: 'enterRoom' } });
  noted({ thread: 'engine', number: 3, step: { event: 'onEnterRoom', args: [200] } });
  noted({ thread: 'main', number: 2, effect: { effect: 'engine', call: 'enterRoom', args: [{}] } });
  noted({ thread: 'engine', number: 3, effect: { effect: 'log', record: { actionName: 'entered' } } });
  noted({ thread: 'main', number: 4, queuedBy: 3 });
  noted({ thread: 'main', number: 4, effect: { effect: 'engine', call: 'enableAudioVolumeEvaluation', args: [500] } });
  tell('onEnterRoom', { elapsed: 200 });
  assert.deepEqual(titles(timeline.rows), ['initSDK', 'enterRoom', 'onEnterRoom']);
  assert.deepEqual(titles(rowOf('initSDK').beneath), ['KOBUCloud.sharedInstance']);
  assert.deepEqual(titles(rowOf('enterRoom').beneath), ['enterRoom']);
  assert.deepEqual(titles(rowOf('onEnterRoom').beneath), ['entered', 'enableAudioVolumeEvaluation']);
  assert.match(rowOf('onEnterRoom').text, /"elapsed":200/);
  assert.deepEqual(timeline.threads, ['page', 'main', 'engine']);
});

test('without numbers, an effect comes of the step of its time on its thread, if any', () => {
  send('initSDK', '1');
  const noted = (frame) => conversation.noted({ kind: 'noted', at: 5, ...frame });
  noted({ thread: 'main', step: { command: 'initSDK' } });
  noted({ thread: 'engine', step: { event: 'onError', args: [-1, 'x', null] } });
  noted({ thread: 'main', effect: { effect: 'engine', call: 'setDelegate', args: [true] } });
  noted({ thread: 'engine', effect: { effect: 'log', record: { actionName: 'onError', errorCode: -1 } } });
  noted({ thread: 'main', at: 6, effect: { effect: 'engine', call: 'queued', args: [] } });
  assert.deepEqual(titles(rowOf('initSDK').beneath), ['setDelegate']);
  assert.deepEqual(titles(rowOf('onError').beneath), ['onError']);
  assert.deepEqual(titles(timeline.rows), ['initSDK', 'onError', 'queued']);
  assert.equal(rowOf('onError').failed, true);
});

test('filters hide and lose nothing', () => {
  send('initSDK', '1');
  tell('onUserVoiceVolume', {}, false);
  tell('onEnterRoom', { elapsed: 3 });
  timeline.add({ kind: 'engine', title: 'enterRoom', cause: timeline.rows[0] });
  assert.deepEqual(shown(), ['initSDK', 'onEnterRoom']);
  assert.deepEqual(shown({ periodic: true }), ['initSDK', 'onUserVoiceVolume', 'onEnterRoom']);
  assert.deepEqual(shown({ groups: new Set(['engine']) }), ['enterRoom']);
  assert.deepEqual(shown({}, ({ title }) => title === 'initSDK'), ['initSDK', 'enterRoom', 'onEnterRoom']);
  assert.deepEqual(shown({ failures: true }), []);
  timeline.remark(rowOf('onEnterRoom'), { tone: 'hint', text: 'look' });
  answer('initSDK', '1', -2, 'not now');
  assert.deepEqual(shown({ failures: true }), ['initSDK', 'onEnterRoom']);
});

test('a search finds titles, texts and answers, those too that come later', () => {
  const lines = new Lines();
  const filter = { ...firstFilter, search: 'Not (Let) In' };
  const found = () => {
    lines.update(timeline, filter, () => false, 0);
    return titles(lines.rows);
  };
  send('initSDK', '1');
  send('enterRoom', '2');
  assert.deepEqual(found(), []);
  answer('enterRoom', '2', -1, 'not (let) in');
  assert.deepEqual(found(), ['enterRoom']);
  tell('onError', { text: 'NOT (LET) IN' });
  send('exitRoom', '3');
  assert.deepEqual(found(), ['enterRoom', 'onError']);
});

test('what is new is added to what is shown, a frame at a time', () => {
  const lines = new Lines();
  const update = () => lines.update(timeline, firstFilter, () => false, 0);
  timeline.version.subscribe(() => {}); // somebody looks
  send('initSDK', '1');
  update();
  const before = lines.rows;
  for (let at = 0; at < 50; ++at) send('getSDKVersion', `a${at}`);
  update();
  assert.equal(lines.rows, before);
  assert.equal(lines.rows.length, 51);
  assert.equal(frames.length, 1);
  const { value } = timeline.version;
  frames.pop()();
  assert.equal(timeline.version.value, value + 1);
  timeline.clear();
  update();
  assert.deepEqual(lines.rows, []);
});

test('the oldest rows go first, with all that belongs to them', () => {
  timeline = new Timeline({ rows: 100, characters: 1e9 }, () => {});
  conversation = new Conversation(timeline);
  for (let at = 0; at < 300; ++at) {
    send('getSDKVersion', String(at));
    answer('getSDKVersion', String(at));
  }
  assert.ok(timeline.count <= 100, `${timeline.count}`);
  assert.equal(timeline.count + timeline.dropped, 600);
  assert.equal(timeline.count, 2 * timeline.rows.length);
  assert.equal(timeline.rows.at(-1).cbid, '299');

  timeline = new Timeline({ rows: 1e9, characters: 10_000 }, () => {});
  for (let at = 0; at < 300; ++at) timeline.add({ kind: 'event', title: `${at}`, text: 'x'.repeat(100) });
  assert.ok(timeline.count <= 100 && timeline.count > 90, `${timeline.count}`);
});

test('100,000 rows take less than 200 MB, and are shown quickly', () => {
  global.gc?.();
  const before = process.memoryUsage().heapUsed;
  const text = (at) => JSON.stringify({ at, about: `${'all of it '.repeat(30)}${at}` });
  for (let at = 0; at < 50_000; ++at) {
    send('sendSomething', String(at), { text: text(at) });
    answer('sendSomething', String(at));
  }
  assert.equal(timeline.count, 100_000);
  const lines = new Lines();
  const filter = { ...firstFilter, search: 'of it 49999' };
  const start = process.cpuUsage();
  lines.update(timeline, filter, () => false, 0);
  const { user } = process.cpuUsage(start);
  assert.equal(lines.rows.length, 1);
  assert.ok(user < 1e6, `searching took ${user / 1000} ms`);
  const megabytes = (process.memoryUsage().heapUsed - before) / 1e6;
  assert.ok(megabytes < 200, `${megabytes} MB`);
});

test('saved as lines, each row says what it holds and what it comes of', () => {
  timeline.add({ kind: 'connection', title: 'A page connects.' });
  send('enterRoom', '1', { userId: 'ada', userSig: 'secret' });
  send('exitRoom', '2');
  answer('enterRoom', '1', -3301, 'not let in');
  const rows = saved(jsonLines(timeline, false));
  assert.deepEqual(titles(rows), ['A page connects.', 'enterRoom', 'exitRoom', 'enterRoom']);
  assert.equal(rows[1].data.params.userSig, '•••');
  assert.deepEqual([rows[3].kind, rows[3].cause, rows[3].data.error.errcode], ['answer', rows[1].id, -3301]);
  assert.equal(saved(jsonLines(timeline, true))[1].data.params.userSig, 'secret');
});

test('saved as a scenario, commands, presses and settings are steps, in order', () => {
  timeline.add({ kind: 'connection', title: 'A page connects.' });
  timeline.add({ kind: 'settings', title: 'camera', step: { device: { camera: 0 } } });
  send('enterRoom', '1', { userSig: 'secret' });
  conversation.message('nonsense');
  timeline.add({ kind: 'press', title: 'Allow', step: { access: true } });
  tell('onEnterRoom', {});
  timeline.add({ kind: 'connection', title: 'A page connects.' });
  send('initSDK', '1');
  assert.deepEqual(saved(scenario(timeline, false)), [
    { device: { camera: 0 } },
    { command: 'enterRoom', params: { userSig: '•••' } },
    { message: 'nonsense' },
    { access: true },
    { free: true },
    { new: true },
    { command: 'initSDK' },
  ]);
});

test('with the router’s notes, a scenario has what they say, what the device answered first', () => {
  timeline.add({ kind: 'settings', title: 'camera', step: { device: { camera: 0 } } });
  send('startLocalPreview', '1', { frontCamera: true });
  const noted = (frame) => conversation.noted({ kind: 'noted', at: 5, thread: 'main', ...frame });
  noted({ step: { command: 'startLocalPreview', params: { frontCamera: true }, as: 'm1' } });
  noted({ step: { device: { camera: 2 } } });
  timeline.add({ kind: 'press', title: 'Allow', step: { access: true } });
  noted({ step: { access: true, thread: 'main' } });
  assert.deepEqual(saved(scenario(timeline, true)), [
    { device: { camera: 2 } },
    { command: 'startLocalPreview', params: { frontCamera: true }, as: 'm1' },
    { access: true, thread: 'main' },
  ]);
});
