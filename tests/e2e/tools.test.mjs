// The tools of the simulator's panel: commands and events put in by hand, faults, bots, what is
// said of the page's messages, what it has used, and the profile in the address.

import assert from 'node:assert/strict';
import { readFile } from 'node:fs/promises';
import { test } from 'node:test';
import { screens, sendRaw, simulatorForEachTest } from '../../testing/browser.mjs';

const { open, entered, stopSimulator } = simulatorForEachTest();

async function titles(phone) {
  return (await phone.timeLine()).map(({ title }) => title);
}
/** The page in the first phone's frame. */
const pageOf = (phone) => phone.page.frames().find((frame) => frame.url().includes('classroom.html'));
const button = (panel, name) => panel.getByRole('button', { name, exact: true });

// ---- Send

test('a command is sent from a form, and answered to the tool alone', async () => {
  const ada = await entered({ name: 'Ada' });
  await pageOf(ada).evaluate(() => {
    window.answers = [];
    const { onReply } = window.vemoBridge;
    window.vemoBridge.onReply = (envelope) => {
      window.answers.push(envelope.head.action);
      onReply(envelope);
    };
  });
  const panel = await ada.openPanel('Send');
  await panel.getByLabel('Command', { exact: true }).selectOption('setAudioRoute');
  await button(panel, 'Send').click();
  await panel.getByText('It is required.').waitFor();
  assert.equal(await panel.getByLabel('route').evaluate((input) => input === document.activeElement), true);
  await panel.getByLabel('route').fill('loud');
  await panel.getByText('It must be a whole number.').waitFor();
  await panel.getByLabel('route').fill('1');
  await button(panel, 'Send').click();
  await panel.locator('.tool-history li', { hasText: 'setAudioRoute answered after' }).waitFor();
  // The engine has done it: the page hears of the new route.
  await ada.view.getByText('Sound comes from the earpiece.').waitFor();
  await ada.control('Leave').click();
  await ada.inPhase('outside');
  const answers = await pageOf(ada).evaluate(() => window.answers);
  assert.ok(answers.includes('exitRoom'), String(answers));
  assert.ok(!answers.includes('setAudioRoute'), String(answers));
  const row = (await ada.timeLine()).find(({ title, kind }) => title === 'setAudioRoute' && kind === 'command');
  assert.match(row.remarks[0].text, /with the tools, not by the page/);
  assert.equal(row.remarks.length, 1);
});

test('an error, a raw message, the history and the example', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Send');
  const history = panel.locator('.tool-history li');
  await panel.getByLabel('Command', { exact: true }).selectOption('initSDK');
  await button(panel, 'Send').click();
  await history.getByText('refused with -2').waitFor();
  await button(panel, 'JSON').click();
  await panel.getByRole('textbox', { name: /^Message/ }).fill('{"head":{"action":"dance"}}');
  await button(panel, 'Send').click();
  await history.filter({ hasText: 'dance' }).getByText('refused with -1').waitFor();
  await panel.getByRole('textbox', { name: /^Message/ }).fill('nonsense');
  await button(panel, 'Send').click();
  await history.filter({ hasText: 'not a message' }).getByText('no answer yet').waitFor();
  await button(panel, 'Send initSDK again').click();
  await history.filter({ hasText: 'initSDK' }).nth(1).getByText('refused with -2').waitFor();
  await button(panel, 'Edit dance').click();
  assert.match(await panel.getByRole('textbox', { name: /^Message/ }).inputValue(), /"dance"/);
  await panel.getByLabel('Command', { exact: true }).selectOption('startSpeedTest');
  await button(panel, 'Example').click();
  assert.equal(await panel.getByLabel('userSig').inputValue(), 'signature');
});

test('a command of the time line is sent again, and edited', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Time line');
  await ada.row('isSupportScreenCapture').first().click();
  await button(panel, 'Send again').click();
  await ada.row('isSupportScreenCapture').nth(1).waitFor();
  await button(panel, 'Edit and send').first().click();
  assert.match(await panel.getByRole('textbox', { name: /^Message/ }).inputValue(), /"isSupportScreenCapture"/);
});

// ---- Fire

