// What befalls answers: late, lost, doubled, in another order.
import assert from 'node:assert/strict';
import { beforeEach, test } from 'node:test';

import { source } from './source.mjs';

const { ReplyFilter } = await source('shell/tools/replyFaults.ts');

let now;
let timers;
let chances;
let befell;
let page;
let filter;
beforeEach(() => {
  [now, timers, chances, befell, page] = [0, [], [], [], []];
  filter = new ReplyFilter({
    after: (ms, run) => timers.push({ at: now + ms, run }),
    random: () => chances.shift() ?? 0,
    onFault: (fault, action) => befell.push(`${fault} ${action}`),
  });
});
function wait(ms) {
  now += ms;
  const due = timers.filter(({ at }) => at <= now);
  timers = timers.filter(({ at }) => at > now);
  for (const { run } of due) run();
}
const answer = (action) =>
  `vemoBridge.onReply(${JSON.stringify({ head: { action, cbid: `of ${action}` } })})`;
const event = `on(${JSON.stringify({ head: { action: 'onError' } })})`;
function come(...scripts) {
  for (const script of scripts)
    filter.filter(script, (passed) =>
      page.push(JSON.parse(passed.slice(passed.indexOf('(') + 1, -1)).head.action),
    );
}

test('without a fault all passes', () => {
  come(answer('a'), event, answer('b'));
  assert.deepEqual(page, ['a', 'onError', 'b']);
  assert.deepEqual(befell, []);
});

test('a script that can’t be read passes', () => {
  filter.set({ lost: 100 });
  let passed = '';
  filter.filter('window.close', (script) => (passed = script));
  assert.equal(passed, 'window.close');
});

test('late answers come after their time, and events at once', () => {
  filter.set({ late: 300 });
  come(answer('a'), event);
  assert.deepEqual(page, ['onError']);
  wait(299);
  assert.deepEqual(page, ['onError']);
  wait(1);
  assert.deepEqual(page, ['onError', 'a']);
  assert.deepEqual(befell, ['late a']);
});

test('lost answers don’t come, by chance', () => {
  filter.set({ lost: 50 });
  chances = [0.49, 0.5];
  come(answer('a'), answer('b'), event);
  assert.deepEqual(page, ['b', 'onError']);
  assert.deepEqual(befell, ['lost a']);
});

test('doubled answers come twice', () => {
  filter.set({ doubled: 100 });
  come(answer('a'), event);
  assert.deepEqual(page, ['a', 'a', 'onError']);
});

test('an answer is overtaken by the next', () => {
  filter.set({ reordered: 100 });
  come(answer('a'), event, answer('b'), answer('c'));
  assert.deepEqual(page, ['onError', 'b', 'a']);
  assert.deepEqual(befell, ['reordered a', 'reordered c']);
  wait(2000);
  assert.deepEqual(page, ['onError', 'b', 'a', 'c'], 'one that nothing overtakes comes in the end');
});

test('what is held comes when the fault ends, and is dropped with its page', () => {
  filter.set({ reordered: 100 });
  come(answer('a'));
  filter.set({});
  assert.deepEqual(page, ['a']);
  filter.set({ reordered: 100 });
  come(answer('b'));
  filter.begin();
  wait(5000);
  come(event);
  assert.deepEqual(page, ['a', 'onError']);
});

test('late, doubled and reordered together', () => {
  filter.set({ late: 100, doubled: 100, reordered: 100 });
  come(answer('a'), answer('b'));
  wait(100);
  assert.deepEqual(page, ['b', 'b', 'a', 'a']);
});
