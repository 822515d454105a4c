// Each rule of the lint speaks where it should, and is silent where all is well.
import assert from 'node:assert/strict';
import { beforeEach, test } from 'node:test';

import { source } from './source.mjs';

const { Linter } = await source('shell/tools/lint.ts');
const { commands, engineCodes, eventNamed } = await source('shell/tools/protocol.ts');
const { errorInWords } = await source('words.ts');

let linter;
let lastCbid;
const pageFunctions = new Set(['app.onEvent', 'onReport']);
beforeEach(() => {
  linter = new Linter((path) => pageFunctions.has(path));
  lastCbid = 0;
});

const text = (action, params, cbid) =>
  JSON.stringify({ head: { module: 'kobu', action }, params, cbid });
/** What is said of a command that the page sends now. */
const say = (action, params, cbid = `c${++lastCbid}`) =>
  linter.message(text(action, params, cbid)).map((remark) => `${remark.tone}: ${remark.text}`);
/** The phone answers the command that was sent last, or that with `cbid`. */
const reply = (action, retval, { cbid = `c${lastCbid}`, code } = {}) =>
  linter.script(
    `vemoBridge.onReply(${JSON.stringify({
      head: { module: 'kobu', action, cbid },
      ...(code === undefined ? {} : { error: { module: 'KOBU', errcode: code, errmsg: '' } }),
      retval,
    })})`,
  );
const event = (action, retval) =>
  linter.script(`app.onEvent(${JSON.stringify({ head: { module: 'kobu', action }, retval })})`);

const silent = (remarks) => assert.deepEqual(remarks, []);
const only = (remarks, expected) => {
  assert.equal(remarks.length, 1, JSON.stringify(remarks));
  assert.match(remarks[0], expected);
};
const room = { appScene: 0, sdkAppId: 1, userId: 'ada', userSig: 'signature', roomId: 7 };
function inRoom() {
  say('initSDK');
  say('enterRoom', room);
  reply('enterRoom', { userId: 'ada', elapsed: 20 }, { code: 0 });
}

test('a text that is no message', () => {
  for (const bad of ['', 'hello', '[]', '7', 'null'])
    assert.match(linter.message(bad)[0].text, /no JSON object/, bad);
  for (const bad of ['{}', '{"head":{}}', '{"head":{"action":7}}'])
    assert.match(linter.message(bad)[0].text, /names no command/, bad);
});

test('an unknown command, and what it may be', () => {
  only(say('enterroom', room), /^error: There is no command “enterroom”.*Did you mean “enterRoom”\?$/);
  only(say('startLocalPreveiw'), /Did you mean “startLocalPreview”\?/);
  only(say('dance'), /answered with “unknown action”\.$/);
});

test('an unknown or misspelt parameter', () => {
  say('initSDK');
  only(say('enterRoom', { ...room, userID: 'ada' }), /^warning: .*“userID”.*Did you mean “userId”\?$/);
  only(say('muteLocalAudio', { mute: true, colour: 1 }), /no parameter “colour”, and it is ignored\.$/);
  only(say('stopLocalAudio', { now: true }), /takes no parameters, and “now”/);
  silent(say('muteLocalAudio', { mute: true }));
  silent(say('stopLocalAudio', {}));
});

test('a wrong type', () => {
  say('initSDK');
  only(
    say('muteLocalAudio', { mute: 'yes' }),
    /^error: “mute” should be true or false, not the text "yes"\. The answer is “no mute param”\.$/,
  );
  only(say('startLocalAudio', { quality: 'good' }), /^warning: “quality”.*missing, and 2 is taken\.$/);
  only(say('startRemoteView', { userId: 7 }), /^error: “userId” should be a text, not 7\./);
  only(say('muteLocalAudio', { mute: 1 }), /^hint: “mute” should be true or false, not 1; it is converted/);
  only(say('setAudioRoute', { route: 1.5 }), /^hint: “route” should be a whole number, not 1\.5/);
  only(say('setLogParams', 7), /^error: “params” must be an object/);
  only(say('registCallBacks', { callbacks: {} }), /should be a list, not an object/);
  silent(say('muteLocalAudio', { mute: false }));
  silent(say('startLocalAudio', { quality: 3 }));
  silent(say('setLogParams', null));
});

