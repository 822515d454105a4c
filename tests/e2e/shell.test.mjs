// The simulator's shell: what a reload keeps, and what the developer panel tells.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Phone, sendRaw, simulatorForEachTest } from '../../testing/browser.mjs';

const { address, blank, open, entered } = simulatorForEachTest();

/** Reloads the window; gives the frames that its phone was sent, as far as `last`. */
async function framesAfterReload(phone, last) {
  const frames = [];
  const seen = new Promise((resolve) => {
    phone.page.once('websocket', (socket) =>
      socket.on('framesent', ({ payload }) => {
        frames.push(JSON.parse(payload));
        if (payload.includes(last)) resolve();
      }),
    );
  });
  await phone.page.reload();
  await seen;
  await phone.inPhase('outside');
  return frames;
}

/** The kinds of the frames that stand before the page's first command. */
function beforeCommands(frames) {
  const kinds = frames.map(({ kind }) => kind).filter((kind) => kind !== 'note');
  assert.ok(kinds.includes('message'));
  return kinds.slice(0, kinds.indexOf('message'));
}

test('the phone’s settings survive a reload and are there before the first command', async () => {
  const ada = await open();
  const panel = await ada.openPanel('Phone');
  await panel.getByLabel('Camera', { exact: true }).selectOption('denied');
  await panel.getByLabel('Version', { exact: true }).selectOption('11.4.0');
  const name = panel.getByLabel('Application name');
  await name.fill('Night school');
  await name.press('Enter');
  await panel.getByRole('button', { name: 'Weak' }).click();
  await panel.getByRole('button', { name: 'Cut off' }).click();
  await ada.page.waitForFunction(() => sessionStorage.getItem('vemo.phone')?.includes('Night school'));

  const frames = await framesAfterReload(ada, 'registCallBacks');
  assert.deepEqual(beforeCommands(frames), ['settings', 'network', 'network']);
  assert.equal(frames[1].settings.camera, 'denied');
  assert.equal(frames[1].settings.os, '11.4.0');
  assert.equal(frames[2].delay, 180);
  assert.equal(frames[3].drop, true);

  await ada.openPanel('Phone');
  assert.equal(await panel.getByLabel('Camera', { exact: true }).inputValue(), 'denied');
  assert.equal(await panel.getByLabel('Version', { exact: true }).inputValue(), '11.4.0');
  await panel.locator('[aria-pressed="true"]', { hasText: 'Weak' }).waitFor();
  await panel.locator('[aria-pressed="true"]', { hasText: 'Cut off' }).waitFor();
  await panel.getByRole('button', { name: 'Restore' }).click();
  await ada.enter({ name: 'Ada' });
  await ada.control('Camera').click();
  await ada.dialog('alert').getByText('“Night school”想访问您的相机').waitFor();
});

test('each window’s phone has settings of its own, and a reset makes it like new', async () => {
  const ada = await open();
  await ada.setPermission('Microphone', 'restricted');
  const ben = await open();
  const others = await ben.openPanel('Phone');
  assert.equal(await others.getByLabel('Microphone', { exact: true }).inputValue(), 'notDetermined');

  const panel = await ada.openPanel('Phone');
  await panel.getByRole('button', { name: 'Bad' }).click();
  await panel.getByRole('button', { name: 'Reset the phone' }).click();
  await panel.locator('[aria-pressed="true"]', { hasText: 'Good' }).waitFor();
  await ada.page.waitForFunction(() => {
    const list = document.querySelector('select[aria-label="Microphone"]');
    return list.value === 'notDetermined' && sessionStorage.getItem('vemo.phone') === '{}';
  });
  const frames = await framesAfterReload(ada, 'registCallBacks');
  assert.deepEqual(beforeCommands(frames), []);
});

test('a window that is duplicated has phones of its own, set as those were, and whose name is taken is told so', async () => {
  const ada = await open();
  await ada.setPermission('Microphone', 'denied');
  await ada.enter({ name: 'Ada' });
  // What the window has kept is copied, as by the browser's "duplicate".
  const opened = ada.page.waitForEvent('popup');
  await ada.page.evaluate(() => void window.open(location.href));
  const twin = new Phone(await opened);
  await twin.inPhase('outside');
  assert.equal(await twin.view.getByLabel('Your name').inputValue(), 'Ada');
  const microphone = (phone) => phone.page.locator('.panel').getByLabel('Microphone', { exact: true });
  await twin.openPanel('Phone');
  await twin.page.waitForFunction(() => document.querySelector('select[aria-label="Microphone"]').value === 'denied');
  await microphone(twin).selectOption('authorized');
  await twin.page.getByRole('button', { name: 'Add a phone' }).click();
  await twin.numbered(1).enter({ name: 'Ada' });
  await ada.view.getByText('Who enters with your name takes your place.').waitFor();

  await Promise.all([ada.page.reload(), twin.page.reload()]);
  await ada.inPhase('outside');
  await twin.numbered(2).inPhase('outside');
  assert.equal(await ada.page.locator('.phone').count(), 1);
  for (const [phone, status] of [[ada, 'denied'], [twin, 'authorized']]) {
    await phone.openPanel('Phone');
    if (phone === twin) await phone.page.getByLabel('Phone that the panel shows').selectOption('Phone 1');
    await phone.page.waitForFunction(
      (status) => document.querySelector('select[aria-label="Microphone"]').value === status,
      status,
    );
  }
  assert.deepEqual(twin.problems, []);
});

