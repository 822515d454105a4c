// The workbench: phones side by side, and the time line of each.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { readFileSync, writeFileSync } from 'node:fs';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { screens, simulatorForEachTest } from '../../testing/browser.mjs';

const { address, blank, open } = simulatorForEachTest({ screen: { width: 1280, height: 800 } });

/** Puts another phone into the window; gives both, each by its number. */
async function beside(first) {
  await first.page.getByRole('button', { name: 'Add a phone' }).click();
  const phones = [1, 2].map((number) => first.numbered(number));
  await phones[1].inPhase('outside');
  return phones;
}
const chosen = (phone) => phone.page.getByLabel('Phone that the panel shows');

test('two phones in one window meet in a room, each with a network and settings of its own', async () => {
  const [ada, ben] = await beside(await open());
  await ada.enter({ name: 'Ada' });
  await ben.enter({ name: 'Ben' });
  await ada.tile('Ben').waitFor();
  await ben.tile('Ada').waitFor();

  await ben.section.getByRole('button', { name: 'Cut off the network' }).click();
  await ben.section.getByText('Offline').waitFor();
  await ben.view.locator('.pill[data-connection="reconnecting"]').waitFor();
  await ada.setPermission('Camera', 'denied', 'Phone 1');
  const panel = await ada.openPanel('Phone');
  await chosen(ada).selectOption('Phone 2');
  assert.equal(await panel.getByLabel('Camera', { exact: true }).inputValue(), 'notDetermined');
  assert.equal(await ada.view.locator('.pill[data-connection="good"]').count(), 1);

  // The list of phones and what is set on each outlive a reload.
  await ada.page.reload();
  await ada.inPhase('outside');
  await ben.inPhase('outside');
  await ben.section.getByText('Offline').waitFor();
  await ada.openPanel('Phone');
  await ada.page.waitForFunction(() => document.querySelector('select[aria-label="Camera"]').value === 'denied');
});

test('a phone that is removed leaves the class; the others stay as they are', async () => {
  const [ada, ben] = await beside(await open());
  await ada.enter({ name: 'Ada' });
  await ben.enter({ name: 'Ben' });
  await ben.tile('Ada').waitFor();
  await ada.section.getByRole('button', { name: 'Remove phone 1' }).click();
  await ben.tile('Ada').waitFor({ state: 'detached' });
  assert.deepEqual(await ben.people(), ['Ben']);
  assert.equal(await ben.page.locator('.phone').count(), 1);
  assert.equal(await ben.section.getByRole('button', { name: 'Remove' }).count(), 0, 'the last one stays');
  await ben.page.getByRole('button', { name: 'Add a phone' }).click();
  await ada.inPhase('outside'); // number 1 is free again
  assert.deepEqual(await ben.people(), ['Ben']);
});

test('on a small screen one phone is in sight at a time', async () => {
  const [first, second] = await beside(await open({ width: 390, height: 844 }));
  await first.section.waitFor({ state: 'hidden' });
  assert.equal(await second.section.isVisible(), true);
  await second.fillIn({ name: 'Ben' });
  await first.page.getByRole('navigation', { name: 'Phones' }).getByRole('button', { name: 'Phone 1' }).click();
  await first.fillIn({ name: 'Ada' });
  await first.page.getByRole('button', { name: 'Phone 2' }).click();
  assert.equal(await second.view.getByLabel('Your name').inputValue(), 'Ben');
});

for (const screen of screens)
  test(`the checker finds nothing in the workbench at ${screen.width}x${screen.height}`, async () => {
    const first = await open(screen);
    const checker = checkerOf(first);
    const check = checker.look;
    const [, second] = await beside(first);
    await check('two phones');
    await second.enter({ name: 'Ben' });
    await second.control('Camera').click();
    await second.answerPrompt('camera', false);
    await second.view.locator('.toast.bad').waitFor();
    const panel = await first.openPanel('Time line');
    await check('a time line');
    await first.row('startLocalPreview').first().locator('.row-head').click();
    await panel.locator('.details').waitFor();
    await check('a row that is unfolded');
    await panel.locator('.menu summary').click();
    await check('the menu');
    await panel.getByRole('button', { name: 'Clear' }).click();
    await panel.locator('.rows-none').waitFor();
    await check('an empty time line');
    checker.hasFoundNothing();
  });

