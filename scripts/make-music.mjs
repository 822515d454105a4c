// Makes the pieces of music that the classroom page offers, for a desktop: bells that play tunes.
//
//   make-music.mjs FOLDER
//
// They are as long as the simulated ones of the same names, and say so. One that the page offers,
// lost.mp3, is missing in both, for whoever wants to see what happens then.

import { execFile } from 'node:child_process';
import { mkdir } from 'node:fs/promises';
import { promisify } from 'node:util';

const rate = 22_050;
/** Partial tones of a bell: how many times the strike's frequency, how loud, how long. */
const bell = [
  [0.5, 0.25, 1.6],
  [1, 1, 1],
  [1.2, 0.35, 0.7],
  [2, 0.3, 0.45],
  [2.76, 0.12, 0.25],
];

/** Seconds of silence, to be struck into. */
const silence = (seconds) => new Float32Array(seconds * rate);

/** Adds a bell of `pitch`, as semitones above middle C, that is struck at `at` and rings for `ring` seconds. */
function strike(sound, at, pitch, loudness, ring) {
  const frequency = 261.63 * 2 ** (pitch / 12);
  const begin = Math.round(at * rate);
  for (const [times, part, length] of bell) {
    const step = (2 * Math.PI * frequency * times) / rate;
    const fade = 1 / (ring * length * rate);
    const end = Math.min(sound.length, begin + Math.round(5 / fade));
    for (let i = begin; i < end; ++i) {
      const age = i - begin;
      // The first hundredth of a second is the hammer's.
      const attack = Math.min(1, age / (0.01 * rate));
      sound[i] += loudness * part * attack * Math.exp(-age * fade) * Math.sin(step * age);
    }
  }
}

/** Plays `tune`, rows of pitches with `beat` seconds each ('.' is a rest), over and over until it is full. */
function play(sound, tune, { beat, loudness, ring, until }) {
  const pitches = tune.trim().split(/\s+/);
  for (let count = 0; count * beat < until; ++count) {
    const pitch = pitches[count % pitches.length];
    // Each fourth a little louder, as hands do.
    if (pitch !== '.') strike(sound, count * beat, Number(pitch), loudness * (count % 4 ? 0.8 : 1), ring);
  }
}

const pieces = {
  'morning-bell': () => {
    const sound = silence(12);
    play(sound, '12 7 4 0 . 2 4 7 . 4 9 7 5 4 2 .', { beat: 0.6, loudness: 0.5, ring: 0.9, until: 9.5 });
    strike(sound, 9.6, 0, 0.6, 1);
    return sound;
  },
  'quiet-reading': () => {
    const sound = silence(95);
    play(sound, '0 4 7 11 7 4 -3 0 4 7 4 0 -7 -3 0 5 0 -3 -5 -1 2 5 2 -1', {
      beat: 0.75, loudness: 0.22, ring: 1.4, until: 90,
    });
    play(sound, '. . 16 . . . . 14 . . 12 . . . . . 9 . . 11 . . . .', {
      beat: 0.75, loudness: 0.16, ring: 1.8, until: 90,
    });
    return sound;
  },
  'clean-up-song': () => {
    const sound = silence(48);
    play(sound, '7 9 12 12 9 7 4 . 7 9 12 14 12 9 7 . 4 7 9 9 7 4 2 . 0 2 4 7 4 2 0 .', {
      beat: 0.25, loudness: 0.34, ring: 0.35, until: 46,
    });
    play(sound, '0 . 7 . 0 . 7 . -5 . 2 . -3 . 4 .', { beat: 0.25, loudness: 0.24, ring: 0.5, until: 46 });
    return sound;
  },
};

/** As samples of 16 bits, the loudest of them at three quarters; the end fades. */
function samples(sound) {
  const loudest = sound.reduce((most, value) => Math.max(most, Math.abs(value)), 0);
  const values = Buffer.alloc(sound.length * 2);
  sound.forEach((value, i) => {
    const fade = Math.min(1, (sound.length - i) / rate);
    values.writeInt16LE(Math.round((value / loudest) * fade * 0.75 * 32_767), i * 2);
  });
  return values;
}

const [folder] = process.argv.slice(2);
if (!folder) {
  console.error('make-music: say where the music goes');
  process.exit(2);
}
await mkdir(folder, { recursive: true });
for (const [name, make] of Object.entries(pieces)) {
  const description =
    `fdsrc ! rawaudioparse format=pcm pcm-format=s16le sample-rate=${rate} num-channels=1 ! ` +
    'lamemp3enc target=bitrate bitrate=64 cbr=true mono=true ! xingmux ! filesink name=to';
  const encoder = promisify(execFile)('gst-launch-1.0', ['--quiet', ...description.split(' '), `location=${folder}/${name}.mp3`]);
  encoder.child.stdin.end(samples(make()));
  await encoder;
}