test('an event of the engine is fired with fields of one’s own', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Fire');
  await panel.getByLabel('Event of the engine').selectOption('onRemoteUserEnterRoom');
  await panel.getByLabel('userId').fill('Ghost');
  await button(panel, 'Fire').click();
  await ada.tile('Ghost').waitFor();
  await panel.getByLabel('Event of the engine').selectOption('onUserVoiceVolume');
  await button(panel, 'JSON').click();
  await panel.getByLabel('Arguments, in order').fill('[[{"userId":"Ghost","volume":"loud"}],1]');
  await button(panel, 'Fire').click();
  await panel.getByText(/argument 1 of onUserVoiceVolume is no such record: .*volume/).waitFor();
  await panel.getByLabel('Arguments, in order').fill('{}');
  await button(panel, 'Fire').click();
  await panel.getByText('The arguments must be a list in JSON.').waitFor();
});

test('a burst of events, and every event’s example', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Fire');
  const choice = panel.getByLabel('Event of the engine');
  const names = await choice.locator('option').evaluateAll((options) => options.map(({ value }) => value));
  assert.equal(names.length, 27);
  for (const name of names) {
    if (name === 'onExitRoom') continue; // it would end the lesson
    await choice.selectOption(name);
    await button(panel, 'Fire').click();
  }
  await choice.selectOption('onUserAudioAvailable');
  await panel.getByLabel('times').fill('1001');
  await button(panel, 'Fire').click();
  await panel.getByText('1 to 1000 times').waitFor();
  await panel.getByLabel('userId').fill('Ghost');
  await panel.getByLabel('times').fill('300');
  await button(panel, 'Fire').click();
  const told = await ada.openPanel('Coverage');
  const row = told.locator('tr', { hasText: 'onUserAudioAvailable' });
  await row.getByText('301').waitFor();
  const seen = await ada.timeLine();
  assert.deepEqual(seen.filter(({ kind }) => kind === 'problem'), []);
  assert.ok(seen.some(({ title }) => title === 'Fired: onUserAudioAvailable, 300 times'));
});

test('a notification of the broadcast extension', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Fire');
  await button(panel, 'Started').click();
  await ada.view.getByText('Your screen is shared.').waitFor();
});

// ---- Faults

test('late answers are on, shown and off again', async () => {
  const ada = await open();
  const panel = await ada.openPanel('Faults');
  await panel.getByLabel('Answers come late: by how many milliseconds').fill('60000');
  await panel.getByRole('switch', { name: 'Answers come late' }).check();
  await panel.getByText('On: answers are 60000 ms late.').waitFor();
  await ada.page.getByRole('button', { name: '1 fault' }).waitFor();
  await ada.fillIn({ name: 'Ada' });
  await button(ada.view, 'Enter room').click();
  await ada.inPhase('entering');
  // The router has answered; only the page does not know.
  await ada.openPanel('Time line');
  await ada.row('Fault: the answer to enterRoom is late').waitFor();
  await ada.view.locator('body[data-phase="entering"]').waitFor();
  await ada.openPanel('Faults');
  await button(panel, 'All off').click();
  await panel.getByText('No fault is on.').waitFor();
  assert.equal(await ada.page.locator('.badge').count(), 0);
  const seen = await titles(ada);
  assert.ok(seen.includes('Fault on: answers are 60000 ms late'));
  assert.ok(seen.includes('Fault off: answers are late'));
});

test('a lost answer is one that the page waits for, and the next is not lost', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Faults');
  await panel.getByLabel('Answers are lost: percent').fill('100');
  await panel.getByRole('switch', { name: 'Answers are lost' }).check();
  await ada.setPermission('Camera', 'authorized');
  await ada.control('Camera').click();
  await ada.openPanel('Time line');
  await ada.row('Fault: the answer to startLocalPreview is lost').waitFor();
  assert.equal(await ada.view.locator('[data-control="Camera"][data-look="on"]').count(), 0);
  await ada.openPanel('Faults');
  await panel.getByRole('switch', { name: 'Answers are lost' }).uncheck();
  await ada.page.getByRole('button', { name: 'Close panel' }).click();
  await ada.control('Microphone').click();
  await ada.view.locator('[data-control="Microphone"][data-look="on"]').waitFor();
});

test('doubled and reordered answers leave a page that counts them right as it is', async () => {
  const ada = await open();
  const panel = await ada.openPanel('Faults');
  await panel.getByLabel('Answers come twice: percent').fill('100');
  await panel.getByRole('switch', { name: 'Answers come twice' }).check();
  await panel.getByLabel('Answers overtake each other: percent').fill('100');
  await panel.getByRole('switch', { name: 'Answers overtake each other' }).check();
  await ada.page.getByRole('button', { name: '2 faults' }).waitFor();
  await ada.page.getByRole('button', { name: 'Close panel' }).click();
  await ada.enter({ name: 'Ada' });
  await ada.tile('Ada').waitFor();
  const seen = await titles(ada);
  assert.ok(seen.some((title) => title.endsWith('comes twice')));
  assert.ok(seen.some((title) => title.endsWith('is overtaken by a later one')));
});

