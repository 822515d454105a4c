// Forms of the protocol: every command's example can be filled in and comes out again.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { source } from './source.mjs';

const { argumentsIn, argumentsOf, entriesOf, eventFields, filled, messageText, paramFields, withCbid } =
  await source('shell/tools/form.ts');
const { commandNamed, commands, eventNamed, events } = await source('shell/tools/protocol.ts');

test('every example comes out as it went in', () => {
  for (const { name, params, example } of commands) {
    const { values, problems } = filled(paramFields(params), entriesOf(example));
    assert.deepEqual([...problems], [], name);
    assert.deepEqual(values, example ?? {}, name);
  }
  for (const event of events) {
    if (!event.arguments) continue;
    const fields = eventFields(event);
    const { values, problems } = filled(fields, entriesOf(event.arguments));
    assert.deepEqual([...problems], [], event.name);
    assert.deepEqual(argumentsOf(fields, values), Object.values(event.arguments), event.name);
  }
});

test('what is left empty is not sent, unless it is required', () => {
  const fields = paramFields(commandNamed('enterRoom').params);
  const { values, problems } = filled(fields, { userId: 'ada', roomId: '' });
  assert.deepEqual(values, { userId: 'ada' });
  assert.deepEqual([...problems], [['appScene', 'It is required.']]);
});

test('a field of another type says what it must be', () => {
  const wrong = (command, entries) => [...filled(paramFields(commandNamed(command).params), entries).problems];
  assert.deepEqual(wrong('setAudioRoute', { route: 'x' }), [['route', 'It must be a whole number.']]);
  assert.deepEqual(wrong('setAudioRoute', { route: '1.5' }), [['route', 'It must be a whole number.']]);
  assert.deepEqual(wrong('muteLocalAudio', { mute: '1' }), [['mute', 'It must be true or false.']]);
  assert.match(wrong('registCallBacks', { callbacks: '{}' })[0][1], /a list in JSON/);
});

test('a field tells its type, its default and what it may be', () => {
  const field = (command, name) =>
    paramFields(commandNamed(command).params).find((one) => one.name === name);
  const quality = field('startLocalAudio', 'quality');
  assert.equal(quality.placeholder, '2');
  assert.match(quality.about, /1 to 3\.$/);
  assert.deepEqual(field('startScreenCapture', 'screenCaptureMode').values, [1, 2]);
  assert.deepEqual(field('muteLocalAudio', 'mute').values, [true, false]);
  assert.equal(field('muteLocalAudio', 'mute').required, true);
});

test('an event’s arguments that are left empty are null', () => {
  const fields = eventFields(eventNamed('onError'));
  const { values, problems } = filled(fields, { errCode: '-1' });
  assert.deepEqual([...problems], []);
  assert.deepEqual(argumentsOf(fields, values), [-1, null, null]);
  assert.equal(filled(fields, {}).problems.get('errCode'), 'It is required.');
});

test('messages as a page writes them', () => {
  assert.equal(
    messageText('stopMusic', { audioId: 1 }, 'x'),
    '{"head":{"module":"kobu","action":"stopMusic"},"params":{"audioId":1},"cbid":"x"}',
  );
  assert.equal(messageText('initSDK', {}, 'x'), '{"head":{"module":"kobu","action":"initSDK"},"cbid":"x"}');
  assert.equal(withCbid('{"head":{},"cbid":"1"}', 'x'), '{"head":{},"cbid":"x"}');
  for (const bad of ['', '{', '[]', '7']) assert.equal(withCbid(bad, 'x'), bad);
  assert.deepEqual(argumentsIn('[1,null]'), [1, null]);
  for (const bad of ['', '{}', '1']) assert.equal(argumentsIn(bad), undefined);
});
