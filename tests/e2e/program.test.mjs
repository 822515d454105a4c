// The simulator as a program: how it starts, refuses to start and ends.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { existsSync, mkdtempSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { simulatorProgram, startSimulator } from '../../testing/browser.mjs';

function run(...options) {
  const { status, stdout, stderr } = spawnSync(simulatorProgram, options, {
    encoding: 'utf8',
    timeout: 20_000,
  });
  return { status, stdout, stderr };
}
function refuses(sentence, ...options) {
  const { status, stdout, stderr } = run(...options);
  assert.equal(status, 2);
  assert.equal(stdout, '');
  assert.match(stderr, sentence);
  assert.equal(stderr.trim().split('\n').length, 1, 'one sentence');
}

test('says how it is used', () => {
  const { status, stdout } = run('--help');
  assert.equal(status, 0);
  assert.match(stdout, /--port N/);
});

test('refuses what it cannot use, in one sentence', () => {
  refuses(/Unknown option --nose\./, '--nose');
  refuses(/"x" is no value for --port/, '--port', 'x');
  refuses(/no built shell in \/nowhere/, '--port', '0', '--shell', '/nowhere');
  refuses(/--page: there is no folder "\/nowhere"/, '--page', '/nowhere');
  refuses(/--page-url: "nowhere" is no address/, '--page-url', 'nowhere');
  refuses(/Can't write the log/, '--port', '0', '--log', '/proc/none/log');
});

test('refuses a busy port', async () => {
  const first = await startSimulator(['--log', '/dev/null']);
  const { port } = new URL(first.address);
  refuses(new RegExp(`Port ${port} is in use`), '--port', port);
  await first.stop();
});

test('ends cleanly on both signals, pages connected or not', async () => {
  for (const signal of ['SIGINT', 'SIGTERM']) {
    const simulator = await startSimulator(['--log', '/dev/null']);
    assert.equal((await fetch(simulator.address)).status, 200);
    assert.deepEqual(await simulator.stop(signal), { code: 0, signal: null });
  }
});

test('writes its log where it is told', async () => {
  const folder = mkdtempSync(join(tmpdir(), 'vemo-'));
  const simulator = await startSimulator(['--log', join(folder, 'log.jsonl')]);
  await simulator.stop();
  assert.deepEqual(simulator.errors, []);
  assert.ok(existsSync(join(folder, 'log.jsonl')));
  rmSync(folder, { recursive: true });
});
