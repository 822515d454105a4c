// A class in the windows of vemo-classroom: an X server without a screen, a media server, and a driver
// for the windows; in the network that scripts/own-network makes.

import { execFile } from 'node:child_process';
import { once } from 'node:events';
import { mkdtemp, rm, writeFile } from 'node:fs/promises';
import { connect, createServer } from 'node:net';
import { tmpdir } from 'node:os';
import { setTimeout as pause } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { promisify } from 'node:util';
import { Desktop, start, startDisplay, until } from './webdriver.mjs';

const run = promisify(execFile);
const root = fileURLToPath(new URL('..', import.meta.url));
const address = '10.99.0.1';
const application = '1400000001';
const room = '101';
const page = 'vemo://classroom/classroom.html';
const phases = { outside: 'body[data-phase=outside]', inside: 'body[data-phase=inside]' };

/** The colours of the test pictures, by the number of the window. */
export const colours = [
  [0x9c, 0x30, 0x30],
  [0x2f, 0x6f, 0x3f],
  [0x2f, 0x4f, 0x9c],
  [0x8a, 0x6d, 0x1f],
];

/** A way to the server at `port`, which can be held up. */
class Way {
  static async to(port) {
    const way = new Way();
    way.server = createServer((near) => way.open(near, connect(port, address)));
    await once(way.server.listen(0, address), 'listening');
    return way;
  }

  /** The ends of what is open. */
  pairs = new Set();

  get url() {
    return `ws://${address}:${this.server.address().port}`;
  }

  open(near, far) {
    const pair = [near, far];
    this.pairs.add(pair);
    for (const [from, to] of [pair, [far, near]]) {
      from.pipe(to);
      from.on('error', () => to.destroy());
      from.on('close', () => {
        to.destroy();
        this.pairs.delete(pair);
      });
    }
  }

  /** Passes nothing on for a while of what is open now; what is opened later is not held up. */
  async hold(milliseconds) {
    const held = [...this.pairs];
    for (const [near, far] of held) {
      near.unpipe(far);
      far.unpipe(near);
    }
    await pause(milliseconds);
    for (const [near, far] of held) {
      near.pipe(far);
      far.pipe(near);
    }
  }

  stop() {
    for (const [near] of this.pairs) near.destroy();
    this.server.close();
  }
}

export class Classroom {
  /**
   * `allow`: the user has allowed camera and microphone before. `log`: the application's own;
   * `options`: more of it; `sound`: the server of the devices for sound, in place of test media.
   */
  static async start(programs, { width, height, log, allow = false, options = [], sound }) {
    const folder = await mkdtemp(`${tmpdir()}/vemo-classroom-`);
    const secret = `${folder}/secret`;
    await writeFile(secret, 'a-secret-for-this-class-alone\n');
    const serverArgs = ['--secret-file', secret, '--address', address];
    const startServer = () => start(`${root}server/vemo-server`, serverArgs, { ready: /^ready (.*)$/ });
    const server = await startServer();
    const way = await Way.to(8188);
    const display = await startDisplay(width, height);
    const sign = ['--secret-file', secret, '--app', application, '--room', room];
    const { stdout } = await run(`${programs}/sign/vemo-sign`, sign);
    if (allow) {
      const decided = '[vemo://classroom]\ncamera=true\nmicrophone=true\n';
      await run('mkdir', ['-p', `${folder}/vemo`]);
      await writeFile(`${folder}/vemo/classroom.ini`, decided);
    }
    const env = {
      DISPLAY: display.name,
      XDG_CONFIG_HOME: folder,
      LIBGL_ALWAYS_SOFTWARE: '1',
      NO_AT_BRIDGE: '1',
      ...sound?.env,
    };
    const media = sound ? [] : ['--test-media'];
    const args = ['--server', way.url, ...media, '--log', log ?? `${folder}/log`, ...options];
    const desktop = await Desktop.start(`${programs}/classroom/vemo-classroom`, args, env);
    const signature = stdout.trim();
    const parts = { desktop, display, server, startServer, way, folder, signature, log: log ?? `${folder}/log` };
    return new Classroom(parts);
  }

