// Camera, microphone, music, screen sharing and the phone's own prompts, as people use them.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { simulatorForEachTest } from '../../testing/browser.mjs';

const { address, blank, entered } = simulatorForEachTest();

test('a camera is asked for, seen by others, paused with a picture, and turned off', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben' });
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', true);
  await ada.nativeView('Ada').waitFor();
  await ben.nativeView('Ada').waitFor();

  await ada.openPage('devices');
  await ada.view.getByRole('button', { name: 'Picture while paused' }).click();
  await ada.view.getByText('This picture is shown').waitFor({ state: 'attached' });
  await ada.control('Camera').click();
  await ada.page.locator('canvas[data-view="Ada/0"][data-kind="muteImage"]').waitFor();
  await ada.tile('Ada').locator('.state[title="Camera paused"]').waitFor();

  await ada.view.getByRole('button', { name: 'Turn off' }).first().click();
  await ben.nativeView('Ada').waitFor({ state: 'detached' });
});

test('a native view lies exactly over its place in the page', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', true);
  await ada.nativeView('Ada').waitFor();
  const place = await ada.tile('Ada').locator('.picture').boundingBox();
  const view = await ada.nativeView('Ada').boundingBox();
  for (const side of ['x', 'y', 'width', 'height'])
    assert.ok(Math.abs(place[side] - view[side]) < 1.5, `${side}: ${place[side]} ${view[side]}`);
});

test('a picture that was turned and fitted fills its place again', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.setPermission('Camera', 'authorized');
  await ada.control('Camera').click();
  await ada.nativeView('Ada').waitFor();
  const edgeIsBlack = (wanted) =>
    ada.page.waitForFunction((black) => {
      const canvas = document.querySelector('canvas[data-view="Ada/0"]');
      const { data } = canvas.getContext('2d').getImageData(2, canvas.height / 2, 1, 1);
      return (data.join() === '11,14,20,255') === black;
    }, wanted);
  await edgeIsBlack(false);
  await ada.openPage('devices');
  await ada.view.getByLabel('Own picture').selectOption('Fit');
  await ada.view.getByLabel('Turned', { exact: true }).selectOption('90°');
  await edgeIsBlack(true);
  await ada.view.getByLabel('Turned', { exact: true }).selectOption('Upright');
  await ada.view.getByLabel('Own picture').selectOption('Fill');
  await edgeIsBlack(false);
});

test('a refused camera stays off; a denied one leads to the settings', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', false);
  await ada.view.locator('.toast', { hasText: 'permission' }).waitFor();
  await ada.view.locator('.toast', { hasText: 'user not allowed access camera' }).waitFor();

  await ada.control('Camera').click();
  const alert = ada.dialog('alert');
  await alert.getByText('“Classroom”想访问您的相机').waitFor();
  await alert.getByText('因相机权限受限，无法正常访问相机，请前往设置相机访问权限。').waitFor();
  await alert.getByRole('button', { name: '前往设置' }).click();
  const settings = ada.page.locator('.settings-page');
  await settings.getByText('Camera').click();
  await settings.locator('.settings-row:first-child input:checked').waitFor();
  await settings.getByRole('button', { name: 'Back to Classroom' }).click();
  await ada.control('Camera').click();
  await ada.nativeView('Ada').waitFor();
});

// What is heard of the microphone comes behind what would be seen of the camera.
async function sendsSoundOnly(speaker, listener) {
  await speaker.control('Microphone').click();
  await listener.tile('Ada').locator('.state[title="Microphone on"]').waitFor();
  await listener.tile('Ada').locator('.state[title="Camera off"]').waitFor();
  await speaker.tile('Ada').locator('.state[title="Camera off"]').waitFor();
}

test('who comes back, to the stage or to the room, sends nothing unasked', async () => {
  const ben = await entered({ name: 'Ben' });
  const ada = await entered({ name: 'Ada' });
  for (const device of ['Camera', 'Microphone']) await ada.setPermission(device, 'authorized');
  const begin = async () => {
    await ada.control('Camera').click();
    await ben.nativeView('Ada').waitFor();
    await ada.control('Share').click();
    await ada.view.getByRole('button', { name: 'Share this application' }).click();
    await ben.screenTile('Ada').waitFor();
  };
  await begin();
  await ada.control('Role').click();
  await ada.view.locator('[data-control="Microphone"]:disabled').waitFor();
  await ada.control('Role').click();
  await ada.view.locator('[data-control="Microphone"]:enabled').waitFor();
  await sendsSoundOnly(ada, ben);
  assert.equal(await ben.screenTile('Ada').count(), 0);

  await ada.page.keyboard.press('Escape');
  await begin();
  await ada.control('Leave').click();
  await ada.inPhase('outside');
  await ada.enter({ name: 'Ada' });
  await sendsSoundOnly(ada, ben);
  assert.equal(await ben.screenTile('Ada').count(), 0);
});

