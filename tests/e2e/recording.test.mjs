// A lesson that was saved from the screen becomes a test of what went wrong in it: VEMO_DEMO is the
// folder of a lesson that was played (scripts/demo.mjs).

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdir, mkdtemp, rm, writeFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { after, before, test } from 'node:test';

const title = '“Classroom”想访问您的相机';
const other = '“Classroom”想访问您的相亥'; // by one letter
let folder;

before(async () => {
  folder = await mkdtemp(`${tmpdir()}/vemo-recording-`);
});
after(() => rm(folder, { recursive: true, force: true }));

/** What vemo-replay writes; it must end with `status`. */
function replay(status, args, input) {
  const run = spawnSync(process.env.VEMO_REPLAY, args, { input, encoding: 'utf8' });
  assert.equal(run.status, status, run.stdout.slice(0, 2000) + run.stderr);
  assert.equal(run.stderr, '');
  return run.stdout;
}

test('the refusal of the camera is kept as a scenario, which fails by one letter of the alert', async () => {
  const session = replay(0, ['--from', `${process.env.VEMO_DEMO}/ada.vemorec`]);
  const whole = replay(0, ['--check', '-'], session);
  assert.match(whole, /^\d+ steps, \d+ expectations\n$/);

  assert.equal(session.split(title).length, 2, 'she was asked once');
  const changed = session.replace(title, other);
  const sentence = `alert has title "${title}", was "${other}"`;
  const said = replay(1, ['--check', '-'], changed).split('\n')[0];
  assert.ok(said.includes(sentence), said);

  const least = replay(0, ['--minimise', '--difference', 'alert has title', '-'], changed);
  const steps = least.trim().split('\n').map((line) => JSON.parse(line));
  assert.ok(steps.length < 10, least);
  assert.ok(steps.length < Number(whole.split(' ')[0]) / 4, whole);
  assert.equal(steps.at(-1).command, 'startLocalPreview');

  const scenarios = `${folder}/scenarios/camera`;
  await mkdir(scenarios, { recursive: true });
  await writeFile(`${scenarios}/refused.jsonl`, least.replace(other, title));
  assert.match(
    replay(0, ['--check', `${folder}/scenarios`]),
    /^1 scenario, \d steps, \d expectations?, 0 failed\n$/,
  );
  await writeFile(`${scenarios}/refused.jsonl`, least);
  const [failure, sum] = replay(1, ['--check', `${folder}/scenarios`]).split('\n');
  assert.ok(
    failure.startsWith(`${scenarios}/refused.jsonl: line ${steps.length}, step ${steps.length}: ${sentence}`),
    failure,
  );
  assert.match(sum, /, 1 failed$/);
});
