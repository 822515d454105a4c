// Real pages in Chromium, through the real router, in one simulated cloud.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { Phone, sendRaw, simulatorForEachTest, startSimulator } from '../../testing/browser.mjs';

const { newPage, open, entered } = simulatorForEachTest({ options: ['--room-capacity', '3'] });

test('two pages in one room see each other, and one leave', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben' });
  await ada.tile('Ben').waitFor();
  await ben.tile('Ada').waitFor();
  assert.deepEqual(await ada.people(), ['Ada', 'Ben']);

  await ben.control('Leave').click();
  await ben.inPhase('outside');
  await ada.tile('Ben').waitFor({ state: 'detached' });
  assert.deepEqual(await ada.people(), ['Ada']);
});

test('only those who come later are said to be on stage now', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await open();
  // Notices go away again, so they are written down as they come.
  await ben.view.locator('body').evaluate((body) => {
    window.notices = [];
    new MutationObserver((changes) => {
      for (const { addedNodes } of changes)
        for (const node of addedNodes) if (node.classList?.contains('toast')) notices.push(node.textContent);
    }).observe(body, { childList: true, subtree: true });
  });
  await ben.enter({ name: 'Ben' });
  await ben.tile('Ada').waitFor();
  await entered({ name: 'Eve' });
  await ben.view.locator('.toast', { hasText: 'Eve is on stage now.' }).waitFor({ state: 'attached' });
  const notices = await ben.view.locator('body').evaluate(() => window.notices);
  assert.equal(notices.includes('Ada is on stage now.'), false, `notices: ${notices}`);
  await ada.tile('Eve').waitFor();
});

test('pages in different rooms do not meet', async () => {
  const ada = await entered({ name: 'Ada', room: 1 });
  const ben = await entered({ name: 'Ben', room: 2 });
  const eve = await entered({ name: 'Eve', room: 1 });
  await ada.tile('Eve').waitFor();
  await eve.tile('Ada').waitFor();
  assert.deepEqual(await ben.people(), ['Ben']);
});

test('failed enters are told in words, and the next try works', async () => {
  const ada = await open();
  assert.match(await ada.tryToEnter({ name: 'Ada', signature: 'bad' }), /signature is not valid/);
  assert.match(await ada.tryToEnter({ name: 'Ada', signature: 'good', room: 0 }), /no room with that number/);
  assert.match(await ada.tryToEnter({ name: '', room: 1 }), /enter a name/);
  assert.match(await ada.tryToEnter({ name: 'Ada', application: 0 }), /application is not known/);
  await ada.enter({ name: 'Ada', application: 20240001 });
});

test('the page’s address fills in the form, and what was typed over it is kept', async () => {
  const ada = await open();
  const page = ada.page.frames().find((frame) => frame.url().endsWith('classroom.html'));
  const name = ada.view.getByLabel('Your name');
  const goTo = async (query) => {
    await page.goto(new URL(`classroom.html${query}`, page.url()).href);
    await ada.inPhase('outside');
  };
  await goTo('?user=Ada%20Lovelace&room=7');
  assert.equal(await ada.view.getByLabel('Room', { exact: true }).inputValue(), '7');
  assert.equal(await name.inputValue(), 'Ada Lovelace');
  await name.fill('Ada L.');
  await name.press('Tab');
  await goTo('?user=Ada%20Lovelace&room=7');
  assert.equal(await name.inputValue(), 'Ada L.');
  await goTo('?user=Ben&role=audience');
  assert.equal(await name.inputValue(), 'Ben');
  assert.equal(await ada.view.getByRole('radio', { name: 'Audience' }).isChecked(), true);
  await ada.view.getByRole('button', { name: 'Enter room' }).click();
  await ada.inPhase('inside');
  assert.deepEqual(await ada.people(), ['Ben']);
});

test('a full room is told of', async () => {
  for (const name of ['Ada', 'Ben', 'Eve']) await entered({ name });
  const late = await open();
  assert.match(await late.tryToEnter({ name: 'Late' }), /room is full/);
});

test('volume, quality and availability are shown as events report them', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben' });
  const tile = ben.tile('Ada');
  await tile.locator('.state[data-state="off"]').first().waitFor();
  await ada.control('Microphone').click();
  await ada.answerPrompt('camera', true); // the gate asks for the camera here, by design
  await tile.locator('.state[title="Microphone on"]').waitFor();
  await ben.view.locator('.tile[data-user="Ada"][data-speaking="yes"]').waitFor();
  await tile.locator('.quality[data-quality="1"]').waitFor();

  await ada.control('Microphone').click();
  await tile.locator('.state[title="Microphone off"]').waitFor();
  await ben.view.locator('.tile[data-user="Ada"][data-speaking="no"]').waitFor();
});