  constructor(parts) {
    Object.assign(this, parts);
    /** The ids of the people's windows. */
    this.known = new Set();
  }

  /** A window at `place` of the display, for a person. */
  async open(name, place) {
    const window = await this.desktop.open('about:blank');
    const id = await until('the window', async () =>
      (await this.windowIds()).find((each) => !this.known.has(each)),
    );
    this.known.add(id);
    const person = new Person(this, window, name, id);
    await person.resize(place);
    await person.visit();
    return person;
  }

  /** What is open on the display, prompts too. */
  async windowIds() {
    const found = await this.desktop
      .xdo('search', '--onlyvisible', '--class', 'vemo-classroom')
      .catch(() => '');
    return found.split('\n').filter(Boolean);
  }

  picture(file) {
    return this.desktop.picture(file);
  }

  async serverProcess() {
    const { stdout } = await run('ps', ['--ppid', String(this.server.pid), '-o', 'pid=,comm=']);
    return Number(/(\d+) janus/.exec(stdout)[1]);
  }

  /** Stops the media server for a while: it neither answers nor is gone. Gives what lets it go on. */
  async holdServer() {
    const pid = await this.serverProcess();
    process.kill(pid, 'SIGSTOP');
    return () => process.kill(pid, 'SIGCONT');
  }

  /** Kills the media server. Gives what starts it again. */
  async killServer() {
    process.kill(await this.serverProcess(), 'SIGKILL');
    await until('the server to be gone', () => this.server.isOver());
    return async () => {
      this.server = await this.startServer();
    };
  }

  /** Ends all; gives what the programs have said. */
  async stop() {
    await this.desktop.stop();
    await this.display.stop();
    this.way.stop();
    await this.server.stop();
    await rm(this.folder, { recursive: true, force: true });
    return [...this.server.said, ...this.desktop.driver.said];
  }
}

/** Somebody in a window. */
class Person {
  constructor(classroom, window, name, id) {
    Object.assign(this, { classroom, window, name, id });
  }

  /** Moves and resizes the window. */
  async resize(place) {
    this.place = place;
    const { x, y, width, height } = place;
    const { id, classroom } = this;
    await classroom.desktop.xdo('windowmove', id, `${x}`, `${y}`, 'windowsize', id, `${width}`, `${height}`);
    // The page is as large as the window but for its edges and its header.
    await until('the window to be resized', async () => {
      const [across, down] = await this.window.run('return [innerWidth, innerHeight]');
      return Math.abs(across - width) < 16 && Math.abs(down - height) < 80;
    });
  }

  /** Opens the page with the form filled in. */
  async visit({ signature = this.classroom.signature, role = 'anchor' } = {}) {
    const query = new URLSearchParams({ user: this.name, room, application, signature, role });
    await this.window.visit(`${page}?${query}`);
    await this.window.has(phases.outside);
  }

  async enter(role) {
    await this.visit({ role });
    await this.window.click('button.primary');
    await this.window.has(phases.inside);
  }

  async reload() {
    await this.window.ask('POST', '/refresh', {});
    await this.window.has(phases.outside);
  }

  /** Presses the button that closes the window, at its upper right. */
  close() {
    const { x, y, width } = this.place;
    return this.classroom.desktop.click(x + width - 28, y + 26);
  }

  press(css) {
    return this.window.click(css);
  }
  has(css) {
    return this.window.has(css);
  }
  hasNot(css) {
    return this.window.has(css, false);
  }
  pressText(text, what = 'button') {
    return until(`a ${what} "${text}"`, () =>
      this.window.run(
        `const found = [...document.querySelectorAll('${what}')].find((each) => each.textContent.includes(arguments[0]));
         found?.click();
         return Boolean(found);`,
        text,
      ),
    );
  }

