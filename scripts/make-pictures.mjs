// Makes the pictures of README and docs: the simulator as it is, in light and in dark.
//
//   make-pictures.mjs [FOLDER]      docs/pictures, if none is named
//
// VEMO_SIMULATOR and CHROMIUM as for the end-to-end tests.

import assert from 'node:assert/strict';
import { mkdir, readFile, writeFile } from 'node:fs/promises';
import { fileURLToPath } from 'node:url';
import { Phone, startBrowser, startSimulator } from '../testing/browser.mjs';

const folder = process.argv[2] ?? fileURLToPath(new URL('../docs/pictures', import.meta.url));
const mostBytes = 70_000;
const viewport = { width: 1280, height: 800 };

async function picture(phone, name) {
  await phone.still();
  const session = await phone.page.context().newCDPSession(phone.page);
  for (const colorScheme of ['light', 'dark']) {
    await phone.page.emulateMedia({ colorScheme });
    await phone.viewsInPlace();
    // What is drawn anew is drawn after two frames at the latest.
    await phone.page.evaluate(() => new Promise((done) => requestAnimationFrame(() => requestAnimationFrame(done))));
    const { data } = await session.send('Page.captureScreenshot', { format: 'webp', quality: 60 });
    const bytes = Buffer.from(data, 'base64');
    assert.ok(bytes.length < mostBytes, `${name} has ${bytes.length} bytes`);
    await writeFile(`${folder}/${name}-${colorScheme}.webp`, bytes);
  }
}

async function classOfThree(address, browser) {
  const phones = [];
  for (const name of ['Ms. Novak', 'Ada', 'Ben']) {
    const phone = await Phone.open(await browser.newPage({ viewport }), address);
    await phone.enter({ name });
    for (const control of ['Camera', 'Microphone']) {
      await phone.control(control).click();
      if (control === 'Camera') await phone.answerPrompt('camera', true); // which allows both
      await phone.view.locator(`[data-control="${control}"][data-look="on"]`).waitFor();
    }
    phones.push(phone);
  }
  const [, ada] = phones;
  for (const name of ['Ms. Novak', 'Ada', 'Ben']) await ada.nativeView(name).waitFor();
  await ada.view.locator('.toast').first().waitFor({ state: 'detached' });
  await ada.tile('Ben').locator('.quality[data-quality="1"]').waitFor();
  await picture(ada, 'class');
  await ada.openPanel('Time line');
  await ada.row('onEnterRoom').first().waitFor();
  await picture(ada, 'panel');
  for (const { page } of phones) await page.close();
}

async function pictures(address, browser) {
  const first = await Phone.open(await browser.newPage({ viewport }), address);
  await first.page.getByRole('button', { name: 'Add a phone' }).click();
  const [ada, ben] = [1, 2].map((number) => first.numbered(number));
  await ben.inPhase('outside');
  await ada.enter({ name: 'Ada' });
  await ben.enter({ name: 'Ben' });
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', true);
  await first.nativeView('Ada').first().waitFor();
  await ben.control('Camera').click();
  await ben.answerPrompt('camera', false);
  await ben.view.locator('.toast.bad').waitFor();
  const panel = await first.openPanel('Time line');
  await panel.getByLabel('Phone that the panel shows').selectOption('Phone 2');
  await first.row('startLocalPreview').first().locator('.row-head').click();
  await panel.getByText('user not allowed access camera').first().waitFor();
  await picture(first, 'workbench');

  await first.openPanel('Faults');
  await picture(first, 'faults');

  await first.openPanel('Sessions');
  const [download] = await Promise.all([
    first.page.waitForEvent('download'),
    panel.getByRole('button', { name: 'Save the last minutes' }).click(),
  ]);
  const recording = await readFile(await download.path(), 'utf8');
  // Whoever plays it takes Ben's place, so Ben leaves. It is as if there had been another answer then.
  await ben.control('Leave').click();
  await ben.inPhase('outside');
  const changed = recording.replace('"errcode":-1314', '"errcode":-1315');
  await panel
    .locator('input[type="file"]')
    .setInputFiles({ name: 'yesterday.vemorec', mimeType: 'application/json', buffer: Buffer.from(changed) });
  await panel.getByRole('button', { name: 'Play', exact: true }).click();
  await panel.getByText(/1 did other than before/).waitFor();
  const marked = panel.locator('.row', { has: first.page.locator('.remark-mark') });
  await marked.locator('.row-head').click();
  await marked.locator('p.remark').last().scrollIntoViewIfNeeded();
  await picture(first, 'session');
}

await mkdir(folder, { recursive: true });
const simulator = await startSimulator(['--log', '/dev/null']);
const browser = await startBrowser();
try {
  await classOfThree(simulator.address, browser);
  await pictures(simulator.address, browser);
} finally {
  await browser.close();
  await simulator.stop();
}