test('a text with a number in it serves for a record alone', () => {
  say('initSDK');
  only(say('enterRoom', { ...room, roomId: '7' }), /^hint: “roomId”.*converted/);
  reply('enterRoom', { elapsed: -1 });
  only(say('enterRoom', { ...room, roomId: 'seven' }), /^error: “roomId”.*can't parse KOBUParams/);
  only(say('setAudioRoute', { route: '1' }), /^error: “route”/);
});

test('a parameter that is missing, empty or out of range', () => {
  say('initSDK');
  only(say('muteLocalAudio', {}), /^error: “mute” is missing, and it is required/);
  only(say('muteLocalAudio'), /“mute” is missing/);
  only(say('muteLocalAudio', { mute: null }), /“mute” is null/);
  only(say('startRemoteView', { userId: '' }), /“userId” is empty/);
  only(say('startLocalAudio', { quality: 9 }), /^warning: “quality” goes from 1 to 3: 2 is taken/);
  only(say('startScreenCapture', { screenCaptureMode: 3 }), /^error: .*must be one of 1, 2/);
  only(say('getAudioVolume', {}), /^error: “getAudioVolume” needs one of “capture” and “playout” to be true/);
  only(say('getAudioVolume', { capture: false, playout: false }), /to be true/);
  only(say('setRemotePreviewParams', {}), /^warning: Without “userId” it succeeds and does nothing/);
  only(say('playMusic', { audioId: 1, path: '/a.mp3' }), /^hint: None of “onStart”, “onProgress” and “onComplete” is true/);
  assert.match(say('playMusic', { audioId: 1, path: '/a.mp3', onStart: 0 }).join(), /hint: None of “onStart”, /);
  silent(say('playMusic', { audioId: 1, path: '/a.mp3', onStart: true }));
  silent(say('getAudioVolume', { capture: true }));
});

test('a command before “initSDK”', () => {
  only(say('startLocalPreview'), /^error: “startLocalPreview” comes before “initSDK”.*“not initSDK”/);
  silent(say('getSDKVersion'));
  silent(say('initSDK'));
  silent(say('startLocalPreview'));
  reply('startLocalPreview', undefined, { code: 0 });
  only(say('initSDK'), /^warning: The engine is there already.*“had initSDK”/);
  silent(say('uninitSDK'));
  only(say('stopLocalPreview'), /comes before “initSDK”/);
});

test('a command that needs a room', () => {
  say('initSDK');
  only(say('switchRole', { role: 21 }), /^error: “switchRole” needs a room.*“not enter room”/);
  only(say('exitRoom'), /^warning: There is no room to leave: this is never answered\.$/);
  say('enterRoom', room);
  silent(say('switchRole', { role: 21 })); // it may be entered by then
  event('onEnterRoom', { userId: 'ada', elapsed: 20 });
  silent(say('switchRole', { role: 21 }));
  silent(say('exitRoom'));
  event('onExitRoom', { reason: 0 });
  reply('exitRoom', { reason: 0 }, { code: 0 });
  only(say('exitRoom'), /no room to leave/);
});

test('an enter that failed is no room, though the router asks the engine then', () => {
  say('initSDK');
  say('enterRoom', room);
  reply('enterRoom', { userId: 'ada', elapsed: -3316 }, { code: 0 });
  only(say('switchRole', { role: 21 }), /^warning: .*needs a room.*the engine will refuse it/);
  say('exitRoom');
  only(say('switchRole', { role: 21 }), /^error: .*“not enter room”/);
});

test('events and functions that are not there', () => {
  const callbacks = (...list) =>
    say('registCallBacks', {
      callbacks: list.map(([sdkcbName, jsRecvcbName]) => ({ sdkcbName, jsRecvcbName })),
    });
  silent(callbacks(['onEnterRoom', 'app.onEvent'], ['onError', 'app.onEvent']));
  only(callbacks(['onError', 'app.onErorr']), /^warning: “onError” goes to “app.onErorr”, and the page/);
  only(callbacks(['onEntrRoom', 'app.onEvent']), /no event “onEntrRoom”. Did you mean “onEnterRoom”\?/);
  only(callbacks(['onError', '']), /^warning: Element 0 of “callbacks” lacks a name/);
  only(say('registReport', { reportfunc: 'report' }), /^warning: The report goes to “report”/);
  silent(say('registReport', { reportfunc: 'onReport' }));
  linter = new Linter(() => undefined); // another origin's page can't be looked into
  silent(callbacks(['onError', 'anything']));
});

test('a cbid that serves twice', () => {
  say('initSDK');
  say('enterRoom', room, 'one');
  only(say('getSDKVersion', {}, 'one'), /^error: The cbid “one” is that of a “enterRoom”/);
  reply('getSDKVersion', {}, { cbid: 'one' });
  only(say('getSDKVersion', {}, 'one'), /^hint: The cbid “one” was used before, for “getSDKVersion”/);
  silent(say('getSDKVersion', {}, 'two'));
  only(say('getSDKVersion', {}, 7), /^error: “cbid” must be a text/);
  silent(linter.message('{"head":{"action":"getSDKVersion"}}'));
});

test('music goes on answering under its cbid', () => {
  inRoom();
  say('playMusic', { audioId: 1, path: '/a.mp3', onComplete: true }, 'music');
  reply('playMusic', { audioId: 1 }, { cbid: 'music' });
  only(say('getSDKVersion', {}, 'music'), /^error: The cbid “music”/);
});

test('an enter that replaces one that waits', () => {
  say('initSDK');
  silent(say('enterRoom', room, 'first'));
  only(say('enterRoom', room, 'second'), /^warning: This replaces .*cbid “first”.* never answered/);
  reply('enterRoom', { elapsed: 20 }, { cbid: 'second', code: 0 });
  silent(say('enterRoom', room, 'third'));
});

test('what waits when the engine goes', () => {
  say('initSDK');
  say('enterRoom', room, 'enter');
  only(say('uninitSDK'), /^warning: “enterRoom” \(cbid “enter”\) still waits/);
  say('initSDK');
  silent(say('enterRoom', room));
});

test('a release of the engine silences what waits for it, and not what is still answered', () => {
  inRoom();
  say('setVideoMuteImage', { imgUrl: 'http://here/x.png' }, 'image');
  say('startLocalPreview', {}, 'preview');
  say('startScreenCapture', { screenCaptureMode: 1 }, 'capture');
  only(say('uninitSDK'), /^warning: “startScreenCapture” \(cbid “capture”\) still waits/);
});

test('another music takes no place', () => {
  inRoom();
  silent(say('playMusic', { audioId: 1, path: '/a.mp3', onStart: true }));
  silent(say('playMusic', { audioId: 2, path: '/b.mp3', onStart: true }));
});

test('each code of the engine has words', () => {
  for (const { code } of engineCodes.filter((one) => one.code < 0))
    assert.doesNotMatch(errorInWords(code), /^Something went wrong/, code);
});

test('the example of an error or a warning has its code’s text', () => {
  for (const name of ['onError', 'onWarning']) {
    const [code, words] = Object.values(eventNamed(name).arguments);
    assert.equal(words, engineCodes.find((one) => one.code === code)?.about, name);
  }
});

test('the prompt for the camera that the microphone raises', () => {
  inRoom();
  silent(linter.prompt('camera'));
  say('startLocalAudio');
  assert.match(linter.prompt('camera')[0].text, /the system’s own doing/);
  silent(linter.prompt('microphone'));
  say('startLocalPreview');
  silent(linter.prompt('camera'));
});

test('nothing is said of the reference’s own examples', () => {
  inRoom();
  for (const { name, example } of commands) {
    if (['initSDK', 'uninitSDK', 'registReport', 'registCallBacks', 'exitRoom'].includes(name)) continue;
    silent(say(name, example ?? undefined));
    reply(name, {}, { code: 0 });
  }
});