/** Collects what the checker finds in each state: `look` where there is one, and at last that there is nothing. */
function checkerOf(phone) {
  const found = [];
  return {
    async look(state) {
      for (const finding of await phone.findings()) found.push(`${state}: ${finding}`);
    },
    hasFoundNothing: () => assert.deepEqual(found, []),
  };
}

test('by what stands on the screen: two phones enter, one refuses the camera, the other loses its network, the error is found, the session saved', async () => {
  const first = await blank();
  const { page } = first;
  const checker = checkerOf(first);
  await page.goto(address());
  await page.getByRole('button', { name: 'Add a phone' }).click();
  const [one, two] = [1, 2].map((number) => {
    const phone = page.getByRole('region', { name: `Phone ${number}` });
    return { phone, screen: phone.frameLocator('iframe') };
  });
  for (const { screen } of [one, two]) {
    await screen.getByRole('button', { name: 'Enter room' }).click();
    await screen.getByText('Please enter a name.').waitFor();
  }
  await checker.look('names are missing');
  for (const [{ screen }, name] of [
    [one, 'Ada'],
    [two, 'Ben'],
  ]) {
    await screen.getByLabel('Your name').fill(name);
    await screen.getByRole('button', { name: 'Enter room' }).click();
    await screen.getByRole('heading', { name: 'Room 101' }).waitFor();
  }
  await checker.look('in the room');
  await one.screen.getByRole('button', { name: 'Turn on the camera' }).click();
  await one.phone.getByText('Would Like to Access the Camera').waitFor();
  await checker.look('a prompt');
  await one.phone.getByRole('button', { name: 'Don’t Allow' }).click();
  await one.screen.getByText('user not allowed access camera').waitFor();
  await two.phone.getByRole('button', { name: 'Cut off the network' }).click();
  await two.phone.getByText('Offline').waitFor();
  await two.screen.getByText('Reconnecting').waitFor();
  await checker.look('refused and cut off');

  await page.getByRole('button', { name: 'Developer panel' }).click();
  const panel = page.getByRole('complementary', { name: 'Developer panel' });
  await panel.getByLabel('Phone that the panel shows').selectOption('Phone 1');
  await panel.getByRole('button', { name: 'Only failures' }).click();
  await panel.getByRole('treeitem', { name: 'startLocalPreview' }).getByText('startLocalPreview').first().click();
  await panel.getByText('error -1314: user not allowed access camera').waitFor();
  await checker.look('the error');
  await panel.getByText('Export').click();
  await checker.look('what can be saved');
  const [download] = await Promise.all([
    page.waitForEvent('download'),
    panel.getByRole('button', { name: 'Everything' }).click(),
  ]);
  assert.equal(download.suggestedFilename(), 'phone-1.jsonl');
  const rows = readFileSync(await download.path(), 'utf8').trimEnd().split('\n').map((line) => JSON.parse(line));
  const failures = rows.filter(({ kind, failed }) => kind === 'answer' && failed);
  assert.deepEqual(failures.map(({ title, data }) => [title, data.error.errcode]), [
    ['enterRoom', -3319], // without a name
    ['startLocalPreview', -1314],
  ]);
  checker.hasFoundNothing();
});

