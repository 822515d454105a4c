// The reference needs a scenario for each command and event, and names those without one.
import assert from 'node:assert/strict';
import { mkdirSync, mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';

import { readScenarios } from '../../scripts/reference/scenarios.mjs';

const protocol = {
  commands: [{ name: 'initSDK' }, { name: 'stopMusic' }],
  events: [{ name: 'onError' }, { name: 'onScreenKitEvent' }],
};

function scenariosOf(files) {
  const root = mkdtempSync(join(tmpdir(), 'scenarios-'));
  try {
    for (const [path, steps] of Object.entries(files)) {
      mkdirSync(join(root, path, '..'), { recursive: true });
      writeFileSync(
        join(root, path),
        `# What holds.\n${steps.map((step) => `${JSON.stringify(step)}\n`).join('')}`,
      );
    }
    return readScenarios(root, protocol);
  } finally {
    rmSync(root, { recursive: true });
  }
}

test('a step without an expectation holds nothing', () => {
  const { troubles } = scenariosOf({ 'a/one.jsonl': [{ command: 'initSDK' }] });
  assert.equal(troubles.length, 4);
  assert.match(troubles[0], /^initSDK: no scenario/);
  assert.match(troubles[3], /^onScreenKitEvent: no scenario/);
});

test('commands, messages, events and the notifications of the extension are held', () => {
  const { troubles } = scenariosOf({
    'a/one.jsonl': [
      { command: 'initSDK', expect: [] },
      { message: '{"head":{"action":"stopMusic"}}', expect: [] },
      { message: 'no message', expect: [] },
      { event: 'onError', args: [1, 'text', {}], expect: [] },
      { notify: 'name', expect: [{ effect: 'log', record: { actionName: 'onScreenKitEvent' } }] },
    ],
  });
  assert.deepEqual(troubles, []);
});

test('the command of a row is held, that of a table without rows is not', () => {
  const { troubles } = scenariosOf({
    'a/one.jsonl': [{ rows: 'initSDK' }, ['no', {}], { rows: 'stopMusic' }],
  });
  assert.equal(troubles.length, 3);
  assert.match(troubles[0], /^stopMusic: no scenario/);
});

test('scenarios of bad input hold nothing', () => {
  const { troubles } = scenariosOf({
    'a/bad_input/initSDK.jsonl': [{ command: 'initSDK', expect: [] }],
  });
  assert.match(troubles[0], /^initSDK: no scenario/);
});

test('those named for it come first, then those of the folder where most are', () => {
  const step = [{ command: 'initSDK', expect: [] }];
  const { of } = scenariosOf({
    'a/another.jsonl': step,
    'b/others.jsonl': step,
    'b/second_initSDK.jsonl': step,
    'b/initSDK_makes_the_engine.jsonl': step,
  });
  assert.deepEqual(of('initSDK'), {
    chosen: ['b/initSDK_makes_the_engine', 'b/second_initSDK', 'b/others', 'a/another'],
    more: 0,
    folder: 'b',
  });
});

test('one about many commands is named once, for all of them', () => {
  const commands = Array.from({ length: 11 }, (_, i) => ({ command: `command${i}`, expect: [] }));
  const { of, common, troubles } = scenariosOf({
    'a/all.jsonl': [...commands, { command: 'initSDK', expect: [] }],
    'a/own.jsonl': [{ command: 'initSDK', expect: [] }],
  });
  assert.deepEqual(common, ['a/all']);
  assert.deepEqual(of('initSDK').chosen, ['a/own']);
  assert.ok(!troubles.some((trouble) => trouble.startsWith('initSDK')));
});
