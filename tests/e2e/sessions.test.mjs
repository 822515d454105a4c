// Sessions that are saved, opened and played beside what they recorded.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdtempSync, rmSync } from 'node:fs';
import { readFile } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { screens, simulatorForEachTest, startSimulator } from '../../testing/browser.mjs';

const { blank, open, entered, stopSimulator } = simulatorForEachTest();
const button = (panel, name) => panel.getByRole('button', { name, exact: true });

/** The recording of a phone whose user refuses the camera, and declines to change that. */
async function refusedCamera(screen) {
  const ada = await entered({ name: 'Ada', signature: 'the-secret-one' }, screen);
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', false);
  await ada.view.locator('.toast.bad').waitFor();
  await ada.control('Camera').click();
  await ada.dialog('alert').getByRole('button', { name: '不允许' }).click();
  const panel = await ada.openPanel('Sessions');
  const [download] = await Promise.all([
    ada.page.waitForEvent('download'),
    button(panel, 'Save the last minutes').click(),
  ]);
  assert.equal(download.suggestedFilename(), 'phone-1.vemorec');
  await panel.getByText('Saved phone-1.vemorec.').waitFor();
  const recording = await readFile(await download.path(), 'utf8');
  assert.equal(recording.includes('the-secret-one'), false);
  return { ada, panel, recording };
}

async function choose(panel, name, text) {
  await panel
    .locator('input[type="file"]')
    .setInputFiles({ name, mimeType: 'application/octet-stream', buffer: Buffer.from(text) });
}

test('the last minutes are saved, and what is opened plays as it was recorded', async () => {
  const { ada, panel, recording } = await refusedCamera();
  const scenario = spawnSync(process.env.VEMO_REPLAY, ['--from', '-'], { input: recording, encoding: 'utf8' });
  assert.equal(scenario.status, 0, scenario.stderr);
  const checked = spawnSync(process.env.VEMO_REPLAY, ['--check', '-'], { input: scenario.stdout, encoding: 'utf8' });
  assert.equal(checked.status, 0, checked.stdout + checked.stderr);

  await ada.page.reload();
  await ada.inPhase('outside');
  await ada.openPanel('Sessions');
  await choose(panel, 'refused.vemorec', recording);
  await panel.getByRole('heading', { name: 'refused.vemorec' }).waitFor();
  await button(panel, 'Step').click();
  await panel.getByText(/^1 of \d+ steps played: all as before/).waitFor();
  assert.equal(await ada.row('registCallBacks').getAttribute('aria-selected'), 'true');
  await button(panel, 'Step').click();
  await panel.getByText(/^2 of \d+ steps played/).waitFor();
  assert.equal(await ada.row('initSDK').getAttribute('aria-selected'), 'true');
  await button(panel, 'Play').click();
  await panel.getByText(/^(\d+) of \1 steps played: all as before\.$/).waitFor();
  assert.equal(await button(panel, 'Step').isDisabled(), true);

  // The same twice: a phone like new is asked for its camera once more.
  await button(panel, 'Back to the start').click();
  await panel.getByText(/^\d+ steps\. They are played/).waitFor();
  await button(panel, 'Play').click();
  await panel.getByText(/^(\d+) of \1 steps played: all as before\.$/).waitFor();
});