test('a permission is taken away in mid-use, and given back', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.setPermission('Camera', 'authorized');
  await ada.control('Camera').click();
  await ada.nativeView('Ada').waitFor();
  const panel = await ada.openPanel('Faults');
  await panel.getByRole('switch', { name: 'Refuse the camera' }).check();
  await panel.getByText('On: the camera is refused.').waitFor();
  await ada.view.getByText('The camera can’t be used without your permission.').first().waitFor();
  await ada.openPanel('Phone');
  assert.equal(await panel.getByLabel('Camera', { exact: true }).inputValue(), 'denied');
  await ada.openPanel('Faults');
  await panel.getByRole('switch', { name: 'Refuse the camera' }).uncheck();
  await panel.getByText('No fault is on.').waitFor();
  await ada.openPanel('Phone');
  assert.equal(await panel.getByLabel('Camera', { exact: true }).inputValue(), 'authorized');
});

test('downloads fail with a code of one’s own, over a reload of the page', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Faults');
  await panel.getByLabel('Code of failing downloads').fill('-77');
  await panel.getByLabel('Code of failing downloads').press('Enter');
  await panel.getByRole('switch', { name: 'Downloads fail' }).check();
  await panel.getByText('On: downloads fail with -77.').waitFor();
  await button(panel, 'Reload now').click();
  await ada.inPhase('outside');
  await ada.openPanel('Send');
  await panel.getByLabel('Command', { exact: true }).selectOption('setVideoMuteImage');
  await button(panel, 'Example').click();
  await button(panel, 'Send').click();
  await panel.getByText('refused with -77').waitFor();
});

test('the page is loaded anew in mid-call', async () => {
  const ada = await open();
  const panel = await ada.openPanel('Faults');
  await panel.getByRole('switch', { name: 'When the page sends' }).check();
  await panel.getByText('On: reload at enterRoom.').waitFor();
  await ada.fillIn({ name: 'Ada' });
  await button(ada.view, 'Enter room').click();
  await panel.getByText('No fault is on.').waitFor();
  await ada.inPhase('outside');
  await ada.openPanel('Time line');
  await ada.row('The page is loaded anew in mid-call').waitFor();
  await ada.row('enterRoom').getByText('never answered').waitFor();
});

test('an error of the engine by its code', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Faults');
  await panel.getByLabel('Code', { exact: true }).fill('many');
  await panel.getByText('A code is a whole number.').waitFor();
  await panel.getByLabel('Code', { exact: true }).fill('-3316');
  await panel.locator('.tool-help', { hasText: 'This room is full.' }).waitFor();
  await button(panel, 'Raise').click();
  // It ends the stay, and is still told outside.
  await ada.inPhase('outside');
  await ada.view.getByText('You are out of the room.').waitFor();
  await ada.view.getByText('The last error: This room is full.').waitFor();
});

// ---- Bots

test('three bots come, speak, show themselves, share, lose the network and leave', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Bots');
  await button(panel, 'Add').click();
  await panel.locator('[data-bot][data-at="inside"]').nth(2).waitFor();
  for (const name of ['Ann', 'Ben', 'Cem']) await ada.tile(name).waitFor();
  const ann = panel.locator('[data-bot="Ann"]');
  await button(ann, 'Speak').click();
  await ada.view.locator('.tile[data-user="Ann"][data-speaking="yes"]').waitFor();
  await button(ann, 'Camera').click();
  await ada.nativeView('Ann').waitFor();
  await button(ann, 'Share').click();
  await ada.screenTile('Ann').waitFor();
  await button(ann, 'Share').click();
  await ada.screenTile('Ann').waitFor({ state: 'detached' });
  await button(ann, 'Leave').click();
  await ada.tile('Ann').waitFor({ state: 'detached' });
  await button(ann, 'Enter').click();
  await ada.tile('Ann').waitFor();
  const ben = panel.locator('[data-bot="Ben"]');
  await button(ben, 'Offline').click();
  await ben.locator('[aria-pressed="true"]', { hasText: 'Offline' }).waitFor();
  await button(ben, 'Offline').click();
  await button(panel, 'Remove Cem').click();
  await ada.tile('Cem').waitFor({ state: 'detached' });
  await button(panel, 'Remove all').click();
  await ada.tile('Ben').waitFor({ state: 'detached' });
});

