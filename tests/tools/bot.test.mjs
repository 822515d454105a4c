// Bots on a phone that the test plays, and the class that plays by itself.
import assert from 'node:assert/strict';
import { beforeEach, test } from 'node:test';

import { source } from './source.mjs';

const { Bot } = await source('shell/tools/bot.ts');
const { nextAct } = await source('shell/tools/lively.ts');

class FakePhone {
  frames = [];
  isOpen = false;
  connect = (onText, onState) => {
    this.tell = (frame) => onText(JSON.stringify(frame));
    this.state = onState;
    return { send: (text) => this.frames.push(JSON.parse(text)), close: () => onState(false) };
  };
  get commands() {
    return this.frames.filter(({ kind }) => kind === 'message').map(({ text }) => JSON.parse(text));
  }
  get actions() {
    return this.commands.map(({ head }) => head.action);
  }
  script(envelope) {
    this.tell({ kind: 'script', text: `f(${JSON.stringify(envelope)})` });
  }
  answer(action, { code = 0, text = '', retval } = {}) {
    const { head, cbid } = this.commands.findLast((command) => command.head.action === action);
    this.script({ head: { ...head, cbid }, error: { errcode: code, errmsg: text }, retval });
  }
  event(action, retval = {}) {
    this.script({ head: { action }, retval });
  }
}

let phone;
const bornAs = (role = 'stage', name = 'Ann') => {
  phone = new FakePhone();
  const bot = new Bot({ name, application: 1, room: 7, role }, phone.connect);
  phone.state(true);
  return bot;
};
const inside = (role, name) => {
  const bot = bornAs(role, name);
  phone.answer('enterRoom', { retval: { elapsed: 20 } });
  return bot;
};
let bot;
beforeEach(() => (bot = inside()));

test('it enters when its phone is there, with both devices allowed', () => {
  assert.deepEqual(phone.frames[0], {
    kind: 'settings',
    settings: { camera: 'authorized', microphone: 'authorized' },
  });
  assert.deepEqual(phone.actions, ['registCallBacks', 'initSDK', 'enterRoom']);
  const { params } = phone.commands[2];
  assert.deepEqual([params.userId, params.sdkAppId, params.roomId, params.role], ['Ann', 1, 7, 20]);
  assert.equal(bot.state.value.at, 'inside');
});

test('a refused enter is told, and can be tried again', () => {
  bot = bornAs('audience');
  assert.equal(phone.commands[2].params.role, 21);
  phone.answer('enterRoom', { retval: { elapsed: -3316 } });
  assert.equal(bot.state.value.at, 'outside');
  assert.match(bot.state.value.trouble, /full/);
  bot.enter();
  phone.answer('enterRoom', { retval: { elapsed: 20 } });
  assert.equal(bot.state.value.at, 'inside');
  assert.equal(bot.state.value.trouble, undefined);
});

test('it speaks, shows itself and shares once the phone says so', () => {
  bot.setMicrophone(true);
  assert.equal(bot.state.value.microphone, false);
  phone.answer('startLocalAudio');
  assert.equal(bot.state.value.microphone, true);
  bot.setCamera(true);
  phone.answer('startLocalPreview');
  bot.setSharing(true);
  phone.answer('startScreenCapture');
  assert.equal(bot.state.value.sharing, false);
  phone.event('onScreenCaptureStarted');
  const { microphone, camera, sharing } = bot.state.value;
  assert.deepEqual([microphone, camera, sharing], [true, true, true]);
});

test('a failure is told, and nothing changes', () => {
  bot.setCamera(true);
  phone.answer('startLocalPreview', { code: -1314, text: 'not allowed' });
  assert.equal(bot.state.value.camera, false);
  assert.equal(bot.state.value.trouble, 'not allowed');
});

test('leaving ends what runs', () => {
  bot.setMicrophone(true);
  phone.answer('startLocalAudio');
  bot.leave();
  assert.deepEqual(phone.actions.slice(-2), ['stopLocalAudio', 'exitRoom']);
  assert.equal(bot.state.value.at, 'outside');
  assert.equal(bot.state.value.microphone, false);
});

test('the network is cut and comes back', () => {
  bot.setNetwork('cut');
  assert.deepEqual(phone.frames.at(-1), { kind: 'network', drop: true });
  assert.equal(bot.state.value.network, 'cut');
  bot.setNetwork('good');
  assert.deepEqual(phone.frames.at(-1), { kind: 'network', drop: false });
});

test('it is put out of the room', () => {
  phone.event('onExitRoom', { reason: 1 });
  assert.equal(bot.state.value.at, 'outside');
  assert.match(bot.state.value.trouble, /put out/);
});

test('a phone that goes takes the bot along', () => {
  phone.state(false);
  assert.equal(bot.state.value.at, 'gone');
  const sent = phone.frames.length;
  bot.setMicrophone(true);
  bot.setNetwork('cut');
  bot.enter();
  assert.equal(phone.frames.length, sent);
});

test('the audience neither speaks nor shares', () => {
  bot = inside('audience');
  const sent = phone.frames.length;
  bot.setMicrophone(true);
  bot.setCamera(true);
  bot.setSharing(true);
  assert.equal(phone.frames.length, sent);
});

const wordsOf = (bots) => {
  const words = new Set();
  for (let at = 0; at < 1; at += 0.001) words.add(nextAct(bots, () => at)?.words);
  return [...words].sort();
};

test('a lively class: all that a bot on stage may do', () => {
  assert.deepEqual(wordsOf([bot]), [
    'leaves',
    'loses the network',
    'shares the screen',
    'starts to speak',
    'turns the camera on',
  ]);
  assert.deepEqual(wordsOf([inside('audience')]), ['leaves', 'loses the network']);
  assert.equal(nextAct([], () => 0), undefined);
});

test('a lively class: one shares, one is offline, and both end', () => {
  const sharer = inside('stage', 'Ben');
  phone.event('onScreenCaptureStarted');
  assert.ok(wordsOf([sharer]).includes('ends sharing'));
  assert.ok(!wordsOf([bot, sharer]).includes('shares the screen'));
  sharer.setNetwork('cut');
  assert.deepEqual(wordsOf([sharer]), ['is online again']);
  assert.ok(!wordsOf([bot, sharer]).includes('loses the network'));
  bot.leave();
  assert.deepEqual(wordsOf([bot]), ['comes back']);
});
