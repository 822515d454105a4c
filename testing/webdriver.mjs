// Drives the windows of vemo-classroom through WebKitWebDriver, and the desktop on which they are:
// an X server, a session bus, and a media server, in the network in which this runs.

import { execFile, spawn } from 'node:child_process';
import { once } from 'node:events';
import { createServer } from 'node:net';
import { createInterface } from 'node:readline';
import { setTimeout as pause } from 'node:timers/promises';
import { promisify } from 'node:util';

const waitMs = 60_000; // much, for machines with much to do
const lookMs = 50;
const elementKey = 'element-6066-11e4-a52e-4f735466cecf';
const run = promisify(execFile);

/** Waits until `look` gives something, and gives it. */
export async function until(what, look) {
  const end = Date.now() + waitMs;
  for (;;) {
    const found = await look();
    if (found) return found;
    if (Date.now() > end) throw new Error(`waited in vain for ${what}`);
    await pause(lookMs);
  }
}

/** A program that runs until it is stopped; gives what its first line says that `ready` fits. */
export async function start(program, args, { ready, fd = 'stdout', env = {} } = {}) {
  const child = spawn(program, args, {
    stdio: ['ignore', 'pipe', 'pipe'],
    env: { ...process.env, ...env },
  });
  const said = [];
  let failure;
  child.once('error', (error) => (failure = error));
  let first;
  for (const name of ['stdout', 'stderr']) {
    createInterface({ input: child[name] }).on('line', (line) => {
      said.push(line);
      if (name === fd && ready) first ??= ready.exec(line) ?? undefined;
    });
  }
  const isOver = () => failure ?? (child.exitCode !== null || child.signalCode !== null);
  if (ready) {
    await until(`${program} to begin`, () => {
      if (isOver()) throw new Error(`${program} ended: ${failure?.message ?? said.join('\n')}`);
      return first;
    });
  }
  return {
    first,
    said,
    pid: child.pid,
    isOver,
    async stop() {
      if (isOver()) return;
      child.kill('SIGTERM');
      await once(child, 'exit');
    },
  };
}

async function freePort() {
  const server = createServer().listen(0, '127.0.0.1');
  await once(server, 'listening');
  const { port } = server.address();
  server.close();
  await once(server, 'close');
  return port;
}

/** A display without a screen: its `name`, and how to end it. */
export async function startDisplay(width, height) {
  const args = ['-displayfd', '1', '-screen', '0', `${width}x${height}x24`, '-nolisten', 'tcp'];
  const server = await start('Xvfb', args, { ready: /^(\d+)$/ });
  return { name: `:${server.first[1]}`, stop: server.stop };
}

/** The windows of one vemo-classroom. */
export class Desktop {
  /** `env`: of the application and of the driver, such as DISPLAY. */
  static async start(program, args, env) {
    const port = await freePort();
    const driver = await start('WebKitWebDriver', [`--port=${port}`], { env });
    const desktop = new Desktop(`http://127.0.0.1:${port}`, driver, env);
    await until('the driver', () => fetch(`${desktop.address}/status`).catch(() => undefined));
    const options = { binary: program, args: ['--automation', ...args] };
    const { sessionId } = await desktop.ask('POST', '/session', {
      capabilities: { alwaysMatch: { 'webkitgtk:browserOptions': options } },
    });
    desktop.session = `/session/${sessionId}`;
    return desktop;
  }

  constructor(address, driver, env) {
    this.address = address;
    this.driver = driver;
    this.env = env;
    this.opened = 0;
  }

  async ask(method, path, body) {
    const answer = await fetch(this.address + path, { method, body: body && JSON.stringify(body) });
    const { value } = await answer.json();
    if (value?.error) throw new Error(`${method} ${path}: ${value.error}: ${value.message}`);
    return value;
  }

  /** Another window with the page at `address`. */
  async open(address) {
    if (this.opened++ > 0) {
      // Asked from a window that is there.
      const [first] = await this.ask('GET', `${this.session}/window/handles`);
      await this.ask('POST', `${this.session}/window`, { handle: first });
      const { handle } = await this.ask('POST', `${this.session}/window/new`, { type: 'window' });
      await this.ask('POST', `${this.session}/window`, { handle });
    }
    const handle = await this.ask('GET', `${this.session}/window`);
    const window = new Window(this, handle);
    await window.visit(address);
    return window;
  }

  /** What the X server shows, in `file`. */
  async picture(file) {
    await run('import', ['-window', 'root', file], { env: { ...process.env, ...this.env } });
  }

  async xdo(...args) {
    const { stdout } = await run('xdotool', args, { env: { ...process.env, ...this.env } });
    return stdout.trim();
  }

  /** Presses what lies there on the display. */
  click(x, y) {
    return this.xdo('mousemove', String(Math.round(x)), String(Math.round(y)), 'click', '1');
  }

  async stop() {
    await this.ask('DELETE', this.session).catch(() => {});
    await this.driver.stop();
  }
}

/** One window, with one page. */
class Window {
  constructor(desktop, handle) {
    this.desktop = desktop;
    this.handle = handle;
  }

  async ask(method, path, body) {
    const { desktop, handle } = this;
    await desktop.ask('POST', `${desktop.session}/window`, { handle });
    return desktop.ask(method, desktop.session + path, body);
  }

  visit(url) {
    return this.ask('POST', '/url', { url });
  }

  /** Runs the body of a function in the page. */
  run(script, ...args) {
    return this.ask('POST', '/execute/sync', { script, args });
  }

  async find(css) {
    const found = await until(css, () =>
      this.ask('POST', '/elements', { using: 'css selector', value: css }).then(([first]) => first),
    );
    return found[elementKey];
  }

  async click(css) {
    return this.ask('POST', `/element/${await this.find(css)}/click`, {});
  }

  async fill(css, text) {
    const element = await this.find(css);
    await this.ask('POST', `/element/${element}/clear`, {});
    await this.ask('POST', `/element/${element}/value`, { text });
  }

  /** Waits until there is such an element, or none. */
  has(css, isThere = true) {
    return until(`${isThere ? '' : 'no '}${css}`, async () => {
      const there = await this.run('return document.querySelector(arguments[0]) !== null', css);
      return there === isThere;
    });
  }
}