test('a lively class plays by itself', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Bots');
  await button(panel, 'Add').click();
  await panel.locator('[data-bot][data-at="inside"]').nth(2).waitFor();
  await panel.getByRole('switch', { name: 'A lively class' }).check();
  await panel.getByRole('status').filter({ hasText: /^(Ann|Ben|Cem) \w+/ }).waitFor();
  await panel.getByRole('switch', { name: 'A lively class' }).uncheck();
});

test('a bot of one’s own choice, and what is refused', async () => {
  const ada = await open();
  const panel = await ada.openPanel('Bots');
  await panel.getByLabel('Room').fill('x');
  await button(panel, 'Add').click();
  await panel.getByText('Room and application are numbers').waitFor();
  await panel.getByLabel('Room').fill('7');
  await panel.getByLabel('How many').fill('21');
  await button(panel, 'Add').click();
  await panel.getByText('There can be 1 to 20 bots.').waitFor();
  await panel.getByLabel('Name of a single one').fill('Zoe');
  await panel.getByLabel('Role').selectOption('audience');
  assert.equal(await panel.getByLabel('How many').isDisabled(), true);
  await panel.getByLabel('Name of a single one').press('Enter');
  // A name is enough: the number does not matter then.
  await panel.getByText('There can be 1 to 20 bots.').waitFor({ state: 'hidden' });
  const zoe = panel.locator('[data-bot="Zoe"]');
  await zoe.getByText('room 7, audience, in the room').waitFor();
  assert.equal(await button(zoe, 'Speak').isDisabled(), true);
});

test('a bot says that its simulator has gone', async () => {
  const ada = await open();
  const panel = await ada.openPanel('Bots');
  await button(panel, 'Add').click();
  await panel.locator('[data-bot][data-at="inside"]').nth(2).waitFor();
  await stopSimulator();
  const ann = panel.locator('[data-bot="Ann"][data-at="gone"]');
  await ann.getByText('takes no further phone, or has stopped').waitFor();
  assert.equal(await button(ann, 'Offline').isDisabled(), true);
});

// ---- Lint and coverage

test('the classroom’s own lesson gives true remarks alone', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben' });
  await ada.control('Microphone').click();
  await ada.answerPrompt('camera', true);
  await ada.view.locator('[data-control="Microphone"][data-look="on"]').waitFor();
  await ada.control('Camera').click();
  await ben.nativeView('Ada').waitFor();
  await ada.control('Camera').click();
  await ben.nativeView('Ada').waitFor({ state: 'detached' });
  for (const page of ['people', 'devices', 'music', 'network']) {
    await ada.openPage(page);
    await ada.page.keyboard.press('Escape');
  }
  await ada.control('Role').click();
  await ada.view.locator('[data-control="Role"]').waitFor();
  await ada.control('Leave').click();
  await ada.inPhase('outside');
  const rows = await ada.timeLine();
  const remarks = rows.flatMap(({ remarks = [], title }) => remarks.map(({ text }) => `${title}: ${text}`));
  assert.equal(remarks.length, 1, remarks.join('\n'));
  assert.match(remarks[0], /the system asks for the camera: that is the system’s own doing/);
});

test('what is odd about a page’s messages stands at their rows', async () => {
  const ada = await open();
  const message = (action, params, cbid) => JSON.stringify({ head: { action }, params, cbid });
  const enter = { appScene: 1, sdkAppId: 1, userID: 'ada', userSig: 's', roomId: 7 };
  await sendRaw(
    pageOf(ada),
    [
      message('startLocalPreview', {}, 'early'),
      message('registCallBacks', { callbacks: [{ sdkcbName: 'onError', jsRecvcbName: 'no.where' }] }, 'r'),
      message('initSDK', {}, 'i'),
      message('enterRoom', enter, 'first'),
      message('enterRoom', { ...enter, userId: 'ada', roomId: 'seven' }, 'first'),
      message('getSDKVersion', {}, 'last'),
    ],
    'last',
  );
  const said = new Map();
  for (const { title, remarks = [] } of await ada.timeLine())
    for (const { text } of remarks) said.set(text, title);
  const says = (pattern) => assert.ok([...said.keys()].some((text) => pattern.test(text)), `${pattern}`);
  says(/“startLocalPreview” comes before “initSDK”/);
  says(/“onError” goes to “no.where”, and the page has no such function/);
  says(/“userID”.*Did you mean “userId”\?/);
  says(/This replaces the “enterRoom” that still waits/);
  says(/The cbid “first” is that of a “enterRoom”/);
  says(/“roomId” should be a whole number, not the text "seven"/);
});