/** A class of three at rest, as Ada sees it. */
async function classAtRest() {
  const ada = await entered({ name: 'Ada' });
  for (const name of ['Ben', 'Eve']) await entered({ name });
  for (const name of ['Ada', 'Ben', 'Eve'])
    await ada.tile(name).locator('.quality[data-quality="1"]').waitFor();
  await ada.view.locator('.toast').first().waitFor({ state: 'detached' });
  return ada;
}

/** What changes in `element` until the router has told of statistics twice: all that comes again and again. */
async function changesAtRest(ada, element) {
  await element.evaluate((body) => {
    body.changes = [];
    new MutationObserver((seen) => {
      for (const { target, attributeName, type } of seen)
        body.changes.push(`${target.className ?? target.data} ${attributeName ?? type}`);
    }).observe(body, { subtree: true, childList: true, attributes: true, characterData: true });
  });
  // Volumes, qualities and statistics go on coming.
  const session = await ada.page.context().newCDPSession(ada.page);
  let measured = 0;
  const measuredAgain = new Promise((resolve) => {
    session.on('Network.webSocketFrameReceived', ({ response }) => {
      if (response.payloadData.includes('"event":"onStatistics"') && ++measured === 2) resolve();
    });
  });
  await session.send('Network.enable');
  await measuredAgain;
  await session.detach();
  return () => element.evaluate(({ changes }) => changes);
}

test('a class at rest changes nothing in the page', async () => {
  const ada = await classAtRest();
  // Each frame that is asked for makes the browser work, though it shows nothing new.
  const page = ada.page.frames()[1];
  await page.evaluate(async () => {
    const ask = self.requestAnimationFrame.bind(self);
    // The notice that has just gone is looked after for some frames more.
    for (let frame = 0; frame < 5; ++frame) await new Promise(ask);
    self.framesAsked = 0;
    self.requestAnimationFrame = (task) => {
      self.framesAsked += 1;
      return ask(task);
    };
  });
  const changes = await changesAtRest(ada, ada.view.locator('body'));
  assert.deepEqual(await changes(), []);
  assert.equal(await page.evaluate(() => self.framesAsked), 0);
});

test('a class at rest changes nothing in a time line that is open, save for the count', async () => {
  const ada = await classAtRest();
  const panel = await ada.openPanel('Time line');
  await ada.row('enterRoom').waitFor();
  const count = await panel.locator('.rows-count').innerText();
  const changes = await changesAtRest(ada, panel.locator('.rows'));
  await ada.page.waitForFunction((count) => document.querySelector('.rows-count').innerText !== count, count);
  assert.deepEqual(await changes(), []);
  // What comes again and again is drawn for whoever asks for it.
  await panel.getByRole('button', { name: 'Periodic' }).click();
  const shown = Number(await panel.locator('.row').first().getAttribute('aria-setsize'));
  await ada.page.waitForFunction((size) => document.querySelector('.row').ariaSetSize > size, shown);
});

test('an audience member goes on stage and back', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben', role: 'audience' });
  assert.equal(await ben.control('Microphone').isDisabled(), true);
  await ben.control('Role').click();
  await ada.tile('Ben').waitFor();
  assert.equal(await ben.control('Microphone').isDisabled(), false);
  await ben.control('Role').click();
  await ada.tile('Ben').waitFor({ state: 'detached' });
  await ben.view.locator('[data-control="Microphone"]:disabled').waitFor();
});

test('a page that reloads in the room leaves it and hears nothing of its old router', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben' });
  await ben.tile('Ada').waitFor();
  await ada.page.reload();
  await ben.tile('Ada').waitFor({ state: 'detached' });
  await ada.inPhase('outside');
  assert.equal(await ada.control('Leave').count(), 0);
  assert.equal(await ada.view.locator('.tile').count(), 0);
  await ada.enter({ name: 'Ada' });
  await ben.tile('Ada').waitFor();
});

test('the web view alone reloads as well', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben' });
  await ben.tile('Ada').waitFor();
  await ada.page.getByRole('button', { name: 'Reload the page' }).click();
  await ben.tile('Ada').waitFor({ state: 'detached' });
  await ada.inPhase('outside');
});

