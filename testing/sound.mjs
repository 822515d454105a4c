// A sound server of its own: its microphone hears a tone, and what its speaker plays is listened to.

import { execFile, spawn } from 'node:child_process';
import { mkdtemp, rm } from 'node:fs/promises';
import { tmpdir } from 'node:os';
import { promisify } from 'node:util';
import { start, until } from './webdriver.mjs';

const run = promisify(execFile);
const rate = 8000;
const window = rate / 5; // samples that a pitch is told of
const silent = 200; // of 32767: quieter is nothing

export class SoundServer {
  /** `pitch`: of the tone, in Hz. */
  static async start({ pitch }) {
    const folder = await mkdtemp(`${tmpdir()}/vemo-sound-`);
    const address = `unix:${folder}/socket`;
    const own = { HOME: folder, XDG_RUNTIME_DIR: folder, PULSE_RUNTIME_PATH: `${folder}/pulse` };
    const modules = [
      `module-native-protocol-unix auth-anonymous=1 socket=${folder}/socket`,
      'module-null-sink sink_name=speaker',
      `module-sine-source source_name=microphone frequency=${pitch}`,
    ];
    const server = await start(
      'pulseaudio',
      ['-n', '--daemonize=no', '--exit-idle-time=-1', '--realtime=no', '--high-priority=no',
        '--disable-shm=yes', ...modules.flatMap((module) => ['-L', module])],
      { env: own },
    );
    const ask = (...args) => run('pactl', ['-s', address, ...args], { env: { ...process.env, ...own } });
    await until('the sound server', () => !server.isOver() && ask('info').catch(() => undefined));
    await ask('set-default-source', 'microphone');
    return new SoundServer(server, folder, address);
  }

  constructor(server, folder, address) {
    Object.assign(this, { server, folder });
    /** Where it is, for programs. */
    this.env = { PULSE_SERVER: address };
    /** What was played last: its pitch in Hz, 0 for silence. */
    this.pitch = undefined;
    this.listener = spawn(
      'parec',
      ['-s', address, '-d', 'speaker.monitor', `--rate=${rate}`, '--channels=1', '--format=s16le', '--latency-msec=100'],
      { stdio: ['ignore', 'pipe', 'inherit'] },
    );
    let heard = Buffer.alloc(0);
    this.listener.stdout.on('data', (bytes) => {
      heard = Buffer.concat([heard, bytes]);
      for (; heard.length >= 2 * window; heard = heard.subarray(2 * window)) this.pitch = pitchOf(heard);
    });
  }

  /** Waits until the speaker plays a tone of this pitch, or for 0, nothing. */
  plays(pitch) {
    return until(pitch ? `a tone of ${pitch} Hz` : 'silence', () =>
      this.pitch !== undefined && Math.abs(this.pitch - pitch) <= pitch * 0.03,
    );
  }

  async stop() {
    this.listener.kill();
    await this.server.stop();
    await rm(this.folder, { recursive: true, force: true });
  }
}

/** Of the first samples, by how often they go from below zero to above it. */
function pitchOf(bytes) {
  let loudest = 0;
  let rises = 0;
  let above = true;
  for (let i = 0; i < window; ++i) {
    const value = bytes.readInt16LE(2 * i);
    loudest = Math.max(loudest, Math.abs(value));
    if (value > 0 && !above) ++rises;
    above = value > 0;
  }
  return loudest < silent ? 0 : (rises * rate) / window;
}