test('an opened session has the times that its file knows, a scenario none', async () => {
  const ada = await open();
  const panel = await ada.openPanel('Sessions');
  const at = new Date(2026, 1, 3, 9, 8, 7, 60).getTime();
  const recording = [
    '{"vemorec":2,"program":"0.1.0","whole":true}',
    `{"step":{"command":"startSpeedTest","as":"m1"},"n":1,"at":${at},"thread":"main"}`,
    `{"step":{"event":"onWarning","args":[7,"slow",null]},"n":2,"at":${at + 2400},"thread":"engine"}`,
    `{"task":{"drain":1},"n":3,"by":2,"at":${at + 2500},"thread":"main"}`,
    `{"effect":{"effect":"reply","item":"m1","action":"startSpeedTest"},"n":3,"at":${at + 2500},"thread":"main"}`,
    '{"end":true}\n',
  ];
  await choose(panel, 'timed.vemorec', recording.join('\n'));
  await panel.getByRole('heading', { name: 'timed.vemorec' }).waitFor();
  const times = () => ada.page.locator('.row time').allInnerTexts();
  const row = ada.row('startSpeedTest').first();
  await row.locator('.took').waitFor();
  assert.deepEqual(await times(), ['09:08:07.060', '09:08:09.460']);
  assert.equal(await row.locator('.took').innerText(), '2.5 s');
  await row.locator('.row-head').click();
  await row.getByText('Answer after 2.5 s').waitFor();

  await choose(panel, 'untimed.jsonl', '{"command":"initSDK","expect":[{"effect":"reply","action":"initSDK"}]}\n');
  await panel.getByRole('heading', { name: 'untimed.jsonl' }).waitFor();
  const untimed = ada.row('initSDK').first();
  await untimed.locator('.row-head').click();
  await untimed.getByText('Answer', { exact: true }).waitFor();
  assert.deepEqual(await times(), ['']);
  assert.equal(await untimed.locator('.took').count(), 0);
  assert.deepEqual(await ada.findings(), []);
});

/** What a click on a button has the browser save. */
async function saved(ada, panel, name) {
  const [download] = await Promise.all([ada.page.waitForEvent('download'), button(panel, name).click()]);
  return { name: download.suggestedFilename(), text: await readFile(await download.path(), 'utf8') };
}