test('a reply of before a reload never reaches the page after it', async () => {
  const ada = await open();
  await ada.fillIn({ name: 'Ada' });
  const page = ada.page.frames().find((frame) => frame.url().endsWith('classroom.html'));
  // The command is under way when the page goes; its reply would carry the old page's id.
  await page.evaluate(() => {
    document.querySelector('.primary').click();
    location.reload();
  });
  await ada.inPhase('outside');
  const answers = (await ada.timeLine()).filter(({ kind }) => kind === 'answer');
  assert.ok(answers.length > 0);
  assert.deepEqual(answers.filter(({ title }) => title === 'enterRoom'), []);
  const ben = await entered({ name: 'Ben' });
  assert.deepEqual(await ben.people(), ['Ben']);
});

test('a lost connection is shown, and its return', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Phone');
  await panel.getByRole('button', { name: 'Cut off' }).click();
  await ada.view.locator('.pill[data-connection="reconnecting"]').waitFor();
  await panel.getByRole('button', { name: 'Restore' }).click();
  await ada.view.locator('.pill[data-connection="good"]').waitFor();
});

test('a page that dies leaves the room, and the others go on', async () => {
  const ada = await entered({ name: 'Ada' });
  const eve = await entered({ name: 'Eve' });
  await ada.tile('Eve').waitFor();
  const session = await eve.page.context().newCDPSession(eve.page);
  session.send('Page.crash').catch(() => {}); // nothing is left that could answer
  await ada.tile('Eve').waitFor({ state: 'detached' });
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', true);
  await ada.nativeView('Ada').waitFor();
  const ben = await entered({ name: 'Eve' });
  await ben.nativeView('Ada').waitFor();
});

for (const signal of ['SIGTERM', 'SIGKILL']) {
  test(`a simulator that ends by ${signal} under the page is told of`, async () => {
    const ada = await entered({ name: 'Ada' });
    const own = await startSimulator(['--log', '/dev/null']);
    const ben = await Phone.open(await newPage(), own.address);
    await ben.enter({ name: 'Ben' });
    await own.stop(signal);
    await ben.inPhase('stopped');
    await ben.view.getByText('The connection has ended').waitFor();
    assert.equal(await ben.view.locator('.control').count(), 0);
    await ben.view.getByRole('button', { name: 'Try again' }).click();
    await ben.inPhase('stopped');
    await ada.inPhase('inside');
  });
}

test('a page finds a simulator that was started again', async () => {
  const first = await startSimulator(['--log', '/dev/null']);
  const port = new URL(first.address).port;
  const ada = await Phone.open(await newPage(), first.address);
  await first.stop();
  await ada.inPhase('stopped');
  const second = await startSimulator(['--port', port, '--log', '/dev/null']);
  await ada.view.getByRole('button', { name: 'Try again' }).click();
  await ada.inPhase('outside');
  await ada.enter({ name: 'Ada' });
  await second.stop();
});

test('malformed messages are answered or ignored, and the page works on', async () => {
  const ada = await open();
  const page = ada.page.frames().find((frame) => frame.url().endsWith('classroom.html'));
  const texts = [
    'no json',
    '[]',
    '{}',
    '"\ud800"',
    `${'['.repeat(5000)}`,
    '{"head":{"action":"initSDK"},"params":7,"cbid":"params"}',
    '{"head":{"action":"nose"},"cbid":"unknown"}',
    `{"head":{"action":"initSDK"},"cbid":"long","params":{"a":"${'x'.repeat(1 << 20)}"}}`,
    '{"head":{"action":"initSDK"},"cbid":"last"}',
  ];
  const replies = await sendRaw(page, texts, 'last');
  const errors = Object.fromEntries(replies.map(({ head, error }) => [head.cbid, error]));
  assert.equal(errors.params.errmsg, 'bad message');
  assert.equal(errors.unknown.errmsg, 'unknown action');
  assert.equal(errors.last.errcode, 0);
  // The page was not loaded anew for them.
  const titles = (await ada.timeLine()).map(({ title }) => title);
  assert.ok(titles.includes('nose'));
  assert.equal(titles.filter((title) => title.includes('loaded anew')).length, 0);
});

test('the time line shows commands with their answers, and events', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.openPanel('Time line');
  const command = ada.row('enterRoom');
  await command.locator('.took').waitFor();
  await command.locator('.row-head').click();
  await command.locator('pre', { hasText: '"elapsed"' }).waitFor();
  await ada.row('onEnterRoom').locator('.row-head').click();
  await ada.row('onEnterRoom').locator('pre', { hasText: '"elapsed"' }).waitFor();
});
