// Plays a class of three in headless Chromium and tells what happens. Usage:
// demo.mjs FOLDER: a log and pictures go there.

import { mkdir, rm, writeFile } from 'node:fs/promises';
import { Phone, startBrowser, startSimulator } from '../tests/e2e/support.mjs';

const folder = process.argv[2];
if (!folder) {
  console.error('demo: say where the pictures go');
  process.exit(2);
}

const lines = [];
const begun = Date.now();
function tell(text) {
  const line = `${((Date.now() - begun) / 1000).toFixed(1).padStart(5)} s  ${text}`;
  lines.push(line);
  console.log(line);
}

let pictures = 0;
async function picture(phone, name) {
  const file = `${String(++pictures).padStart(2, '0')}-${name}.png`;
  await phone.settled();
  await phone.page.screenshot({ path: `${folder}/${file}` });
  tell(`       picture ${file}`);
}

async function lesson(simulator, browser) {
  const desktop = await browser.newContext({ viewport: { width: 1280, height: 820 } });
  const handset = await browser.newContext({
    viewport: { width: 400, height: 820 },
    colorScheme: 'dark',
  });

  const teacher = await Phone.open(desktop, simulator.address);
  tell('The teacher opens the classroom page.');
  const refusal = await teacher.tryToEnter({ name: 'Ms. Novak', signature: 'bad' });
  tell(`With a bad signature she is told: ${refusal.replace(/\s*\n\s*/g, ' ')}`);
  await picture(teacher, 'refused');
  await teacher.enter({ name: 'Ms. Novak', signature: 'demo-signature' });
  tell('With a good one she enters room 101.');

  const ada = await Phone.open(desktop, simulator.address);
  await ada.enter({ name: 'Ada' });
  await teacher.tile('Ada').waitFor();
  tell('Ada enters; the teacher sees her.');

  await teacher.control('Microphone').click();
  await teacher.dialog('prompt-camera').waitFor();
  await picture(teacher, 'permission');
  await teacher.answerPrompt('camera', true);
  await teacher.view.locator('[data-control="Microphone"][data-look="on"]').waitFor();
  tell('The teacher allows access and speaks.');
  await ada.view.locator('.tile[data-user="Ms. Novak"][data-speaking="yes"]').waitFor();
  tell('Ada hears her.');

  await teacher.control('Camera').click();
  await ada.nativeView('Ms. Novak').waitFor();
  tell('The teacher turns her camera on; Ada sees her.');
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', true);
  await teacher.nativeView('Ada').waitFor();
  tell('Ada turns hers on too.');

  const ben = await Phone.open(handset, simulator.address);
  await ben.enter({ name: 'Ben', role: 'audience' });
  await ben.nativeView('Ms. Novak').waitFor();
  tell('Ben comes as audience, on a small phone, and sees the teacher.');
  await ben.control('Role').click();
  await teacher.tile('Ben').waitFor();
  tell('Ben goes on stage; now the others see him.');
  await teacher.view.locator('.tile[data-user="Ben"] .quality[data-quality="1"]').waitFor();
  await picture(teacher, 'class-of-three');
  await picture(ben, 'small-phone');

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
await writeFile(`${folder}/lesson.txt`, `${lines.join('\n')}\n`);
process.exitCode = failure ? 1 : 0;