test('by keyboard alone: two phones enter, one is refused the camera, the other loses its network, the error is found, the session saved', async () => {
  const first = await open();
  const { page } = first;
  const checker = checkerOf(first);
  const key = (name) => page.keyboard.press(name);
  const focusOn = async (name) => {
    for (let presses = 0; presses < 60; ++presses) {
      await key('Tab');
      const found = await Promise.all(
        page.frames().map((frame) =>
          frame.evaluate((wanted) => {
            const element = document.activeElement;
            const label = element?.labels?.[0]?.textContent ?? '';
            const names = [element?.ariaLabel, element?.textContent?.trim(), label.trim()];
            return document.hasFocus() && element?.tagName !== 'IFRAME' && names.includes(wanted);
          }, name),
        ),
      );
      if (found.includes(true)) return;
    }
    assert.fail(`Tab never came to ${name}`);
  };
  const press = async (name) => {
    await focusOn(name);
    await key('Enter');
  };
  await press('Add a phone');
  const [ada, ben] = [1, 2].map((number) => first.numbered(number));
  await ben.inPhase('outside');
  for (const [phone, name] of [
    [ada, 'Ada'],
    [ben, 'Ben'],
  ]) {
    await focusOn('Your name');
    await page.keyboard.type(name);
    await key('Enter');
    await phone.inPhase('inside');
  }
  await ada.tile('Ben').waitFor();
  await checker.look('in the room');
  await press('Turn on the camera'); // Tab goes on from where Ben is: to Ben's
  await ben.dialog('prompt-camera').waitFor();
  await checker.look('a prompt');
  await key('Escape'); // refuses
  await ben.view.locator('.toast.bad').waitFor();
  await focusOn('Add a phone'); // once around
  await press('Cut off the network');
  await ada.section.getByText('Offline').waitFor();
  assert.equal(await ben.section.getByText('Offline').count(), 0);
  await checker.look('refused and cut off');

  await focusOn('Add a phone');
  await press('Developer panel');
  const panel = page.locator('.panel');
  await panel.waitFor();
  await focusOn('Phone that the panel shows');
  await page.keyboard.type('Phone 2');
  await first.row('startLocalPreview').first().waitFor();
  await press('Only failures');
  await focusOn('What has happened to Phone 2');
  await key('Home');
  await key('Enter');
  await panel.getByText('error -1314: user not allowed access camera').waitFor();
  await checker.look('the error');

  await key('Shift+Tab');
  await focusOn('What has happened to Phone 2');
  await focusBack(page, 'Export');
  await key('Enter');
  await key('Tab');
  const [download] = await Promise.all([page.waitForEvent('download'), key('Enter')]);
  const text = readFileSync(await download.path(), 'utf8');
  const rows = text.trimEnd().split('\n').map((line) => JSON.parse(line));
  const refused = rows.find(({ kind, failed }) => kind === 'answer' && failed);
  assert.equal(refused.data.error.errcode, -1314);
  assert.equal(download.suggestedFilename(), 'phone-2.jsonl');

  await key('Escape'); // closes the panel, and gives the focus back
  await panel.waitFor({ state: 'detached' });
  assert.equal(await page.evaluate(() => document.activeElement.textContent), 'Developer panel');
  checker.hasFoundNothing();
});

async function focusBack(page, text) {
  for (let presses = 0; presses < 30; ++presses) {
    await page.keyboard.press('Shift+Tab');
    if ((await page.evaluate(() => document.activeElement.textContent)) === text) return;
  }
  assert.fail(`Shift+Tab never came to ${text}`);
}

test('a saved session is one that vemo-replay plays', { skip: !process.env.VEMO_REPLAY }, async () => {
  const ada = await open();
  await ada.enter({ name: 'Ada' });
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', false);
  await ada.view.locator('.toast.bad').waitFor();
  await ada.openPanel('Time line');
  const steps = await ada.saved('Scenario');
  const folder = await mkdtemp(join(tmpdir(), 'vemo-'));
  const file = join(folder, 'session.jsonl');
  writeFileSync(file, steps.map((step) => `${JSON.stringify(step)}\n`).join(''));
  const { status, stdout, stderr } = spawnSync(process.env.VEMO_REPLAY, [file], { encoding: 'utf8' });
  await rm(folder, { recursive: true });
  assert.equal(stderr, '');
  assert.equal(status, 0);
  const effects = stdout.trimEnd().split('\n').map((line) => JSON.parse(line));
  const replies = effects.filter(({ effect }) => effect === 'reply');
  assert.ok(replies.some(({ action, error }) => action === 'startLocalPreview' && error?.errcode === -1314));
});

/** A window whose phones are played here: `answer(frame, send)` gets each frame of the shell. */
async function openFake(answer) {
  const first = await blank();
  const phone = {};
  await first.page.routeWebSocket(/\/phone\?/, (socket) => {
    phone.send = (frame) => socket.send(JSON.stringify(frame));
    phone.tell = (action, retval, needLog = true) =>
      phone.send({
        kind: 'script',
        needLog,
        text: `vemoBridge.onEvent(${JSON.stringify({ head: { module: 'kobucb', action }, retval })})`,
      });
    socket.onMessage((text) => answer?.(JSON.parse(text), phone));
  });
  await first.page.goto(address());
  await first.page.locator('.phone[data-state="ready"]').waitFor();
  return { first, phone };
}

