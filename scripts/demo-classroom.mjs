// Plays a class of three in the windows of one vemo-classroom, on a display without a screen, over a
// media server, and tells what happens. To be run by own-network. Usage:
// demo-classroom.mjs FOLDER PROGRAMS: a log and pictures go to FOLDER, the programs are in PROGRAMS.

import { mkdir, rm, writeFile } from 'node:fs/promises';
import { Classroom, colours } from '../testing/classroom.mjs';
import { LessonLog } from '../testing/lessonLog.mjs';

const pausedColour = [0x20, 0x27, 0x40]; // of most of the picture that the page has for it

const [folder, programs] = process.argv.slice(2);
if (!folder || !programs) {
  console.error('demo-classroom: say where the pictures go and where the programs are');
  process.exit(2);
}

const log = new LessonLog();
const tell = (text) => log.tell(text);

async function lesson(classroom) {
  const picture = (name) => log.picture(name, (file) => classroom.picture(`${folder}/${file}`));

  const teacher = await classroom.open('Ms. Novak', { x: 0, y: 0, width: 960, height: 1080 });
  tell('The teacher opens the classroom.');
  await teacher.visit({ signature: 'bad' });
  await teacher.press('button.primary');
  await teacher.has('.problem:not([hidden])');
  tell('With a bad signature she is refused.');
  await picture('refused');
  await teacher.enter();
  tell('With a good one she enters room 101.');

  await teacher.press('[data-control=Microphone]');
  await teacher.promptFor();
  await picture('permission');
  await teacher.answerPrompt(true);
  tell('She is asked whether the page may use the camera, and allows it.');
  await teacher.has('[data-control=Microphone][data-look=on]');
  await teacher.press('[data-control=Camera]');
  await teacher.sees('Ms. Novak');
  tell('She turns on microphone and camera.');

  const ada = await classroom.open('Ada', { x: 960, y: 0, width: 960, height: 540 });
  await ada.enter();
  await ada.sees('Ms. Novak');
  await ada.has('.tile[data-user="Ms. Novak"][data-speaking=yes]');
  tell('Ada enters in a window of her own; she sees and hears the teacher.');
  await ada.press('[data-control=Camera]');
  await teacher.sees('Ada');
  tell('Ada turns her camera on; the teacher sees her.');

  const ben = await classroom.open('Ben', { x: 960, y: 540, width: 960, height: 540 });
  await ben.enter('audience');
  await ben.sees('Ms. Novak');
  await ben.sees('Ada');
  tell('Ben comes as audience, and sees both.');
  await ben.press('[data-control=Role]');
  await ben.has('[data-control=Camera]:not([disabled])');
  await ben.press('[data-control=Camera]');
  await teacher.sees('Ben');
  await ada.sees('Ben');
  tell('Ben goes on stage with his camera; the others see him.');
  for (const who of [teacher, ada, ben]) {
    for (const name of ['Ms. Novak', 'Ada', 'Ben']) await who.seesMoving(name);
  }
  tell('Each sees the moving pictures of all three.');
  await picture('class-of-three');

  await teacher.press('[data-control=Microphone]');
  await ada.has('.tile[data-user="Ms. Novak"][data-speaking=no]');
  await teacher.press('[data-page=music]');
  await teacher.press('button[title=Play]');
  await ada.has('.tile[data-user="Ms. Novak"][data-speaking=yes]');
  await ben.has('.tile[data-user="Ms. Novak"][data-speaking=yes]');
  tell('The teacher mutes herself and plays the morning bell, which the others hear.');
  await picture('music');
  await teacher.press('button[title=Stop]');
  await ada.has('.tile[data-user="Ms. Novak"][data-speaking=no]');
  tell('She stops it.');

  await ada.press('[data-control=Microphone]');
  await teacher.has('.tile[data-user=Ada][data-speaking=yes]');
  await teacher.press('[data-page=people]');
  await teacher.pressText('Silence all', 'label');
  await teacher.has('.tile[data-user=Ada][data-speaking=no]');
  await ben.has('.tile[data-user=Ada][data-speaking=yes]');
  tell('Ada speaks; the teacher silences everybody and hears her no more, Ben does.');
  await teacher.pressText('Silence all', 'label');
  await teacher.has('.tile[data-user=Ada][data-speaking=yes]');
  await teacher.press('[data-page=people]');
  tell('She lets them speak again.');

  await ada.press('[data-page=devices]');
  await ada.pressText('Picture while paused');
  await ada.has('.toast');
  await ada.press('[data-page=devices]');
  await ada.press('[data-control=Camera]');
  await ada.has('.tile[data-user=Ada] .state[title="Camera paused"]');
  await teacher.seesColour('Ada', pausedColour);
  tell('Ada pauses her camera behind a picture, which the others see.');
  await picture('paused');
  await ada.press('[data-control=Camera]');
  await teacher.seesColour('Ada', colours[1]);
  tell('She resumes it.');

  await ada.press('[data-control=Share]');
  await ada.pressText('Share this application');
  await teacher.sees('Ada', 2);
  await ben.sees('Ada', 2);
  tell('Ada shares the screen with the class.');
  await picture('shared-screen');
  await ada.pressText('Stop sharing');
  await teacher.hasNot('[data-screen-of=Ada]');
  tell('She stops sharing.');

  await teacher.press('[data-page=network]');
  await teacher.pressText('Measure');
  await teacher.has('.results li');
  tell('The teacher measures the network.');
  await picture('network');

  await ada.reload();
  await teacher.hasNot('.tile[data-user=Ada]');
  tell('Ada loads her page anew: her router is gone, and the others see her leave.');
  await ada.enter();
  await teacher.has('.tile[data-user=Ada]');
  await ada.sees('Ms. Novak');
  tell('She comes back.');

  await ben.close();
  await teacher.hasNot('.tile[data-user=Ben]');
  tell('Ben closes his window, and is gone.');
  await picture('at-the-end');
}

await rm(folder, { recursive: true, force: true });
await mkdir(folder, { recursive: true });
const classroom = await Classroom.start(programs, {
  width: 1920,
  height: 1080,
  log: `${folder}/classroom.log`,
});
let failure;
try {
  await lesson(classroom);
} catch (error) {
  failure = error;
  tell(`It went wrong: ${error.message}`);
  await classroom.picture(`${folder}/failure.png`).catch(() => {});
}
const said = await classroom.stop();
await writeFile(`${folder}/lesson.log`, log.text);
await writeFile(`${folder}/programs.log`, `${said.join('\n')}\n`);
if (failure) {
  console.error(failure);
  process.exit(1);
}
