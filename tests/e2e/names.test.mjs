// Names and texts that mean ill: markup, signs that turn the direction of writing, letters without
// width, control characters, and more letters than there is room for.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdtempSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { simulatorForEachTest } from '../../testing/browser.mjs';

const { address, open, entered } = simulatorForEachTest({ screen: { width: 1280, height: 800 } });

const markup = '<img src=x onerror="window.taken=1"><b>Eve</b>';
const turned = '\u202egnp.\u2066eve\u200b\ufeff';
const controls = 'a\u0000b\u001b[31mc\u0085d{"forged":true}';
const family = '👩‍👩‍👧‍👦 Émile عمر';
const long = 'W'.repeat(250);
const names = [markup, turned, controls, family, long, '__proto__', '"]\\}'];
/** What may not be seen as it is: it is not seen, or turns what stands around it. */
const unseen = /[\u0000-\u0008\u000e-\u001f\u0080-\u009f\u200b\u200e\u200f\u202a-\u202e\u2066-\u2069\ufeff]/;

/** Phones without pages that enter room 101, each by a name. */
function enterAll(page, userIds) {
  const token = new URL(address()).searchParams.get('token');
  return page.evaluate(
    ([userIds, token]) =>
      Promise.all(
        userIds.map(
          (userId) =>
            new Promise((entered) => {
              const socket = new WebSocket(`ws://${location.host}/phone?token=${token}`);
              (window.phones ??= []).push(socket);
              const send = (action, params) =>
                socket.send(JSON.stringify({ kind: 'message', text: JSON.stringify({ head: { action }, params, cbid: action }) }));
              socket.onopen = () => {
                send('initSDK', {});
                send('enterRoom', { appScene: 1, sdkAppId: 20240001, userId, userSig: 'any', roomId: 101 });
              };
              socket.onmessage = ({ data }) => {
                const { kind, text } = JSON.parse(data);
                if (kind === 'script' && text.includes('"cbid":"enterRoom"')) entered();
              };
            }),
        ),
      ),
    [userIds, token],
  );
}

/** What of a document is wider than its window, or is markup that a name brought. */
const brokenIn = (frame) =>
  frame.evaluate(() => [
    ...(window.taken ? ['a script has run'] : []),
    ...[...document.querySelectorAll('img[src="x"], b')].map(({ outerHTML }) => outerHTML),
    ...(document.documentElement.scrollWidth > innerWidth ? [`${document.documentElement.scrollWidth} px wide`] : []),
  ]);

test('names of any kind in the class, the time line and what is saved of it', async () => {
  const ada = await entered({ name: 'Ada' });
  await enterAll(ada.page, names);
  await ada.view.locator('.tile[data-user]').nth(names.length).waitFor();
  assert.deepEqual((await ada.people()).sort(), ['Ada', ...names].sort());
  await ada.openPage('people');
  await ada.view.locator('.drawer details').nth(names.length - 1).waitFor();
  for (const person of await ada.view.locator('.drawer details summary').all()) await person.click();
  const { width } = await ada.view.locator('.drawer').boundingBox();
  assert.equal(await ada.view.locator('.drawer').evaluate((drawer) => drawer.scrollWidth <= drawer.clientWidth), true, `${width}`);
  await ada.page.keyboard.press('Escape');

  const panel = await ada.openPanel('Time line');
  const rows = ada.row('onRemoteUserEnterRoom');
  for (const row of await rows.all()) await row.locator('.row-head').click();
  const shown = await panel.innerText();
  assert.equal(unseen.test(shown), false, 'each letter is one that can be seen');
  assert.ok(shown.includes('\\u202egnp.'), shown);
  const pre = panel.locator('.details pre').first();
  assert.equal(await pre.evaluate((element) => element.scrollWidth <= element.clientWidth), true);
  for (const frame of ada.page.frames()) assert.deepEqual(await brokenIn(frame), []);

  const saved = (await ada.saved('Everything')).filter(({ title }) => title === 'onRemoteUserEnterRoom');
  const told = saved.map(({ data }) => data?.retval?.remoteUserId).filter((name) => name !== undefined);
  assert.deepEqual([...new Set(told)].sort(), [...names].sort());
  if (!process.env.VEMO_REPLAY) return;
  const folder = mkdtempSync(join(tmpdir(), 'vemo-'));
  const file = join(folder, 'names.jsonl');
  const steps = await ada.saved('Scenario');
  writeFileSync(file, steps.map((step) => `${JSON.stringify(step)}\n`).join(''));
  const { status, stderr } = spawnSync(process.env.VEMO_REPLAY, [file], { encoding: 'utf8', maxBuffer: 1e8 });
  rmSync(folder, { recursive: true });
  assert.equal(stderr, '');
  assert.equal(status, 0);
});

test('texts of any kind and length in commands, errors, prompts and the address', async () => {
  const many = `${markup}${turned}${'M'.repeat(10_000)}`;
  const some = many.slice(0, 3000); // as much as an address may have
  const query = new URLSearchParams({ app: `${markup}${'M'.repeat(40)}`, [some]: 'x', room: some, user: family });
  const ada = await open(undefined, `${query}`);
  assert.equal(await ada.view.getByLabel('Your name').inputValue(), family);
  const notice = ada.page.getByRole('alert', { name: 'Address' });
  const { height } = await notice.boundingBox();
  assert.ok(height < 200, `the notice is ${height} px high`);
  await ada.page.getByRole('button', { name: 'Close notice' }).click();

  const panel = await ada.openPanel('Send');
  await panel.getByRole('button', { name: 'JSON' }).click();
  const message = { head: { action: many }, params: { [many]: many }, cbid: '' };
  await panel.getByLabel('Message').fill(JSON.stringify(message));
  await panel.getByRole('button', { name: 'Send', exact: true }).click();
  await panel.getByRole('tab', { name: 'Fire' }).click();
  await panel.getByLabel('errMsg').fill(many);
  await panel.getByLabel('errCode').fill('-5');
  await panel.getByRole('button', { name: 'Fire', exact: true }).click();
  await panel.getByRole('tab', { name: 'Time line' }).click();
  await panel.getByLabel('Search the time line').fill('MMMM');
  for (const kind of ['command', 'event']) {
    const row = panel.locator(`.row[data-kind="${kind}"]`).last();
    await row.locator('.row-head').click();
    await row.locator('.details').waitFor();
    const box = await row.locator('.details').evaluate(({ scrollWidth, clientWidth }) => ({ scrollWidth, clientWidth }));
    assert.ok(box.scrollWidth <= box.clientWidth, `${kind}: ${JSON.stringify(box)}`);
  }
  assert.equal(unseen.test(await panel.innerText()), false);

  await ada.enter({ name: markup.slice(0, 40) });
  await ada.control('Camera').click();
  const dialog = ada.dialog('prompt-camera');
  await dialog.waitFor();
  const fits = ({ scrollWidth, clientWidth }) => scrollWidth <= clientWidth;
  assert.equal(await dialog.locator('.dialog').evaluate(fits), true);
  await ada.answerPrompt('camera', false); // its buttons are within reach
  for (const frame of ada.page.frames()) assert.deepEqual(await brokenIn(frame), []);
});