test('the coverage of a lesson, saved as text and as JSON', async () => {
  const ada = await entered({ name: 'Ada' });
  const panel = await ada.openPanel('Coverage');
  await panel.locator('tr[data-used="true"]', { hasText: 'enterRoom' }).first().waitFor();
  const saved = async (name) => {
    const [download] = await Promise.all([ada.page.waitForEvent('download'), button(panel, name).click()]);
    return readFile(await download.path(), 'utf8');
  };
  assert.match(await saved('Save as text'), /^ {2}enterRoom: 1 sent$/m);
  const { commands } = JSON.parse(await saved('Save as JSON'));
  assert.deepEqual(commands.find(({ name }) => name === 'playMusic'), { name: 'playMusic', sent: 0, failed: 0 });
  await panel.getByLabel('Only what was never used').check();
  await panel.getByRole('rowheader', { name: 'enterRoom', exact: true }).waitFor({ state: 'detached' });
  await panel.getByRole('rowheader', { name: 'playMusic', exact: true }).waitFor();
  await button(panel, 'Count anew').click();
  await panel.getByText(`Commands: 0 of ${commands.length} used`).waitFor();
});

// ---- The address

test('the address sets the first phone, and what was set by hand since outlives a reload', async () => {
  const query = 'os=12&camera=denied&net=bad&app=Night+school&user=Ada&room=7&role=audience&text=150&dark=yes';
  // A scheme that the driver sets would hold for all frames.
  const ada = await open({ width: 1280, height: 860, colorScheme: null }, query);
  assert.equal(await ada.view.getByLabel('Your name').inputValue(), 'Ada');
  assert.equal(await ada.view.getByLabel('Room', { exact: true }).inputValue(), '7');
  assert.equal(await ada.view.getByRole('radio', { name: 'Audience' }).isChecked(), true);
  const look = () =>
    pageOf(ada).evaluate(() => ({
      size: getComputedStyle(document.documentElement).fontSize,
      dark: matchMedia('(prefers-color-scheme: dark)').matches,
    }));
  assert.deepEqual(await look(), { size: '24px', dark: true });
  const panel = await ada.openPanel('Phone');
  assert.equal(await panel.getByLabel('Camera', { exact: true }).inputValue(), 'denied');
  assert.equal(await panel.getByLabel('Version', { exact: true }).inputValue(), '12.0.0');
  assert.equal(await panel.getByLabel('Application name').inputValue(), 'Night school');
  await panel.getByText('Bad: 600 ms, 35 % lost up, 35 % down.').waitFor();
  await panel.getByRole('slider', { name: /^Delay/ }).fill('100');
  await panel.getByText('Own: 100 ms, 35 % lost up, 35 % down.').waitFor();
  await panel.getByLabel('Camera', { exact: true }).selectOption('authorized');
  await ada.page.waitForFunction(() => sessionStorage.getItem('vemo.phone')?.includes('"camera":"authorized"'));
  await ada.page.reload();
  await ada.inPhase('outside');
  await ada.openPanel('Phone');
  await panel.getByText('Own: 100 ms, 35 % lost up, 35 % down.').waitFor();
  assert.equal(await panel.getByLabel('Camera', { exact: true }).inputValue(), 'authorized');
  assert.equal(await panel.getByLabel('Application name').inputValue(), 'Night school');
});

test('what of the address can’t be used is named, and the rest is used', async () => {
  const ada = await open(undefined, 'room=many&camara=denied&user=Ada');
  const notice = ada.page.getByRole('alert', { name: 'Address' });
  await notice.getByText('“room=many” can’t be used').waitFor();
  await notice.getByText('Did you mean “camera”?').waitFor();
  assert.equal(await ada.view.getByLabel('Your name').inputValue(), 'Ada');
  await ada.page.getByRole('button', { name: 'Close notice' }).click();
  await notice.waitFor({ state: 'detached' });
});

// ---- For everybody

