// Starts the simulator and Chromium, and drives classroom pages.

import { spawn } from 'node:child_process';
import { existsSync } from 'node:fs';
import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { createInterface } from 'node:readline';
import { fileURLToPath } from 'node:url';

// The browser's driver is installed with the page's other packages.
const require = createRequire(new URL('../page/package.json', import.meta.url));
const { chromium } = require('playwright-core');
/** Where a file of one of the page's packages lies. */
export const packageFile = require.resolve;

const root = fileURLToPath(new URL('..', import.meta.url));
export const simulatorProgram =
  process.env.VEMO_SIMULATOR ?? `${root}build/release/apps/simulator/vemo-simulator`;
const waitMs = 60_000; // much, for machines with much to do

/**
 * A running simulator: its `address`, what it wrote to standard error, and how to end it.
 * A program that ends before it is ready is an error that holds its last words.
 */
export async function startSimulator(options = []) {
  const child = spawn(simulatorProgram, ['--port', '0', ...options], {
    stdio: ['ignore', 'pipe', 'pipe'],
  });
  const errors = [];
  const ended = new Promise((resolve) => {
    child.once('exit', (code, signal) => resolve({ code, signal }));
    child.once('error', (error) => resolve({ code: null, signal: null, error }));
  });
  const errorLines = createInterface({ input: child.stderr });
  const watchers = new Set();
  errorLines.on('line', (line) => {
    errors.push(line);
    for (const watcher of watchers) watcher();
  });
  const firstLine = new Promise((resolve) => {
    createInterface({ input: child.stdout }).once('line', resolve);
  });
  const address = await Promise.race([firstLine, ended.then(() => undefined)]);
  if (!address) {
    const { error } = await ended;
    throw new Error(`the simulator did not start: ${error?.message ?? errors.join('\n')}`);
  }
  return {
    address,
    errors,
    /** Waits until a line of standard error fits. */
    errorLine(fits) {
      return new Promise((resolve, reject) => {
        const timer = setTimeout(() => {
          watchers.delete(look);
          reject(new Error(`no such line in:\n${errors.join('\n')}`));
        }, waitMs);
        const look = () => {
          const line = errors.find(fits);
          if (line === undefined) return;
          clearTimeout(timer);
          watchers.delete(look);
          resolve(line);
        };
        watchers.add(look);
        look();
      });
    },
    stop(signal = 'SIGTERM') {
      if (child.exitCode === null && child.signalCode === null) child.kill(signal);
      return ended;
    },
  };
}

export async function startBrowser() {
  const candidates = [process.env.CHROMIUM, '/usr/bin/chromium', '/usr/bin/chromium-browser'];
  const executablePath = candidates.find((path) => path && existsSync(path));
  if (!executablePath) throw new Error('Chromium is not installed (or set CHROMIUM to its path).');
  return chromium.launch({
    executablePath,
    args: [
      ...(process.getuid?.() === 0 ? ['--no-sandbox'] : []),
      '--disable-gpu',
      '--disable-quic',
      '--no-first-run',
      '--disable-background-networking',
      '--disable-component-update',
      '--disable-sync',
    ],
  });
}

/**
 * Connects the page in `frame` anew, past its own client, and sends texts as page messages. Gives
 * the answers up to the one with the callback id `last`.
 */
export function sendRaw(frame, texts, last) {
  return frame.evaluate(
    ([texts, last]) =>
      new Promise((resolve) => {
        const replies = [];
        addEventListener('message', ({ data, ports: [port] }) => {
          if (data?.vemo !== 'connected') return;
          port.onmessage = ({ data: { kind, text } }) => {
            if (kind !== 'script') return;
            const reply = JSON.parse(text.slice(text.indexOf('(') + 1, -1));
            replies.push(reply);
            if (reply.head.cbid === last) resolve(replies);
          };
          for (const text of texts) port.postMessage({ kind: 'message', text });
        });
        parent.postMessage({ vemo: 'connect' }, '*');
      }),
    [texts, last],
  );
}

/** A phone: a browser page with the simulator's shell, and the classroom page in it. */
export class Phone {
  constructor(page) {
    this.page = page;
    this.problems = [];
    page.on('pageerror', (error) => this.problems.push(String(error)));
    page.on('console', (message) => {
      if (message.type() === 'error') this.problems.push(message.text());
    });
  }

  /** Opens a phone in `context` and waits until its page can be used. */
  static async open(context, address) {
    const phone = new Phone(await context.newPage());
    phone.page.setDefaultTimeout(waitMs);
    await phone.page.goto(address);
    await phone.inPhase('outside');
    return phone;
  }