test('a session is recorded from the screen, from its beginning, and each page that comes is another', async () => {
  const ada = await entered({ name: 'Ada', signature: 'the-secret-one' });
  const panel = await ada.openPanel('Sessions');
  const record = panel.getByRole('switch', { name: 'Record' });
  await record.focus();
  await ada.page.keyboard.press('Space');
  const badge = ada.page.getByRole('button', { name: 'Recording' });
  await badge.waitFor();
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', false);
  await ada.view.locator('.toast.bad').waitFor();
  assert.deepEqual(await ada.findings(), [], 'while it is recorded');
  await ada.page.getByRole('button', { name: 'Reload the page' }).click();
  await panel.getByText('phone-1-1.vemorec').waitFor();
  await ada.enter({ name: 'Ada' });
  await record.uncheck();
  await panel.getByText('phone-1-2.vemorec').waitFor();
  assert.equal(await badge.count(), 0);
  assert.deepEqual(await ada.findings(), [], 'with recorded sessions');

  const [first, second] = [await saved(ada, panel, 'Save phone-1-1.vemorec'), await saved(ada, panel, 'Save phone-1-2.vemorec')];
  assert.equal(first.name, 'phone-1-1.vemorec');
  assert.match(first.text, /user not allowed access camera/);
  assert.doesNotMatch(second.text, /user not allowed access camera/);
  for (const { text } of [first, second]) {
    assert.match(text, /^\{"vemorec":2,[^\n]*"whole":true/);
    assert.match(text, /"event":"onEnterRoom"/);
    assert.doesNotMatch(text, /the-secret-one/);
    const scenario = spawnSync(process.env.VEMO_REPLAY, ['--from', '-'], { input: text, encoding: 'utf8' });
    assert.equal(scenario.status, 0, scenario.stderr);
    const checked = spawnSync(process.env.VEMO_REPLAY, ['--check', '-'], { input: scenario.stdout, encoding: 'utf8' });
    assert.equal(checked.status, 0, checked.stdout + checked.stderr);
  }

  await ada.control('Leave').click();
  await button(panel, 'Open phone-1-1.vemorec').click();
  await panel.getByRole('heading', { name: 'phone-1-1.vemorec' }).waitFor();
  await button(panel, 'Play').click();
  await panel.getByText(/^(\d+) of \1 steps played: all as before\.$/).waitFor();
  await button(panel, 'Forget phone-1-2.vemorec').click();
  await panel.getByText('phone-1-2.vemorec').waitFor({ state: 'detached' });
});

test('where the simulator records already, the switch says so', async () => {
  const folder = mkdtempSync(join(tmpdir(), 'vemo-'));
  const simulator = await startSimulator(['--log', '/dev/null', '--record', folder]);
  const ada = await blank();
  await ada.visit(simulator.address);
  const panel = await ada.openPanel('Sessions');
  await panel.getByRole('switch', { name: 'Record' }).click();
  await panel.getByText('Not recorded: the simulator writes the whole session to a file already (--record).').waitFor();
  assert.equal(await panel.getByRole('switch', { name: 'Record' }).isChecked(), false);
  await ada.page.close();
  await simulator.stop();
  rmSync(folder, { recursive: true });
});

test('what the router does other than it did is marked in a sentence', async () => {
  const { ada, panel, recording } = await refusedCamera();
  await choose(panel, 'changed.vemorec', recording.replace('想访问您的相机', '想访问您的相亥'));
  await button(panel, 'Play').click();
  await panel.getByText(/^(\d+) of \1 steps played: 1 did other than before\.$/).waitFor();
  const row = ada.row('startLocalPreview').nth(1);
  assert.equal(await ada.page.locator('.row .remark-mark').count(), 1);
  await row.locator('.row-head').click();
  await row.getByText('alert: /title is "“Classroom”想访问您的相机", was "“Classroom”想访问您的相亥".').nth(1).waitFor();
  assert.deepEqual(await ada.findings(), []);
  await button(panel, 'Back to the start').click();
  await ada.page.locator('.row .remark-mark').waitFor({ state: 'detached' });

  // What came besides, and what did not come.
  const lines = recording.split('\n');
  const isReply = (line) => line.includes('"effect":"reply"') && line.includes('"action":"initSDK"');
  const moved = lines.map((line) => (isReply(line) ? line.replaceAll('initSDK', 'uninitSDK') : line));
  await choose(panel, 'moved.vemorec', moved.join('\n'));
  await button(panel, 'Play').click();
  await panel.getByText(/^(\d+) of \1 steps played: 1 did other than before\.$/).waitFor();
  await ada.row('initSDK').locator('.row-head').click();
  await panel.getByText('reply to uninitSDK did not come.').last().waitFor();
  await panel.getByText('reply to initSDK came besides.').waitFor();
});

test('a scenario is dropped and played; what the phone can’t be told is said', async () => {
  const ada = await open();
  const panel = await ada.openPanel('Sessions');
  const scenario = `# The user refuses the microphone.
{"device":{"microphone":0}}
{"command":"initSDK","expect":[{"effect":"reply","error":{"errcode":0,"errmsg":"*"}}],"partial":true}
{"command":"startLocalAudio","as":"audio"}
{"access":false,"partial":true,"expect":[{"effect":"reply","error":{"errcode":-1314}}]}
{"event":"onWarning","args":[7,"slow",null],"expect":[{"effect":"log","record":{"actionName":"onWarning"}}]}
{"get":"role","expect":[{"value":null}]}
`;
  await ada.page.evaluate((text) => {
    const dataTransfer = new DataTransfer();
    dataTransfer.items.add(new File([text], 'microphone.jsonl'));
    document.querySelector('.session-page').dispatchEvent(new DragEvent('drop', { dataTransfer, bubbles: true }));
  }, scenario);
  await panel.getByRole('heading', { name: 'microphone.jsonl' }).waitFor();
  await button(panel, 'Play').click();
  await panel.getByText('6 of 6 steps played: 1 did other than before, 1 could not be played.').waitFor();
  const marks = await panel.locator('.remark-mark .unseen').allInnerTexts();
  assert.deepEqual(marks, [
    'reply to startLocalAudio: /error/errcode is -1317, was -1314.',
    'Not played. Only vemo-replay plays {"get":"role"}.',
  ]);
  await ada.openPanel('Time line');
  await ada.openPanel('Sessions');
  await panel.getByText('6 of 6 steps played').waitFor();
  await button(panel, 'Close the session').click();
  await panel.getByText('drop it here').waitFor();
});

test('a file that is none, is damaged or of a later form is refused with a sentence', async () => {
  const ada = await open();
  const panel = await ada.openPanel('Sessions');
  const header = '{"vemorec":1,"program":"0.1.0","whole":true}\n';
  const step = '{"step":{"message":"x"},"n":1,"at":1,"thread":"main"}\n';
  for (const [text, said] of [
    ['GIF89a', 'it.jsonl is neither a recording nor a scenario.'],
    ['', 'it.jsonl is empty.'],
    ['[1]\n', 'it.jsonl is neither a recording nor a scenario.'],
    ['{"vemorec":3}\n', 'it.jsonl has form 3; this simulator reads up to form 2.'],
    [`${header}${step}?\n${step}`, 'it.jsonl is damaged: line 3 can’t be read.'],
    ['{"command":"initSDK"}\n{"comand":"x"}\n', 'it.jsonl is damaged: line 2 is no step of a scenario.'],
    [step, 'it.jsonl is a later part of a session: put its parts together, the oldest first, and open that.'],
  ]) {
    await choose(panel, 'it.jsonl', text);
    await panel.getByRole('alert').getByText(said, { exact: true }).waitFor();
    assert.equal(await panel.locator('h2').count(), 0);
  }
  await choose(panel, 'cut.vemorec', `${header}${step}{"effect":{"eff`);
  await panel.getByText('It breaks off in the middle of a line.').waitFor();
  assert.equal(await panel.getByRole('alert').count(), 0);
  await panel.getByText('1 step. They are played').waitFor();
  const newer = header.replace('1', '2') + step;
  await choose(panel, 'ended.vemorec', `${newer}{"end":true}\n`);
  await panel.getByRole('heading', { name: 'ended.vemorec' }).waitFor();
  assert.equal(await panel.getByText('Its end is missing').count(), 0);
  await choose(panel, 'cut.vemorec', newer);
  await panel.getByText('Its end is missing: it broke off, or was going on.').waitFor();
});

test('without a simulator nothing is saved and nothing plays, and that is said', async () => {
  const { ada, panel, recording } = await refusedCamera();
  await choose(panel, 'refused.vemorec', recording);
  await button(panel, 'Step').click();
  await panel.getByText(/^1 of \d+ steps played: all as before/).waitFor();
  await stopSimulator();
  await ada.inPhase('stopped');
  await button(panel, 'Play').click();
  await panel.getByText(/^2 of \d+ steps played: all as before, 1 could not be played\.$/).waitFor();
  await ada.row('initSDK').locator('.row-head').click();
  await panel.getByText('Not played. The simulator takes no further phone, or has stopped.').last().waitFor();
  await button(panel, 'Save the last minutes').click();
  await panel.getByText('Nothing was saved: there is no phone.').waitFor();
});

for (const screen of screens)
  test(`the checker finds nothing in a session at ${screen.width}x${screen.height}`, async () => {
    const ada = await open(screen);
    const panel = await ada.openPanel('Sessions');
    assert.deepEqual(await ada.findings(), [], 'none is open');
    await choose(panel, 'it.jsonl', 'x');
    await panel.getByRole('alert').waitFor();
    assert.deepEqual(await ada.findings(), [], 'a bad file');
    await choose(panel, 'it.jsonl', '{"command":"initSDK","expect":[{"effect":"alert"}]}\n');
    await panel.getByRole('button', { name: 'Play', exact: true }).focus();
    await ada.page.keyboard.press('Enter');
    await panel.getByText('1 of 1 step played: 1 did other than before.').waitFor();
    await panel.getByRole('tree').focus();
    await ada.page.keyboard.press('Home');
    await ada.page.keyboard.press('Enter');
    await panel.getByText('alert did not come.').last().waitFor();
    assert.deepEqual(await ada.findings(), [], 'a difference');
  });
