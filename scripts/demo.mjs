// Plays a class of three in headless Chromium and tells what happens. Usage:
// demo.mjs FOLDER: a log, pictures and a recording go there.

import { mkdir, rm, writeFile } from 'node:fs/promises';
import { Phone, startBrowser, startSimulator } from '../testing/browser.mjs';
import { LessonLog } from '../testing/lessonLog.mjs';

const folder = process.argv[2];
if (!folder) {
  console.error('demo: say where the pictures go');
  process.exit(2);
}

const log = new LessonLog();
const tell = (text) => log.tell(text);

const picture = (phone, name) =>
  log.picture(name, async (file) => {
    await phone.still();
    await phone.viewsInPlace(); // which a panel that has opened or closed has moved
    await phone.page.screenshot({ path: `${folder}/${file}` });
  });

async function lesson(simulator, browser) {
  const desktop = { viewport: { width: 1280, height: 820 } };
  const small = { viewport: { width: 400, height: 820 }, colorScheme: 'dark' };

  const teacher = await Phone.open(await browser.newPage(desktop), simulator.address);
  tell('The teacher opens the classroom page.');
  const refusal = await teacher.tryToEnter({ name: 'Ms. Novak', signature: 'bad' });
  tell(`With a bad signature she is told: ${refusal.replace(/\s*\n\s*/g, ' ')}`);
  await picture(teacher, 'refused');
  await teacher.enter({ name: 'Ms. Novak', signature: 'demo-signature' });
  tell('With a good one she enters room 101.');

  const ada = await Phone.open(await browser.newPage(desktop), simulator.address);
  await ada.enter({ name: 'Ada' });
  await teacher.tile('Ada').waitFor();
  tell('Ada enters; the teacher sees her.');

  await teacher.control('Microphone').click();
  await teacher.dialog('prompt-camera').waitFor();
  await picture(teacher, 'permission');
  await teacher.answerPrompt('camera', true);
  await teacher.view.locator('[data-control="Microphone"][data-look="on"]').waitFor();
  await ada.view.locator('.tile[data-user="Ms. Novak"][data-speaking="yes"]').waitFor();
  tell('The teacher allows access and speaks; Ada hears her.');
  await teacher.control('Camera').click();
  await ada.nativeView('Ms. Novak').waitFor();
  tell('The teacher turns her camera on; Ada sees her.');

  await ada.control('Camera').click();
  await ada.answerPrompt('camera', false);
  await ada.view.locator('.toast.bad').waitFor();
  tell('Ada refuses the camera, and is told that it needs her permission.');
  await ada.control('Camera').click();
  await ada.dialog('alert').waitFor();
  await picture(ada, 'denied');
  await ada.dialog('alert').getByRole('button', { name: '前往设置' }).click();
  await ada.page.locator('.settings-page').getByText('Camera').click();
  await ada.page.locator('.settings-row:first-child input:checked').waitFor();
  await picture(ada, 'settings');
  await ada.page.getByRole('button', { name: 'Back to Classroom' }).click();
  await ada.control('Camera').click();
  await teacher.nativeView('Ada').waitFor();
  tell('She tries again, is led to the settings, allows it there, and is seen.');
  const panel = await ada.openPanel('Sessions');
  const [saved] = await Promise.all([
    ada.page.waitForEvent('download'),
    panel.getByRole('button', { name: 'Save the last minutes' }).click(),
  ]);
  await saved.saveAs(`${folder}/ada.vemorec`);
  await ada.page.getByRole('button', { name: 'Close panel' }).click();
  tell('She saves the last minutes of her phone: ada.vemorec.');

  const ben = await Phone.open(await browser.newPage(small), simulator.address);
  await ben.enter({ name: 'Ben', role: 'audience' });
  await ben.nativeView('Ms. Novak').waitFor();
  tell('Ben comes as audience, on a small phone, and sees the teacher.');
  await ben.control('Role').click();
  await teacher.tile('Ben').waitFor();
  tell('Ben goes on stage; now the others see him.');
  await teacher.view.locator('.tile[data-user="Ben"] .quality[data-quality="1"]').waitFor();
  await picture(teacher, 'class-of-three');
  await picture(ben, 'small-phone');

  await teacher.openPage('music');
  await teacher.view.getByRole('button', { name: 'Play', exact: true }).click();
  await teacher.view.locator('.player output', { hasText: 'of 0:12' }).waitFor();
  tell('The teacher plays the morning bell to the class.');
  await picture(teacher, 'music');
  await teacher.view.getByRole('slider', { name: 'Position' }).fill('11000');
  await teacher.view.locator('.player', { hasText: 'has ended' }).waitFor();
  tell('She seeks near its end; it ends.');

  await teacher.openPage('people');
  await teacher.view.getByText('Silence all').click();
  await ada.control('Microphone').click();
  await ada.view.locator('[data-control="Microphone"][data-look="on"]').waitFor();
  await teacher.view.locator('.tile[data-user="Ada"] .state[title="Microphone on"]').waitFor();
  await teacher.view.locator('.tile[data-user="Ada"][data-speaking="no"]').waitFor();
  tell('She silences everybody; Ada speaks and is not heard.');
  await teacher.view.getByText('Silence all').click();
  await teacher.view.locator('.tile[data-user="Ada"][data-speaking="yes"]').waitFor();
  tell('She lets them speak again; Ada is heard.');

  await teacher.control('Share').click();
  await teacher.view.getByRole('button', { name: 'Share this application' }).click();
  await ada.nativeView('Ms. Novak', 2).waitFor();
  await ben.nativeView('Ms. Novak', 2).waitFor();
  tell('The teacher shares her screen with the class.');
  await picture(ada, 'shared-screen');
  await picture(ben, 'shared-screen-small');
  await teacher.view.getByRole('button', { name: 'Stop sharing' }).click();
  await ada.screenTile('Ms. Novak').waitFor({ state: 'detached' });
  tell('She stops sharing.');

  await ada.openPage('devices');
  await ada.view.getByRole('button', { name: 'Picture while paused' }).click();
  await ada.view.locator('.toast', { hasText: 'This picture' }).waitFor();
  await ada.control('Camera').click();
  await ada.page.locator('canvas[data-view="Ada/0"][data-kind="muteImage"]').waitFor();
  tell('Ada pauses her camera behind a picture.');
  await picture(ada, 'devices');
  await ada.control('Camera').click();

  await teacher.openPage('network');
  await teacher.view.getByRole('button', { name: 'Measure' }).click();
  await teacher.view.getByText('Done.').waitFor();
  tell('The teacher measures the network.');
  await picture(teacher, 'network');

  await ada.page.reload();
  await teacher.tile('Ada').waitFor({ state: 'detached' });
  tell('Ada reloads her page: her router is freed, and the others see her leave.');
  await ada.inPhase('outside');
  await ada.enter({ name: 'Ada' });
  await teacher.tile('Ada').waitFor();
  tell('She comes back.');

  await ben.control('Leave').click();
  await ben.inPhase('outside');
  await teacher.tile('Ben').waitFor({ state: 'detached' });
  tell(`Ben leaves. In the room: ${(await teacher.people()).join(', ')}.`);
  await teacher.page.getByRole('button', { name: 'Developer panel' }).click();
  await picture(teacher, 'log');

  await simulator.stop();
  await teacher.inPhase('stopped');
  tell('The simulator ends; the pages say so.');
  await picture(teacher, 'stopped');
  return [teacher, ada, ben].flatMap((phone) => phone.problems);
}

await rm(folder, { recursive: true, force: true });
await mkdir(folder, { recursive: true });
let failure;
let simulator;
let browser;
try {
  simulator = await startSimulator(['--log', `${folder}/router.jsonl`]);
  browser = await startBrowser();
  const problems = await lesson(simulator, browser);
  if (problems.length) failure = `A page had problems: ${problems.join('; ')}`;
} catch (error) {
  failure = error.message;
}
await browser?.close();
await simulator?.stop();
tell(failure ? `The lesson failed: ${failure}` : 'The lesson is over; all went well.');
await writeFile(`${folder}/lesson.txt`, log.text);
process.exitCode = failure ? 1 : 0;