test('a camera that is allowed when the room is left stays off', async () => {
  const ben = await entered({ name: 'Ben' });
  const ada = await entered({ name: 'Ada' });
  await ada.setPermission('Microphone', 'authorized');
  await ada.control('Camera').click();
  await ada.dialog('prompt-camera').waitFor();
  await ada.control('Leave').evaluate((control) => control.click()); // the page may leave by itself
  await ada.inPhase('outside');
  await ada.answerPrompt('camera', true);
  await ada.enter({ name: 'Ada' });
  await sendsSoundOnly(ada, ben);
});

test('a denied microphone says so when the alert is declined', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.setPermission('Microphone', 'denied');
  await ada.control('Microphone').click();
  const alert = ada.dialog('alert');
  await alert.getByText('“Classroom”想访问您的麦克风').waitFor();
  await alert.getByRole('button', { name: '不允许' }).click();
  await ada.view.locator('.toast', { hasText: "user don't goto setting set mic auth" }).waitFor();
  await ada.view.locator('[data-control="Microphone"][data-look=""]').waitFor();
});

test('others can be silenced and hidden, one or all', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben' });
  await ada.setPermission('Camera', 'authorized');
  await ada.setPermission('Microphone', 'authorized');
  await ada.control('Microphone').click();
  await ada.control('Camera').click();
  await ben.nativeView('Ada').waitFor();
  await ben.view.locator('.tile[data-user="Ada"][data-speaking="yes"]').waitFor();

  await ben.openPage('people');
  const card = ben.view.locator('[data-person="Ada"]');
  await card.locator('summary').click();
  await card.getByText('Silence').click();
  await ben.view.locator('.tile[data-user="Ada"][data-speaking="no"]').waitFor();
  await card.getByText('Silence').click();
  await ben.view.locator('.tile[data-user="Ada"][data-speaking="yes"]').waitFor();
  await ben.view.getByText('Hide all cameras').click();
  await ben.nativeView('Ada').waitFor({ state: 'detached' });
  await ben.view.getByText('Hide all cameras').click();
  await ben.nativeView('Ada').waitFor();
});

test('music plays, pauses, is sought in and ends; a lost piece is told of', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.openPage('music');
  const status = ada.view.locator('.player .hint');
  await ada.view.getByRole('button', { name: 'Play', exact: true }).click();
  await status.filter({ hasText: 'Playing “Morning bell”.' }).waitFor();
  await ada.view.locator('.player output', { hasText: 'of 0:12' }).waitFor();
  await ada.view.getByRole('button', { name: 'Pause', exact: true }).click();
  await status.filter({ hasText: 'is paused' }).waitFor();
  await ada.view.getByRole('button', { name: 'Play', exact: true }).click();
  await ada.view.getByRole('slider', { name: 'Position' }).fill('11000');
  await status.filter({ hasText: 'has ended' }).waitFor();

  await ada.view.getByLabel('Piece', { exact: true }).selectOption('A lost recording');
  await ada.view.getByRole('button', { name: 'Play', exact: true }).click();
  await status.filter({ hasText: 'can’t be found. (play onStart error)' }).waitFor();
});

test('the application’s screen is shared, paused and no longer shared', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben' });
  await ada.control('Share').click();
  await ada.view.getByRole('button', { name: 'Share this application' }).click();
  await ada.view.getByText('The others see your screen.').waitFor();
  await ben.nativeView('Ada', 2).waitFor();
  await ada.view.getByRole('button', { name: 'Pause', exact: true }).click();
  await ada.view.locator('.drawer').getByText('Sharing is paused.').waitFor();
  await ada.view.getByRole('button', { name: 'Resume' }).click();
  await ada.view.getByText('The others see your screen.').waitFor();
  await ada.view.getByRole('button', { name: 'Stop sharing' }).click();
  await ben.screenTile('Ada').waitFor({ state: 'detached' });
});

test('the whole screen is shared through the broadcast picker', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben' });
  await ada.control('Share').click();
  await ada.view.getByRole('button', { name: 'Share the whole screen' }).click();
  await ada.dialog('broadcast').getByRole('button', { name: 'Start Broadcast' }).click();
  await ben.nativeView('Ada', 2).waitFor();
});