for (const screen of screens) {
  test(`the checker finds nothing in the tools at ${screen.width}x${screen.height}`, async () => {
    const ada = await open(screen, 'room=many');
    const clean = async (where) => assert.deepEqual(await ada.findings(), [], where);
    await clean('the address');
    await ada.page.getByRole('button', { name: 'Close notice' }).click();
    await ada.enter({ name: 'Ada' });
    const panel = await ada.openPanel('Send');
    await panel.getByLabel('Command', { exact: true }).selectOption('enterRoom');
    await button(panel, 'Send').click();
    await clean('send, with a problem');
    await button(panel, 'JSON').click();
    await button(panel, 'Send').click();
    await panel.locator('.tool-history summary').click();
    await clean('sent');
    await ada.openPanel('Fire');
    await clean('fire');
    await ada.openPanel('Faults');
    await panel.getByRole('switch', { name: 'Answers come late' }).check();
    await clean('faults');
    await button(panel, 'All off').click();
    await ada.openPanel('Bots');
    await button(panel, 'Add').click();
    await panel.locator('[data-bot][data-at="inside"]').nth(2).waitFor();
    await clean('bots');
    await ada.openPanel('Coverage');
    await clean('coverage');
    await ada.openPanel('Phone');
    await clean('phone');
  });
}

test('by keyboard alone: the panel, a command, a fault and a bot', async () => {
  const ada = await entered({ name: 'Ada' });
  const { keyboard } = ada.page;
  const focused = () => ada.page.evaluate(() => document.activeElement.textContent);
  const panelButton = ada.page.getByRole('button', { name: 'Developer panel' });
  await panelButton.focus();
  await keyboard.press('Enter');
  const panel = ada.page.locator('.panel');
  await panel.getByRole('tab', { selected: true }).focus();
  for (const name of ['Phone', 'Send']) {
    await keyboard.press('ArrowRight');
    assert.equal(await focused(), name);
  }
  const tabTo = async (name) => {
    for (let presses = 0; presses < 40; presses++) {
      const text = await ada.page.evaluate(() => {
        const { ariaLabel, labels, textContent } = document.activeElement;
        return ariaLabel ?? labels?.[0]?.textContent ?? textContent;
      });
      if (text.trim() === name) return;
      await keyboard.press('Tab');
    }
    assert.fail(`Tab does not reach ${name}`);
  };
  await tabTo('Command');
  await keyboard.type('getSDKV');
  await tabTo('Send');
  await keyboard.press('Enter');
  await panel.locator('.tool-history li', { hasText: 'getSDKVersion answered' }).waitFor();
  await panel.getByRole('tab', { selected: true }).focus();
  await keyboard.press('ArrowRight');
  await keyboard.press('ArrowRight');
  assert.equal(await focused(), 'Faults');
  await tabTo('Answers are lost');
  await keyboard.press('Space');
  await panel.getByText('On: 25 % of answers are lost.').waitFor();
  await keyboard.press('Space');
  await panel.getByRole('tab', { selected: true }).focus();
  await keyboard.press('ArrowRight');
  await tabTo('Name of a single one');
  await keyboard.type('Zoe');
  await keyboard.press('Enter');
  await ada.tile('Zoe').waitFor();
});

test('all that is in sight of each page of the panel is reached by the Tab key', async () => {
  const ada = await open();
  await ada.enter({ name: 'Ada' });
  const panel = await ada.openPanel('Bots');
  await button(panel, 'Add').click();
  await panel.locator('[data-bot][data-at="inside"]').nth(2).waitFor();
  const pages = await panel.getByRole('tab').allInnerTexts();
  assert.equal(pages.length, 8);
  for (const name of pages) {
    const tab = panel.getByRole('tab', { name });
    await tab.click();
    let stops = 0;
    do {
      await ada.page.keyboard.press('Tab');
      await ada.page.evaluate(() => document.activeElement.setAttribute('data-reached', ''));
      assert.ok(++stops < 200, `the focus does not come back to ${name}`);
    } while (!(await tab.evaluate((element) => element === document.activeElement)));
    const missed = await panel.evaluate((element) =>
      [...element.querySelectorAll('button, input, select, textarea, summary, a[href], [role="tree"]')]
        // The other tabs are reached by arrow keys.
        .filter((one) => one.checkVisibility({ visibilityProperty: true }) && !one.disabled && one.role !== 'tab')
        .filter((one) => !one.hasAttribute('data-reached'))
        .map((one) => one.outerHTML.slice(0, 100)),
    );
    assert.deepEqual(missed, [], name);
    assert.ok(stops > 15, `${name}: ${stops} stops`);
    // The arrow keys lead to the next page.
    await ada.page.keyboard.press('ArrowRight');
    const next = pages[(pages.indexOf(name) + 1) % pages.length];
    await panel.locator('[role="tab"][aria-selected="true"]').filter({ hasText: next }).waitFor();
  }
});