test('a permission that was given at a prompt survives a reload', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', true);
  await ada.view.locator('[data-control="Camera"][data-look="on"]').waitFor();
  await ada.page.reload();
  await ada.inPhase('outside');
  await ada.enter({ name: 'Ada' });
  await ada.control('Camera').click();
  await ada.view.locator('[data-control="Camera"][data-look="on"]').waitFor();
  assert.equal(await ada.dialog('prompt-camera').count(), 0);
});

test('the form is filled in as before after a reload, without the signature', async () => {
  const ada = await open();
  await ada.enter({ name: 'Ada', room: 7, role: 'audience', signature: 'a-secret' });
  await ada.page.reload();
  await ada.inPhase('outside');
  assert.equal(await ada.view.getByLabel('Your name').inputValue(), 'Ada');
  assert.equal(await ada.view.getByLabel('Room', { exact: true }).inputValue(), '7');
  assert.equal(await ada.view.getByRole('radio', { name: 'Audience' }).isChecked(), true);
  const kept = await ada.page.evaluate(() => JSON.stringify({ ...sessionStorage, ...localStorage }));
  assert.equal(kept.includes('a-secret'), false);
});

test('a browser that keeps nothing, is full, or has kept something else has phones all the same', async () => {
  const denied = () => {
    for (const place of ['sessionStorage', 'localStorage'])
      Object.defineProperty(window, place, { get: () => { throw new DOMException('denied', 'SecurityError'); } });
  };
  const full = () => {
    Storage.prototype.setItem = () => { throw new DOMException('full', 'QuotaExceededError'); };
  };
  const strange = () => {
    if (window !== top) return;
    for (const [name, text] of [['vemo.phones', '{"a":1}'], ['vemo.phone', 'not JSON'], ['vemo.join.phone-1', '7']])
      sessionStorage.setItem(name, text);
  };
  for (const state of [denied, full, strange]) {
    const ada = await blank();
    await ada.page.addInitScript(state);
    await ada.visit(address());
    await ada.enter({ name: state.name });
    await ada.page.getByRole('button', { name: 'Add a phone' }).click();
    await ada.numbered(2).inPhase('outside');
    const panel = await ada.openPanel('Phone');
    await panel.getByRole('button', { name: 'Bad' }).click();
    await panel.getByText('Bad: 600 ms').waitFor();
  }
});

test('the time line tells a cause before its effect', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben' });
  await ben.setPermission('Camera', 'authorized');
  await ben.control('Camera').click();
  await ada.nativeView('Ben').waitFor();
  const names = (await ada.timeLine()).map(({ title }) => title);
  const event = names.indexOf('onUserVideoAvailable');
  const command = names.indexOf('startRemoteView');
  assert.ok(event >= 0 && event < command, `event ${event}, command ${command}`);
});

test('signatures are masked in the time line until they are asked for', async () => {
  const ada = await entered({ name: 'Ada', signature: 'the-secret-one' });
  // As a command, in a text within a command, in what can't be read, and in a script.
  const page = ada.page.frames().find((frame) => frame.url().endsWith('classroom.html'));
  const signed = { userId: 'Ada', userSig: 'the-secret-one' };
  const nested = JSON.stringify({ api: 'none', params: signed });
  const texts = [
    JSON.stringify({ head: { action: 'callExperimentalAPI' }, params: { APIParams: nested }, cbid: '1' }),
    `{"head":{"action":"broken"},"params":{"userSig":"the-secret-one"`,
    `{"head":{"action":"userSig the-secret-one"},"cbid":"2"}`,
    '{"head":{"action":"getSDKVersion"},"cbid":"last"}',
  ];
  await sendRaw(page, texts, 'last');
  await ada.openPanel('Time line');
  await ada.row('getSDKVersion').nth(1).locator('.took').waitFor();
  const rows = ada.page.locator('.rows');
  const secrets = ada.page.getByRole('button', { name: 'Show secrets' });
  for (const title of ['enterRoom', 'callExperimentalAPI', 'not a message']) {
    const row = ada.row(title).first();
    await row.locator('.row-head').click();
    await row.locator('pre', { hasText: '•••' }).first().waitFor();
    assert.equal((await rows.innerHTML()).includes('the-secret-one'), false);
    await secrets.click();
    await row.locator('pre', { hasText: 'the-secret-one' }).first().waitFor();
    await secrets.click();
    await row.locator('pre', { hasText: 'the-secret-one' }).first().waitFor({ state: 'detached' });
    await row.locator('.row-head').click();
  }
  for (const kind of ['Everything', 'Scenario'])
    assert.equal(JSON.stringify(await ada.saved(kind)).includes('the-secret-one'), false);

  await secrets.click();
  for (const kind of ['Everything', 'Scenario'])
    assert.ok(JSON.stringify(await ada.saved(kind)).includes('the-secret-one'));
});

test('the broadcast picker opens once, however often the page asks for it', async () => {
  const ada = await open();
  let asked = 0;
  const twice = new Promise((resolve) => {
    ada.page.once('websocket', (socket) =>
      socket.on('framereceived', ({ payload }) => {
        if (payload.includes('"broadcastPicker"') && ++asked === 2) resolve();
      }),
    );
  });
  await ada.page.reload();
  await ada.inPhase('outside');
  await ada.enter({ name: 'Ada' });
  await ada.control('Share').click();
  await ada.view
    .getByRole('button', { name: 'Share the whole screen' })
    .evaluate((button) => [1, 2].forEach(() => button.click()));
  await twice;
  await ada.dialog('broadcast').getByRole('button', { name: 'Cancel' }).click();
  // A second one would be shown at once in its place, and take this click.
  await ada.page.getByRole('button', { name: 'Developer panel' }).click();
  await ada.view.getByRole('button', { name: 'Share the whole screen' }).click({ timeout: 5000 });
  await ada.dialog('broadcast').waitFor();
});
