// What an accessibility checker finds in each state of the pages.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { screens, simulatorForEachTest } from '../../testing/browser.mjs';

const { open, entered, stopSimulator } = simulatorForEachTest({ screen: { width: 1280, height: 800 } });

for (const screen of screens)
  test(`the checker finds nothing at ${screen.width}x${screen.height}`, async () => {
    const ben = await entered({ name: 'Ben' });
    await ben.setPermission('Camera', 'authorized');
    await ben.setPermission('Microphone', 'authorized');
    await ben.control('Camera').click();
    await ben.view.locator('[data-control="Camera"][data-look="on"]').waitFor();

    const ada = await open(screen);
    const found = [];
    const check = async (state) => {
      for (const finding of await ada.findings()) found.push(`${state}: ${finding}`);
    };
    await check('the form');
    await ada.tryToEnter({ name: '' });
    await ada.view.locator('summary').click();
    await check('the form with a problem and all its fields');

    await ada.enter({ name: 'Ada' });
    await ada.nativeView('Ben').waitFor();
    await check('the class');
    await ada.control('Camera').click();
    await ada.dialog('prompt-camera').waitFor();
    await check('a prompt');
    await ada.answerPrompt('camera', false);
    await ada.view.locator('.toast.bad').waitFor();
    await check('a notice');
    await ada.control('Camera').click();
    await ada.dialog('alert').waitFor();
    await check('an alert');
    await ada.dialog('alert').getByRole('button', { name: '前往设置' }).click();
    await ada.page.locator('.settings-page').waitFor();
    await check('the settings');
    await ada.page.keyboard.press('Escape');

    for (const page of ['people', 'devices', 'music', 'network']) {
      await ada.openPage(page);
      for (const more of await ada.view.locator('.drawer summary').all()) await more.click();
      if (page === 'network') {
        await ada.view.locator('.figure').first().waitFor();
        await ada.view.getByRole('button', { name: 'Measure' }).click();
        await ada.view.getByText('Done.').waitFor();
      }
      if (page === 'music') {
        await ada.view.getByRole('button', { name: 'Play', exact: true }).click();
        await ada.view.getByRole('button', { name: 'Pause', exact: true }).waitFor();
      }
      await check(`the page ${page}`);
      await ada.page.keyboard.press('Escape');
    }
    await ada.control('Share').click();
    await check('the page share');
    await ada.view.getByRole('button', { name: 'Share the whole screen' }).click();
    await ada.dialog('broadcast').waitFor();
    await check('the broadcast picker');
    await ada.page.keyboard.press('Escape');
    await ada.view.getByRole('button', { name: 'Share this application' }).click();
    await ben.nativeView('Ada', 2).waitFor();
    await check('the page share while sharing');
    await ada.page.keyboard.press('Escape');
    await check('the class while sharing');

    await ada.openPanel('Time line');
    await check('the time line');
    await ada.page.getByLabel('Search the time line').fill('startLocalPreview');
    await ada.row('startLocalPreview').last().locator('.row-head').click();
    await ada.page.locator('.details').waitFor();
    await ada.page.locator('.menu summary').click();
    await check('a row of the time line, and the menu');
    await ada.page.getByRole('tab', { name: 'Phone' }).click();
    await check('the settings of the phone');
    await ada.page.getByRole('button', { name: 'Cut off', exact: true }).click();
    await ada.view.locator('.pill[data-connection="reconnecting"]').waitFor();
    await ada.page.getByRole('button', { name: 'Close panel' }).click();
    await check('the class while the connection is lost');
    await ada.page.getByRole('button', { name: 'Developer panel' }).click();
    await ada.page.getByRole('button', { name: 'Restore', exact: true }).click();
    await ada.view.locator('.pill[data-connection="good"]').waitFor();
    await ada.page.getByRole('button', { name: 'Close panel' }).click();

    await ada.control('Role').click();
    await ada.view.locator('[data-control="Microphone"]:disabled').waitFor();
    await check('the class for the audience');
    await stopSimulator();
    await ada.inPhase('stopped');
    await check('the page without its simulator');
    assert.deepEqual(found, []);
  });