  /** The phone of the same window that has this number. */
  numbered(number) {
    const phone = Object.create(this);
    phone.section = this.page.locator(`.phone[data-phone="${number}"]`);
    return phone;
  }

  /** The classroom page. */
  get view() {
    return (this.section ?? this.page).frameLocator('iframe');
  }

  async inPhase(phase) {
    await this.view.locator(`body[data-phase="${phase}"]`).waitFor();
  }

  async fillIn({ name, room = 101, role = 'stage', application, signature }) {
    await this.view.getByLabel('Your name').fill(name);
    await this.view.getByLabel('Room', { exact: true }).fill(String(room));
    await this.view.locator('.choice').nth(role === 'stage' ? 0 : 1).click();
    if (application === undefined && signature === undefined) return;
    const more = this.view.locator('details.options');
    if (!(await more.evaluate((element) => element.open))) await more.locator('summary').click();
    if (application !== undefined)
      await this.view.getByLabel('Application').fill(String(application));
    if (signature !== undefined) await this.view.getByLabel('Signature').fill(signature);
  }

  async enter(form) {
    await this.fillIn(form);
    await this.view.getByRole('button', { name: 'Enter room' }).click();
    await this.inPhase('inside');
  }

  async tryToEnter(form) {
    await this.fillIn(form);
    await this.view.getByRole('button', { name: 'Enter room' }).click();
    await this.view.locator('.problem strong').filter({ hasText: /./ }).waitFor();
    return this.view.locator('.problem').innerText();
  }

  /** Waits until nothing fades in any more. */
  async settled() {
    for (const frame of this.page.frames())
      await frame.evaluate(async () => {
        const fading = document.getAnimations().filter(({ effect }) => effect.getTiming().iterations < 9);
        await Promise.all(fading.map(({ finished }) => finished.catch(() => {})));
      });
  }

  control(name) {
    return this.view.locator(`[data-control="${name}"]`);
  }

  tile(userId) {
    return this.view.locator(`.tile[data-user="${userId}"]`);
  }

  screenTile(userId) {
    return this.view.locator(`.tile[data-screen-of="${userId}"]`);
  }

  /** A native view that the shell draws above the page. */
  nativeView(userId, viewType = 0) {
    return this.page.locator(`canvas[data-view="${userId}/${viewType}"]`);
  }

  /** The names of those in the room, in the order of the tiles. */
  async people() {
    return this.view.locator('.tile[data-user]').evaluateAll((tiles) => tiles.map((tile) => tile.dataset.user));
  }

  /** Opens a page of the drawer: people, devices, music or network. */
  async openPage(name) {
    await this.view.locator(`[data-page="${name}"]`).click();
    await this.view.locator('.drawer').waitFor();
  }

  /** Opens the developer panel at a page of it. */
  async openPanel(page) {
    const panel = this.page.locator('.panel');
    if (!(await panel.isVisible()))
      await this.page.getByRole('button', { name: 'Developer panel' }).click();
    await panel.getByRole('tab', { name: page }).click();
    return panel;
  }

  /** What the phone's time line has told so far, as it exports it: a row each, in order. */
  async timeLine() {
    const panel = await this.openPanel('Time line');
    const rows = await this.saved('Everything');
    await panel.getByRole('button', { name: 'Close panel' }).click();
    return rows;
  }

  /** What the open time line saves as `kind`: the values of its lines. */
  async saved(kind) {
    await this.page.locator('.menu summary').click();
    const [download] = await Promise.all([
      this.page.waitForEvent('download'),
      this.page.locator('.menu').getByRole('button', { name: kind }).click(),
    ]);
    const text = await readFile(await download.path(), 'utf8');
    return text.trimEnd().split('\n').map((line) => JSON.parse(line));
  }

  /** The rows in sight of the open time line that have this title. */
  row(title) {
    return this.page.locator('.row', { has: this.page.locator(`.name:text-is("${title}")`) });
  }

  /** Chooses a permission in the phone's panel: notDetermined, authorized, denied, restricted. */
  async setPermission(device, status, phone) {
    const panel = await this.openPanel('Phone');
    if (phone) await panel.getByLabel('Phone that the panel shows').selectOption(phone);
    await panel.getByLabel(device, { exact: true }).selectOption(status);
    await this.page.getByRole('button', { name: 'Close panel' }).click();
  }

  dialog(kind) {
    return (this.section ?? this.page).locator(`[data-dialog="${kind}"]`);
  }

  async answerPrompt(media, allow) {
    await this.dialog(`prompt-${media}`)
      .getByRole('button', { name: allow ? 'Allow' : 'Don’t Allow', exact: true })
      .click();
  }
}