// What is sent of a microphone that is turned on now comes behind what would be seen of a screen.
async function sharesNothing(speaker, listener) {
  await speaker.tile('Ben').locator('.quality[data-quality="1"]').waitFor(); // two seconds in the room
  await sendsSoundOnly(speaker, listener);
  assert.equal(await listener.screenTile('Ada').count(), 0);
  await speaker.view.locator('[data-control="Share"][data-look=""]').waitFor();
}

test('sharing that was starting when the room was left does not go on in the next', async () => {
  const ben = await entered({ name: 'Ben' });
  const ada = await entered({ name: 'Ada' });
  await ada.setPermission('Microphone', 'authorized');
  await ada.control('Share').click();
  await ada.view.getByRole('button', { name: 'Share this application' }).evaluate((share) => {
    // The page is in the next room before it is told that the capture has started.
    const { onEvent } = window.vemoBridge;
    window.vemoBridge.onEvent = (event) => {
      if (event.head.action !== 'onScreenCaptureStarted') onEvent(event);
    };
    share.click();
    document.querySelector('[data-control="Leave"]').click();
  });
  await ada.inPhase('outside');
  await ada.enter({ name: 'Ada' });
  await sharesNothing(ada, ben);
});

test('a broadcast that is started outside the room shares nothing in the next', async () => {
  const ben = await entered({ name: 'Ben' });
  const ada = await entered({ name: 'Ada' });
  await ada.setPermission('Microphone', 'authorized');
  await ada.control('Share').click();
  await ada.view.getByRole('button', { name: 'Share the whole screen' }).click();
  await ada.dialog('broadcast').waitFor();
  await ada.control('Leave').evaluate((control) => control.click()); // the page may leave by itself
  await ada.inPhase('outside');
  await ada.dialog('broadcast').getByRole('button', { name: 'Start Broadcast' }).click();
  await ada.enter({ name: 'Ada' });
  await sharesNothing(ada, ben);
});

test('a capture that starts late, outside the room, is stopped', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.control('Leave').click();
  await ada.inPhase('outside');
  await ada.view.locator('body').evaluate(() =>
    window.vemoBridge.onEvent({
      head: { module: 'kobucb', action: 'onScreenCaptureStarted' },
      retval: { userId: 'Ada', reason: 0 },
    }),
  );
  // The engine's answer to the stop: it captures nothing, in truth.
  await ada.view.locator('.toast', { hasText: 'Nothing is being shared.' }).waitFor();
});

test('the speed test reports each server and the statistics come', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.openPage('network');
  await ada.view.getByRole('button', { name: 'Measure' }).click();
  await ada.view.getByText('Done.').waitFor();
  assert.equal(await ada.view.locator('.results li').count(), 3);
  await ada.view.locator('.figure', { hasText: 'Delay' }).waitFor();
});

test('restarting the engine leaves the room, and another can be entered', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await entered({ name: 'Ben' });
  await ben.tile('Ada').waitFor();
  await ada.openPage('network');
  await ada.view.getByText('For developers').click();
  await ada.view.getByRole('button', { name: 'Restart the engine' }).click();
  await ada.inPhase('outside');
  await ben.tile('Ada').waitFor({ state: 'detached' });
  await ada.enter({ name: 'Ada' });
  await ben.tile('Ada').waitFor();
});

test('the picture of a phone that is cut off stands still until it is back', async () => {
  const ada = await entered({ name: 'Ada' });
  const ben = await blank();
  await ben.page.clock.install();
  await ben.visit(address());
  await ben.enter({ name: 'Ben' });
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', true);
  const picture = ben.nativeView('Ada');
  await picture.waitFor();
  const look = () => picture.evaluate((canvas) => canvas.toDataURL());
  // A picture that moves is another one every ten seconds.
  const moves = async () => {
    const before = await look();
    await ben.page.clock.runFor(10_000);
    return (await look()) !== before;
  };
  const comesTo = async (moving) => {
    for (let looks = 0; looks < 200; ++looks) if ((await moves()) === moving && (await moves()) === moving) return true;
    return false;
  };
  assert.ok(await comesTo(true));
  const panel = await ada.openPanel('Phone');
  await panel.getByRole('button', { name: 'Cut off' }).click();
  assert.ok(await comesTo(false));
  await panel.getByRole('button', { name: 'Restore' }).click();
  assert.ok(await comesTo(true));
});