  /**
   * The pixels of the middle of what can be seen of somebody's picture, as the X server has them;
   * nothing where there is none.
   */
  async pixels(userId, type = 0) {
    const inside = await this.window.run(
      `const found = [...document.querySelectorAll('[data-native-view]')]
         .find((each) => each.dataset.nativeView === arguments[0]);
       if (!found) return null;
       const place = found.getBoundingClientRect();
       const clip = (found.closest('[data-native-clip]') ?? document.body).getBoundingClientRect();
       const [left, top] = [Math.max(place.left, clip.left), Math.max(place.top, clip.top)];
       const width = Math.min(place.right, clip.right) - left;
       const height = Math.min(place.bottom, clip.bottom) - top;
       return width > 8 && height > 8 ? { left, top, width, height, page: innerHeight } : null;`,
      `${userId}/${type}`,
    );
    if (!inside) return undefined;
    const left = Math.round(this.place.x + inside.left + inside.width / 8);
    const top = Math.round(this.place.y + this.place.height - inside.page + inside.top + inside.height / 8);
    const size = `${Math.round((inside.width * 3) / 4)}x${Math.round((inside.height * 3) / 4)}`;
    const args = ['-window', 'root', '-crop', `${size}+${left}+${top}`, '-depth', '8', 'rgb:-'];
    const { stdout } = await run('import', args, {
      env: { ...process.env, ...this.classroom.desktop.env },
      encoding: 'buffer',
      maxBuffer: 64 * 1024 * 1024,
    });
    return stdout;
  }

  /** Waits until somebody's picture is there: neither the page beneath it nor nothing. */
  sees(userId, type = 0) {
    return until(`${this.name} to see ${userId}`, async () => {
      const pixels = await this.pixels(userId, type);
      return pixels && isPicture(pixels);
    });
  }

  /** Waits until most of somebody's picture has this colour, as far as encoders keep it. */
  seesColour(userId, colour) {
    return until(`${this.name} to see the colour of ${userId}`, async () => {
      const pixels = await this.pixels(userId);
      return pixels && isMostly(pixels, colour);
    });
  }

  /** Waits until it has moved. */
  async seesMoving(userId) {
    await this.sees(userId);
    const before = await this.pixels(userId);
    await until(`the picture of ${userId} to move for ${this.name}`, async () => {
      const now = await this.pixels(userId);
      return now && isPicture(now) && !now.equals(before);
    });
  }

  /** Waits until the window asks the user; gives the dialog's window. */
  async promptFor() {
    const known = this.classroom.known;
    this.prompt = await until('a prompt', async () =>
      (await this.classroom.windowIds()).find((each) => !known.has(each)),
    );
  }

  /** Presses one of its two buttons, which lie side by side at its lower edge. */
  async answerPrompt(allow) {
    const { desktop } = this.classroom;
    const text = await desktop.xdo('getwindowgeometry', '--shell', this.prompt);
    const at = Object.fromEntries(text.split('\n').map((line) => line.split('=')));
    const x = Number(at.X) + Number(at.WIDTH) * (allow ? 0.75 : 0.25);
    const y = Number(at.Y) + Number(at.HEIGHT) - 16;
    await desktop.click(x, y);
  }
}

function isMostly(pixels, colour) {
  const near = 16;
  let count = 0;
  for (let at = 0; at + 2 < pixels.length; at += 3) {
    if (colour.every((value, part) => Math.abs(pixels[at + part] - value) < near)) ++count;
  }
  return count > (pixels.length / 3) * 0.7;
}

/** Whether most of these pixels are neither the page's own light ground nor black. */
function isPicture(pixels) {
  let count = 0;
  for (let at = 0; at + 2 < pixels.length; at += 3) {
    const parts = [...pixels.subarray(at, at + 3)];
    const sum = parts[0] + parts[1] + parts[2];
    const isLight = sum > 3 * 215 && Math.max(...parts) - Math.min(...parts) < 24;
    if (!isLight && sum > 60) ++count;
  }
  return count > pixels.length / 3 / 2;
}
