// The counts of what a page has used.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { source } from './source.mjs';

const { Coverage, coverageText, coverageJson } = await source('shell/tools/coverage.ts');
const { commands, events } = await source('shell/tools/protocol.ts');

function used() {
  const coverage = new Coverage();
  const send = (action, params) =>
    coverage.message(JSON.stringify({ head: { action }, params, cbid: '1' }));
  const hear = (object) => coverage.script(`f(${JSON.stringify(object)})`);
  send('registCallBacks', { callbacks: [{ sdkcbName: 'onError', jsRecvcbName: 'f' }] });
  send('initSDK');
  send('initSDK');
  send('dance');
  coverage.message('nonsense');
  hear({ head: { action: 'initSDK', cbid: '1' }, error: { errcode: 0 } });
  hear({ head: { action: 'initSDK', cbid: '1' }, error: { errcode: -2 } });
  hear({ head: { action: 'onError' }, retval: {} });
  coverage.script('no call');
  return coverage;
}
const named = (list, name) => list.find((one) => one.name === name);

test('what was used is counted, in the protocol’s order, with what never was', () => {
  const coverage = used();
  assert.deepEqual(
    coverage.commands.map(({ name }) => name),
    commands.map(({ name }) => name),
  );
  assert.deepEqual(named(coverage.commands, 'initSDK'), { name: 'initSDK', sent: 2, failed: 1 });
  assert.deepEqual(named(coverage.commands, 'enterRoom'), { name: 'enterRoom', sent: 0, failed: 0 });
  assert.equal(coverage.events.length, events.length);
  const heard = { name: 'onError', registered: true, received: 1 };
  assert.deepEqual(named(coverage.events, 'onError'), heard);
  assert.equal(named(coverage.events, 'onExitRoom').registered, false);
});

test('as text and as JSON', () => {
  const coverage = used();
  const text = coverageText(coverage);
  assert.match(text, new RegExp(`^Commands: 2 of ${commands.length} used$`, 'm'));
  assert.match(text, /^ {2}initSDK: 2 sent, 1 failed$/m);
  assert.match(text, /^ {2}enterRoom: never$/m);
  assert.match(text, new RegExp(`^Events: 1 of ${events.length} received$`, 'm'));
  assert.match(text, /^ {2}onError: 1 received$/m);
  assert.match(text, /^ {2}onExitRoom: never, not registered$/m);
  assert.deepEqual(JSON.parse(coverageJson(coverage)).events, coverage.events);
});

test('cleared, it begins anew', () => {
  const coverage = used();
  coverage.clear();
  assert.ok(coverage.commands.every(({ sent, failed }) => sent === 0 && failed === 0));
  assert.ok(coverage.events.every(({ registered, received }) => !registered && received === 0));
});
