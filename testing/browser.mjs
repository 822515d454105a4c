// Starts the simulator and Chromium, and drives classroom pages.

import assert from 'node:assert/strict';
import { spawn } from 'node:child_process';
import { existsSync, mkdtempSync, readFileSync, rmSync } from 'node:fs';
import { readFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { tmpdir } from 'node:os';
import { dirname } from 'node:path';
import { createInterface } from 'node:readline';
import { after, afterEach, before, beforeEach } from 'node:test';
import { fileURLToPath } from 'node:url';

// The browser's driver is installed with the page's other packages.
const require = createRequire(new URL('../page/package.json', import.meta.url));
const { chromium } = require('playwright-core');
const { chromiumSwitches } = require(
  `${dirname(require.resolve('playwright-core'))}/lib/server/chromium/chromiumSwitches.js`,
);
/** The accessibility checker, as a script. */
const checker = readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8');

const root = fileURLToPath(new URL('..', import.meta.url));
export const simulatorProgram =
  process.env.VEMO_SIMULATOR ?? `${root}build/release/apps/simulator/vemo-simulator`;
/** The screens that all must be seen well on: of a computer, of a phone, and of a phone that lies. */
export const screens = [
  { width: 1280, height: 800 },
  { width: 390, height: 844 },
  { width: 844, height: 390 },
];
const waitMs = 60_000; // much, for machines with much to do

// What simulators keep of their user's is not touched.
const stateFolder = mkdtempSync(`${tmpdir()}/vemo-state-`);
process.on('exit', () => rmSync(stateFolder, { recursive: true, force: true }));

/**
 * A running simulator with this tree’s pages: its `address`, what it wrote to standard error, and how
 * to end it.
 * A program that ends before it is ready is an error that holds its last words.
 */
export async function startSimulator(options = []) {
  const child = spawn(simulatorProgram, ['--port', '0', '--shell', `${root}page/dist`, ...options], {
    stdio: ['ignore', 'pipe', 'pipe'],
    env: { ...process.env, XDG_STATE_HOME: stateFolder },
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

/** A simulator's address with more in its query, such as `user=Ada`. */
export const withQuery = (address, query) => (query ? `${address}&${query}` : address);

export async function startBrowser() {
  const candidates = [process.env.CHROMIUM, '/usr/bin/chromium', '/usr/bin/chromium-browser'];
  const executablePath = candidates.find((path) => path && existsSync(path));
  if (!executablePath) throw new Error('Chromium is not installed (or set CHROMIUM to its path).');
  // Each window would have two more pages, for what drops down from the address bar: more than a third of
  // what a window costs. The last list counts, so it holds the driver's own.
  const off = chromiumSwitches().find((argument) => argument.startsWith('--disable-features='));
  return chromium.launch({
    executablePath,
    args: [
      `${off},WebUIOmniboxPopup,WebUIOmniboxAimPopup`,
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

/** What the checker finds in one document, by all its rules or by these. */
async function findingsIn(frame, rules) {
  if (!(await frame.evaluate(() => 'axe' in window))) await frame.evaluate(checker);
  const violations = await frame.evaluate(async (rules) => {
    // What a frame brings is a frame late at places whose size decides, and nobody has seen it before.
    for (let frame = 0; frame < 2; ++frame) await new Promise(requestAnimationFrame);
    // What was found to be well need not be told.
    const options = { iframes: false, resultTypes: ['violations'] };
    return (await window.axe.run(document, rules ? { ...options, runOnly: rules } : options)).violations;
  }, rules);
  return violations.flatMap(({ id, nodes }) =>
    nodes.map(({ target, failureSummary }) => `${id}: ${target.flat().join(' ')}: ${failureSummary}`),
  );
}

/** A phone: a browser page with the simulator's shell, and the classroom page in it. */
export class Phone {
  constructor(page) {
    this.page = page;
    page.setDefaultTimeout(waitMs);
    this.problems = [];
    page.on('pageerror', (error) => this.problems.push(String(error)));
    page.on('console', (message) => {
      if (message.type() === 'error') this.problems.push(message.text());
    });
  }

  /** A phone in `window`, which holds no other page, once its page can be used. */
  static async open(window, address) {
    const phone = new Phone(window);
    await phone.visit(address);
    return phone;
  }

  async visit(address) {
    await this.page.goto(address);
    await this.inPhase('outside');
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

  /** From now on all stands where it comes to rest, what comes later too: nothing fades or slides in. */
  async still() {
    await this.page.emulateMedia({ reducedMotion: 'reduce' });
  }

  /** Waits until each native view in sight lies over its place in a page of the shell's own origin. */
  async viewsInPlace() {
    await this.page.waitForFunction(() =>
      [...document.querySelectorAll('.phone')].every((phone) => {
        const frame = phone.querySelector('iframe');
        const its = frame?.getBoundingClientRect();
        return [...phone.querySelectorAll('canvas.native-view')].every((canvas) => {
          const { left, top, width, height } = canvas.getBoundingClientRect();
          const place = frame.contentDocument
            ?.querySelector(`[data-native-view="${CSS.escape(canvas.dataset.view)}"]`)
            ?.getBoundingClientRect();
          if (!place || place.width < 2 || place.height < 2) return width === 0;
          const off = [its.left + place.left - left, its.top + place.top - top, place.width - width, place.height - height];
          return off.every((difference) => Math.abs(difference) < 1);
        });
      }),
    );
  }

  /**
   * What an accessibility checker finds in the shell and in each page, each document by itself: those
   * beside each other are no one document. In light and, as far as colours go, in dark.
   */
  async findings() {
    await this.still(); // what fades in has too little contrast
    const found = [];
    for (const [colorScheme, rules] of [['light'], ['dark', ['color-contrast']]]) {
      await this.page.emulateMedia({ colorScheme });
      for (const one of await Promise.all(this.page.frames().map((frame) => findingsIn(frame, rules))))
        found.push(...one.map((finding) => `${colorScheme}: ${finding}`));
    }
    await this.page.emulateMedia({ colorScheme: null });
    return found;
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

/**
 * Has a page forget its test, for the next one: a new page costs more than all that a short test does in
 * it. Says whether that went well; a page that died, say, is of no more use.
 */
async function leave(page) {
  try {
    page.removeAllListeners();
    await page.evaluate(() => [localStorage, sessionStorage].forEach((storage) => storage.clear()));
    await page.goto('about:blank', { timeout: 5000 });
    await page.emulateMedia({ colorScheme: null, reducedMotion: null });
    return true;
  } catch {
    return false;
  }
}

/**
 * Gives each test of the calling file a simulator of its own, with `options`, and ends it after the
 * test, which fails when the simulator ended badly or a page had errors. `screen` is that of phones
 * opened without one.
 */
export function simulatorForEachTest({ options = [], screen: usual = { width: 1280, height: 860 } } = {}) {
  let browser;
  let simulator;
  let phones;
  const idle = new Map(); // pages that wait for the next test, by screen

  before(async () => {
    browser = await startBrowser();
  });
  after(() => browser?.close());
  beforeEach(async () => {
    phones = [];
    simulator = await startSimulator(['--log', '/dev/null', ...options]);
  });
  afterEach(async () => {
    const problems = phones.flatMap((phone) => phone.problems);
    const kept = [...idle.values()].flat();
    const left = phones.map(async ({ page, screen }) => {
      if (screen && (await leave(page))) {
        idle.get(screen).push(page);
        kept.push(page);
      }
    });
    await Promise.all(left);
    // What a test opened from its page, too: a page behind another draws twice a second.
    for (const context of browser.contexts()) {
      const [stays] = context.pages().filter((page) => kept.includes(page));
      if (!stays) await context.close();
      else for (const page of context.pages()) if (page !== stays) await page.close();
    }
    const { code } = await simulator.stop();
    assert.equal(code, 0, `the simulator ended badly: ${simulator.errors.join('\n')}`);
    assert.deepEqual(problems, [], 'a page had errors');
  });

  const given = {
    address: () => simulator.address,
    stopSimulator: () => simulator.stop(),
    /**
     * A page in a window of its own, as those behind others in one window draw twice a second. `screen`
     * is its width and height, and `colorScheme` if it matters.
     */
    async newPage({ width, height, ...rest } = usual) {
      const context = await browser.newContext({ viewport: { width, height }, ...rest });
      return context.newPage();
    },
    /** A phone that is not opened yet: see `Phone.visit`. Its page is a new one. */
    async blank(screen) {
      const phone = new Phone(await given.newPage(screen));
      phones.push(phone);
      return phone;
    },
    /** A phone whose page can be used; `query` is more of its address. */
    async open(screen = usual, query = '') {
      const key = JSON.stringify(screen);
      if (!idle.has(key)) idle.set(key, []);
      const phone = new Phone(idle.get(key).pop() ?? (await given.newPage(screen)));
      phone.screen = key;
      phones.push(phone);
      await phone.visit(withQuery(simulator.address, query));
      return phone;
    },
    /** A phone in the room that `form` names. */
    async entered(form, screen) {
      const phone = await given.open(screen);
      await phone.enter(form);
      return phone;
    },
  };
  return given;
}