test('what the router notes stands beneath its cause, in the lane of its thread', async () => {
  const noted = (thread, number, what) => ({ kind: 'noted', at: Date.now(), thread, number, ...what });
  const { first, phone } = await openFake((frame, { send }) => {
    if (frame.kind !== 'message' || !frame.text.includes('registCallBacks')) return;
    send(noted('main', 1, { step: { command: 'registCallBacks' } }));
    send(noted('main', 1, { effect: { effect: 'log', record: { actionName: 'noted' } } }));
  });
  await first.openPanel('Time line');
  const command = first.row('registCallBacks');
  await command.locator('.waits', { hasText: 'waiting' }).waitFor();
  assert.equal(await first.row('noted').count(), 0);
  await command.locator('.row-head').click();
  await first.row('noted').waitFor();
  assert.equal(await first.row('noted').getAttribute('aria-level'), '2');
  await command.locator('.row-head').click();
  await first.row('noted').waitFor({ state: 'detached' });

  phone.send(noted('engine', 2, { step: { event: 'onWarning', args: [1, 'slow', null] } }));
  const lanes = first.row('onWarning').locator('.lane');
  await first.row('onWarning').waitFor();
  const marked = await lanes.evaluateAll((all) => all.map((lane) => lane.childElementCount));
  assert.deepEqual(marked, [0, 0, 1], 'page, main, engine');
  phone.tell('onWarning', { warningCode: 1 });
  await first.page.locator('.row', { hasText: 'warningCode: 1' }).waitFor();
  assert.equal(await first.row('onWarning').count(), 1);
});

test('the time line follows its end, until somebody reads on', async () => {
  const { first, phone } = await openFake();
  const panel = await first.openPanel('Time line');
  const tell = (number) => phone.tell('onWarning', { number });
  const line = (number) => panel.locator('.row', { hasText: `number: ${number}` });
  for (let number = 100; number < 200; ++number) tell(number);
  await line(199).waitFor();
  const head = line(198).locator('.row-head');
  const before = await head.boundingBox();
  await head.click();
  await line(198).locator('pre').waitFor();
  assert.equal((await head.boundingBox()).y, before.y, 'what is unfolded stays where it was pressed');
  tell(200);
  await panel.getByRole('tree').evaluate(
    (tree) =>
      new Promise((resolve) => {
        const look = () =>
          tree.querySelector('.row').ariaSetSize >= 102 ? resolve() : requestAnimationFrame(look);
        look();
      }),
  );
  assert.equal((await head.boundingBox()).y, before.y);
  await panel.getByRole('button', { name: 'Records', exact: true }).click();
  await panel.getByRole('tree').focus();
  await first.page.keyboard.press('End');
  await line(200).waitFor();
  tell(201);
  await line(201).waitFor();
});

test('a command that waits counts the seconds', async () => {
  const { first } = await openFake();
  await first.openPanel('Time line');
  await first.row('registCallBacks').locator('.waits', { hasText: /waiting [2-9]/ }).waitFor();
  await first.page.getByRole('button', { name: 'Reload the page' }).click();
  await first.row('registCallBacks').first().locator('.over').waitFor();
  await first.row('registCallBacks').first().locator('.row-head').click();
  await first.page.getByText('The page is gone.').waitFor();
});

test('a clock that is set changes no duration', async () => {
  const first = await blank();
  const { page } = first;
  await page.addInitScript(() => {
    const { now } = Date;
    let ahead = 0;
    Date.now = () => now() + ahead;
    window.setClock = (ms) => (ahead = ms);
  });
  await first.visit(address());
  await first.openPanel('Time line');
  await first.enter({ name: 'Ada' });
  await first.control('Camera').click();
  await first.dialog('prompt-camera').waitFor();
  const preview = first.row('startLocalPreview').first();
  const waits = preview.locator('.waits');
  for (const hours of [2, -2]) {
    await page.evaluate((ms) => window.setClock(ms), hours * 3_600_000);
    const before = await waits.innerText();
    await page.waitForFunction((text) => document.querySelector('.waits').innerText !== text, before);
    assert.match(await waits.innerText(), /^waiting \d+(\.\d)? s$/);
  }
  await first.answerPrompt('camera', false);
  const took = preview.locator('.took');
  await took.waitFor();
  assert.match(await took.innerText(), /^\d+(\.\d)? s$/);
});
