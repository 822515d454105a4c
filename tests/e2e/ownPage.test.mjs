// Pages of one's own in the simulator's phones: a folder, a server of another origin with hot
// reload, and pages that behave badly.

import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createServer } from 'node:http';
import { createServer as createSecureServer } from 'node:https';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { after, afterEach, before, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import { Phone, startBrowser, startSimulator, withQuery } from '../../testing/browser.mjs';

const root = fileURLToPath(new URL('../..', import.meta.url));
const client = readFileSync(join(root, 'page/client/dist/vemo-client.js'));

let browser;
let context;
let folder;
let endings;

before(async () => {
  browser = await startBrowser();
});
after(async () => {
  await browser?.close();
});
beforeEach(async () => {
  context = await browser.newContext({ viewport: { width: 1000, height: 800 } });
  folder = join(mkdtempSync(join(tmpdir(), 'vemo-')), 'lesson');
  endings = [];
});
afterEach(async () => {
  await context.close();
  for (const end of endings.reverse()) await end();
  rmSync(join(folder, '..'), { recursive: true });
});

/** Makes a starter page in `folder`, as a page developer does. */
function newPage(...options) {
  return execFileSync(join(root, 'run'), ['--new-page', folder, ...options], {
    encoding: 'utf8',
    stdio: ['ignore', 'pipe', 'ignore'],
  });
}

async function simulate(...options) {
  const simulator = await startSimulator(['--log', '/dev/null', ...options]);
  endings.push(() => simulator.stop());
  return simulator;
}

async function open(simulator) {
  const phone = new Phone(await context.newPage());
  await phone.page.goto(simulator.address);
  return phone;
}

async function enter(phone) {
  await phone.view.getByRole('button', { name: 'Enter' }).click();
  await phone.view.getByText('is in room 101').waitFor();
}

/** A server of another origin with a page of this text, and the client. */
async function serve(html, headers = {}, make = createServer) {
  const server = make(({ url }, response) => {
    const isClient = url === '/vemo-client.js';
    response.writeHead(200, { 'Content-Type': isClient ? 'text/javascript' : 'text/html', ...headers });
    response.end(isClient ? client : html);
  });
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  endings.push(() => new Promise((resolve) => {
    server.close(resolve);
    server.closeAllConnections();
  }));
  return `http://127.0.0.1:${server.address().port}/`;
}

/** Waits until the phone's time line tells of something. */
async function told(phone, words) {
  await phone.openPanel('Time line');
  await phone.page.getByLabel('Search the time line').fill(words);
  await phone.page.locator('.row', { hasText: words }).first().waitFor();
}

/** A port that was free a moment ago. */
async function freePort() {
  const server = createServer();
  await new Promise((resolve) => server.listen(0, '127.0.0.1', resolve));
  const { port } = server.address();
  await new Promise((resolve) => server.close(resolve));
  return port;
}

test('the starter page is copied by one command and runs from its folder', async () => {
  assert.match(newPage(), /--page .*lesson/);
  assert.ok(readFileSync(join(folder, 'index.html'), 'utf8').split('\n').length < 30);
  const simulator = await simulate('--page', folder);
  const [ada, ben] = [await open(simulator), await open(simulator)];
  await enter(ada);
  await ada.answerPrompt('camera', true);
  await ada.page.locator('canvas.native-view').waitFor();
  await enter(ben);
  await ben.view.getByText('is here').waitFor();

  // By the simulator's address it is somebody, somewhere.
  const eve = new Phone(await context.newPage());
  await eve.page.goto(withQuery(simulator.address, 'user=Eve&room=7'));
  await eve.view.getByRole('button', { name: 'Enter' }).click();
  await eve.view.getByText('Eve is in room 7').waitFor();
  assert.deepEqual([...ada.problems, ...ben.problems], []);
});

const vite = join(root, 'page/node_modules/vite/bin/vite.js');

/** Makes a Vite project in `folder`, with what it needs. */
function newViteProject() {
  newPage('--vite');
  // As npm would, which without a network asks for the server's packages all the same; the server
  // is there already.
  const client = join(folder, 'node_modules/vemo-client');
  mkdirSync(client, { recursive: true });
  execFileSync('tar', ['-xzf', join(folder, 'vemo-client.tgz'), '-C', client, '--strip-components=1']);
}

test('a page that was built for the root of its server runs from its folder', async () => {
  newViteProject();
  execFileSync(process.execPath, [vite, 'build'], { cwd: folder, stdio: 'ignore' });
  assert.match(readFileSync(join(folder, 'dist/index.html'), 'utf8'), /src="\/assets\//);
  const ada = await open(await simulate('--page', join(folder, 'dist')));
  await ada.view.getByText('sdk version').waitFor();
  assert.deepEqual(ada.problems, []);
});

test('a Vite project in a fresh folder runs unmodified, with hot reload', async () => {
  newViteProject();
  const port = await freePort();
  const simulator = await simulate('--page-url', `http://localhost:${port}`);
  const ada = await open(simulator);
  await ada.page.getByText(`Nothing answers at http://localhost:${port}/ yet`).waitFor();
  ada.problems.length = 0; // the server was looked for

  const server = spawn(process.execPath, [vite, '--port', port, '--strictPort'], { cwd: folder, stdio: 'ignore' });
  const ended = new Promise((resolve) => server.once('exit', resolve));
  endings.push(() => {
    server.kill();
    return ended;
  });
  await ada.view.getByText('sdk version').waitFor(); // its script runs
  // By keyboard: the prompt takes the focus, and gives it back to the page of another origin.
  const button = ada.view.getByRole('button', { name: 'Enter' });
  await button.focus();
  await ada.page.keyboard.press('Enter');
  await ada.dialog('prompt-camera').waitFor();
  await ada.page.keyboard.press('Tab');
  await ada.page.keyboard.press('Enter'); // allows
  await ada.page.locator('canvas.native-view').waitFor();
  await ada.view.locator('button:focus').waitFor();
  assert.equal(await ada.page.getByText('Nothing answers').isVisible(), false);

  const main = join(folder, 'main.ts');
  writeFileSync(main, readFileSync(main, 'utf8').replace('is in room', 'has come into room'));
  await ada.view.getByText('is in room').waitFor({ state: 'detached' });
  await button.click();
  await ada.view.getByText('has come into room 101').waitFor();

  // The shell's own button reloads it too, though it is of another origin.
  await ada.page.getByRole('button', { name: 'Reload the page' }).click();
  await ada.view.getByText('has come').waitFor({ state: 'detached' });
  await ada.view.getByText('sdk version').waitFor();
  const errors = ada.problems.filter((text) => !text.includes('ERR_CONNECTION_REFUSED'));
  assert.deepEqual(errors, []);
});

test('a page of another origin that the simulator’s own script tag serves', async () => {
  const port = await freePort();
  const page = await serve(`<script src="http://127.0.0.1:${port}/vemo-client.js" crossorigin></script>
    <output></output><script>
      new VemoClient.Bridge().getSDKVersion().then(({ version }) => document.querySelector('output').append(version));
    </script>`);
  const simulator = await simulate('--port', String(port), '--page-url', page);
  const ada = await open(simulator);
  await ada.view.locator('output', { hasText: '1.0.0' }).waitFor();
  assert.deepEqual(ada.problems, []);
});

test('the page needs no eval, and the shell’s policy is not the page’s', async () => {
  const page = await serve(
    `<script src="/vemo-client.js" nonce="n"></script><output></output><script nonce="n">
      const bridge = new VemoClient.Bridge();
      const tell = (text) => document.querySelector('output').append(text);
      bridge.initSDK().then(({ text }) => tell(text));
    </script>`,
    { 'Content-Security-Policy': "default-src 'none'; script-src 'nonce-n'" },
  );
  const ada = await open(await simulate('--page-url', page));
  await ada.view.locator('output', { hasText: 'sdk version' }).waitFor();
  assert.deepEqual(ada.problems, []);
});

const asking = `<script>
  addEventListener('message', ({ data }) => document.body.append('got ' + data.vemo));
  top.postMessage({ vemo: 'connect' }, '*');
  top.postMessage({ vemo: 'last' }, '*');
</script><body>asked`;

test('only the named origin is let in', async () => {
  const foreign = await serve(asking);
  // The page goes elsewhere: the browser keeps the other page out of the frame.
  const leaving = await serve(`<script>location = ${JSON.stringify(foreign)}</script>`);
  const refused = context.waitForEvent('console', (message) => message.text().includes('frame-src'));
  const left = await open(await simulate('--page-url', leaving));
  assert.match((await refused).text(), /violates/);
  const sentence = `The page leads to ${new URL(foreign).origin}`;
  await left.page.getByRole('status').filter({ hasText: sentence }).waitFor();
  await told(left, sentence);

  // Even if it were there it would be told nothing; nor is a page with an origin of its own.
  const isolated = await serve(asking, { 'Content-Security-Policy': 'sandbox allow-scripts' });
  for (const [page, bypassCSP] of [
    [isolated, false],
    [leaving, true],
  ]) {
    await context.close();
    context = await browser.newContext({ bypassCSP, viewport: { width: 1000, height: 800 } });
    const eve = await open(await simulate('--page-url', page));
    await told(eve, 'is not let in');
    assert.equal(await eve.view.locator('body').innerText(), 'asked');
  }
});

test('a page that is there and asks for no phone is told of, until it asks', async () => {
  const late = await serve(`<!doctype html><html lang="en"><title>Late</title><main><h1>Late</h1><button>Begin</button>
    <output></output></main><script src="/vemo-client.js"></script><script>
      const tell = ({ version }) => document.querySelector('output').append(version);
      document.querySelector('button').onclick = () => new VemoClient.Bridge().getSDKVersion().then(tell);
    </script>`);
  const ada = await open(await simulate('--page-url', late));
  const notice = ada.page.getByRole('status').filter({ hasText: 'The page has loaded and has not asked for its phone.' });
  await notice.waitFor();
  assert.deepEqual(await ada.findings(), []);
  await ada.view.getByRole('button', { name: 'Begin' }).click();
  await ada.view.locator('output', { hasText: '1.0.0' }).waitFor();
  await notice.waitFor({ state: 'detached' });

  // One whose server forbids it to be framed is seen by nobody.
  const hidden = await serve('<p>hidden</p>', { 'X-Frame-Options': 'DENY' });
  const ben = await open(await simulate('--page-url', hidden));
  await ben.page.getByRole('status').filter({ hasText: 'its server forbids to frame it' }).waitFor();
});

test('a page whose server keeps its files from other origins, as webpack’s does, opens in its phone', async () => {
  const page = await serve(
    `<script src="/vemo-client.js"></script><output></output><script>
      new VemoClient.Bridge().getSDKVersion().then(({ version }) => document.querySelector('output').append(version));
    </script>`,
    { 'Cross-Origin-Resource-Policy': 'same-origin' },
  );
  const ada = await open(await simulate('--page-url', page));
  await ada.view.locator('output', { hasText: '1.0.0' }).waitFor();
});

test('a page is reloaded from where it has gone, however long its server takes', async () => {
  const asked = [];
  let holds = false;
  let held;
  const page = await serve(
    `<script src="/vemo-client.js"></script><a href="/second">On</a><output></output><script>
      const { pathname } = location;
      const times = (sessionStorage[pathname] = 1 + Number(sessionStorage[pathname] ?? 0));
      const tell = () => document.querySelector('output').append(pathname + ' for time ' + times);
      new VemoClient.Bridge().getSDKVersion().then(tell);
    </script>`,
    {},
    (answer) =>
      createServer((request, response) => {
        asked.push(request.url);
        if (holds && request.url === '/second') held = () => answer(request, response);
        else answer(request, response);
      }),
  );
  const simulator = await simulate('--page-url', page);
  const ada = new Phone(await context.newPage());
  await ada.page.clock.install();
  await ada.page.goto(simulator.address);
  await ada.view.getByRole('link').click();
  await ada.view.locator('output', { hasText: '/second for time 1' }).waitFor();
  const first = () => asked.filter((url) => url === '/').length;
  const before = first();
  holds = true;
  await ada.page.getByRole('button', { name: 'Reload the page' }).click();
  while (!held) await new Promise(setImmediate);
  await ada.page.clock.runFor(60_000);
  held();
  await ada.view.locator('output', { hasText: '/second for time 2' }).waitFor();
  assert.equal(first(), before);

  // A page that does not hear it is loaded from its address.
  await ada.page.frames()[1].evaluate(() => (location = '/vemo-client.js'));
  await ada.view.getByText('use strict').waitFor();
  await ada.page.getByRole('button', { name: 'Reload the page' }).click();
  await ada.page.clock.runFor(60_000);
  await ada.view.locator('output', { hasText: '/ for time 2' }).waitFor();
});

/** A minute of silence: a sound of one byte each 8,000th of a second. */
function silence() {
  const bytes = 60 * 8000;
  const file = Buffer.alloc(44 + bytes, 128);
  file.write('RIFF', 0);
  file.writeUInt32LE(36 + bytes, 4);
  file.write('WAVEfmt ', 8);
  file.writeUInt32LE(16, 16);
  file.writeUInt16LE(1, 20); // PCM
  file.writeUInt16LE(1, 22);
  file.writeUInt32LE(8000, 24);
  file.writeUInt32LE(8000, 28);
  file.writeUInt16LE(1, 32);
  file.writeUInt16LE(8, 34);
  file.write('data', 36);
  file.writeUInt32LE(bytes, 40);
  return file;
}

test('a page’s own media can be sought in', async () => {
  newPage();
  writeFileSync(join(folder, 'silence.wav'), silence());
  const ada = await open(await simulate('--page', folder));
  await ada.view.getByText('sdk version').waitFor();
  const frame = ada.page.frames()[1];
  await frame.evaluate(() => {
    window.sound = new Audio('silence.wav');
    sound.addEventListener('loadedmetadata', () => (sound.currentTime = 50));
  });
  await frame.waitForFunction(() => !sound.seeking && sound.currentTime === 50);
});

test('a page of localhost has its cookies', async () => {
  const port = new URL(await serve(`<script src="/vemo-client.js"></script><output></output><script>
      document.querySelector('output').append(document.cookie);
    </script>`, { 'Set-Cookie': 'lesson=7; SameSite=Lax' })).port;
  const simulator = await simulate('--page-url', `http://localhost:${port}`);
  assert.match(simulator.address, /^http:\/\/localhost:/);
  const ada = await open(simulator);
  await ada.view.locator('output', { hasText: 'lesson=7' }).waitFor();
});

test('a page at https, once its certificate is accepted', async () => {
  const [key, certificate] = ['key.pem', 'certificate.pem'].map((name) => join(folder, '..', name));
  const subject = ['-subj', '/CN=localhost', '-addext', 'subjectAltName=DNS:localhost'];
  execFileSync('openssl', ['req', '-x509', '-newkey', 'ec', '-pkeyopt', 'ec_paramgen_curve:prime256v1', '-nodes',
    '-days', '2', ...subject, '-keyout', key, '-out', certificate], { stdio: 'ignore' });
  const page = await serve(
    `<script src="/vemo-client.js"></script><output></output><script>
      new VemoClient.Bridge().getSDKVersion().then(({ version }) => document.querySelector('output').append(version));
    </script>`, {}, (answer) => createSecureServer({ key: readFileSync(key), cert: readFileSync(certificate) }, answer));
  const address = `https://localhost:${new URL(page).port}/`;
  const simulator = await simulate('--page-url', address);
  const ada = await open(simulator);
  await ada.page.getByRole('status').filter({ hasText: 'this browser does not trust its certificate' }).waitFor();

  await context.close();
  context = await browser.newContext({ ignoreHTTPSErrors: true, viewport: { width: 1000, height: 800 } });
  const ben = await open(simulator);
  await ben.view.locator('output', { hasText: '1.0.0' }).waitFor();
  assert.deepEqual(ben.problems, []);
});

test('a page made of components has its videos in them', async () => {
  const page = await serve(`<script src="/vemo-client.js"></script><lesson-room></lesson-room><script>
      const bridge = new VemoClient.Bridge();
      customElements.define('lesson-room', class extends HTMLElement {
        async connectedCallback() {
          const root = this.attachShadow({ mode: 'open' });
          root.innerHTML = '<button>Enter</button><lesson-tile></lesson-tile>';
          root.querySelector('button').onclick = async () => {
            await bridge.enterRoom({ appScene: 1, sdkAppId: 1, userId: 'ada', userSig: 'any', roomId: 101 });
            const tile = root.querySelector('lesson-tile').attachShadow({ mode: 'open' });
            tile.innerHTML = '<div data-native-view="ada/0" style="position: fixed; inset: 100px 50px 60px 40px"></div>';
            await bridge.startLocalPreview();
          };
          await bridge.initSDK();
        }
      });
    </script>`);
  const ada = await open(await simulate('--page-url', page));
  await ada.view.getByRole('button', { name: 'Enter' }).click();
  await ada.answerPrompt('camera', true);
  await ada.nativeView('ada').waitFor();
  const place = await ada.view.locator('div').boundingBox();
  const { x, y } = await ada.nativeView('ada').boundingBox();
  assert.deepEqual([x, y], [place.x, place.y]);
  assert.deepEqual(ada.problems, []);
});

test('a page that makes its bridge twice, asks before it is ready and catches nothing', async () => {
  const page = await serve(`<!doctype html><html lang="en"><title>Hasty</title><main><h1>Hasty</h1><output></output></main>
    <script src="/vemo-client.js"></script><script>
      const told = [];
      const tell = (text) => { told.push(text); document.querySelector('output').textContent = told.join('; '); };
      addEventListener('unhandledrejection', ({ reason }) => tell(reason.message));
      // As an effect in React's strict mode does.
      const made = [1, 2].map((time) => {
        const bridge = new VemoClient.Bridge();
        bridge.on('onEnterRoom', () => tell('event ' + time));
        bridge.initSDK().then(() => tell('ready ' + time), ({ reason }) => tell(reason + ' ' + time));
        return bridge;
      });
      const [, bridge] = made;
      bridge.enterRoom({ appScene: 1, sdkAppId: 1, userId: 'ada', userSig: 'any', roomId: 101 }).then(async () => {
        const controller = new AbortController();
        const ended = (async () => {
          const music = { audioId: 1, path: '/lost.mp3', onStart: true, onProgress: true, onComplete: true };
          for await (const { state } of bridge.playMusic(music, { signal: controller.signal })) tell(state);
        })();
        controller.abort(new Error('enough music'));
        await ended.catch(({ message }) => tell(message));
        bridge.startLocalPreview(); // nobody catches what comes of it
      });
    </script>`);
  const ada = await open(await simulate('--page-url', page));
  await ada.answerPrompt('camera', false);
  const output = ada.view.locator('output');
  await output.getByText('startLocalPreview: user not allowed access camera (KOBU -1314)').waitFor();
  const told = (await output.innerText()).split('; ');
  assert.deepEqual(told.slice(0, 2), ['stopped 1', 'ready 2']);
  assert.deepEqual([...told].sort().slice(0, 4), ['enough music', 'event 2', 'ready 2', 'startLocalPreview: user not allowed access camera (KOBU -1314)']);
  // Its own faults are told; "on" before "initSDK" is none.
  await ada.openPanel('Time line');
  await ada.row('startLocalPreview').waitFor();
  assert.deepEqual(await ada.page.locator('.row .remark-mark').allInnerTexts(), []);
});

test('a frame within the page is not taken for the page, though of its origin', async () => {
  const page = await serve(`<script src="/vemo-client.js"></script><output></output>
    <iframe srcdoc="${asking.replaceAll('"', '&quot;')}" onload="ask()"></iframe><script>
      const ask = () => new VemoClient.Bridge().getSDKVersion().then(({ version }) => document.querySelector('output').append(version));
    </script>`);
  const ada = await open(await simulate('--page-url', page));
  // The page asked after its frame did, and was answered.
  await ada.view.locator('output', { hasText: '1.0.0' }).waitFor();
  assert.equal(await ada.view.frameLocator('iframe').locator('body').innerText(), 'asked');
});

test('a page of another origin has the text size and the language of its phone, and its functions are seen', async () => {
  const page = await serve(`<script src="vemo-client.js"></script><output></output><script>
      const bridge = new VemoClient.Bridge();
      const show = () => document.querySelector('output').textContent = navigator.language + ' ' + navigator.languages;
      addEventListener('languagechange', show);
      window.there = () => {};
      const callbacks = ['there', 'gone.missing'].map((name) => ({ sdkcbName: 'onWarning', jsRecvcbName: name }));
      bridge.registCallBacks({ callbacks });
    </script>`);
  const simulator = await simulate('--page-url', page);
  const ada = new Phone(await context.newPage());
  await ada.page.goto(withQuery(simulator.address, 'text=150&lang=de'));
  await ada.view.locator('output', { hasText: 'de de' }).waitFor();
  const fontSize = () => ada.page.frames()[1].evaluate(() => document.documentElement.style.fontSize);
  assert.equal(await fontSize(), '150%');
  const panel = await ada.openPanel('Time line');
  const row = ada.row('registCallBacks');
  const missing = '“onWarning” goes to “gone.missing”, and the page has no such function now.';
  await row.locator('.remark-mark', { hasText: missing }).waitFor();
  await row.locator('.row-head').click();
  assert.deepEqual(await row.locator('p.remark').allInnerTexts(), [missing]);

  await ada.openPanel('Phone');
  await panel.getByLabel('Language').selectOption('Chinese (China)');
  await ada.view.locator('output', { hasText: 'zh-CN zh-CN' }).waitFor();
  await panel.getByLabel('Text size').selectOption('100 %');
  await panel.getByLabel('Language').selectOption('As this browser');
  await ada.view.locator('output', { hasText: 'en' }).waitFor();
  assert.equal(await fontSize(), '');
  assert.deepEqual(ada.problems, []);
});

test('a page that floods, reloads in a loop or sends nonsense leaves the others working', async () => {
  newPage();
  const good = await simulate('--page', folder);
  const bad = {
    flood: `<script>
      const text = JSON.stringify({ head: { action: 'flood' }, cbid: '1', params: { a: 'x'.repeat(1000) } });
      addEventListener('message', ({ ports: [port] }) => {
        setInterval(() => {
          for (let sent = 0; sent < 100; ++sent) port.postMessage({ kind: 'message', text });
        }, 20);
      });
      parent.postMessage({ vemo: 'connect' }, '*');
    </script>`,
    deluge: `<script>
      const text = JSON.stringify({ head: { action: 'flood' }, params: { a: 'x'.repeat(200_000) } });
      addEventListener('message', ({ ports: [port] }) => {
        setInterval(() => {
          for (let sent = 0; sent < 100; ++sent) port.postMessage({ kind: 'message', text });
        }, 20);
      });
      parent.postMessage({ vemo: 'connect' }, '*');
    </script>`,
    reload: `<script src="vemo-client.js"></script><script>
      new VemoClient.Bridge().getSDKVersion().then(() => location.reload());
    </script>`,
    nonsense: `<script>
      addEventListener('message', ({ ports: [port] }) => {
        for (const frame of [null, 7, 'text', {}, { kind: 'nose' }, { kind: 'message' }, { kind: 'message', text: 7 }, { kind: 'message', text: '{' }, { kind: 'places' }, { kind: 'places', views: [7], above: [null] }, { kind: 'failed' }])
          port.postMessage(frame);
        parent.postMessage(null, '*');
        parent.postMessage({ vemo: 7 }, '*');
      });
      parent.postMessage({ vemo: 'connect' }, '*');
    </script>`,
  };
  for (const [name, html] of Object.entries(bad)) writeFileSync(join(folder, `${name}.html`), html);
  const words = {
    flood: 'flood',
    deluge: 'The page sends faster than its phone takes it, and was cut off.',
    reload: 'The page has loaded',
    nonsense: 'a message that is no text',
  };
  for (const [name, sentence] of Object.entries(words)) {
    const phone = await open(good);
    await phone.view.getByText('sdk version').waitFor();
    await phone.page.frames()[1].goto(new URL(`page/${name}.html`, good.address).href);
    await told(phone, sentence);
    const ada = await open(good);
    await enter(ada);
    await ada.page.close();
    await phone.page.close();
  }
});

test('a page that the simulator has cut off is told so in its phone and time line, and goes on when it is reloaded', async () => {
  const page = await serve(`<!doctype html><html lang="en"><title>Much</title><main><h1>Much</h1><output></output></main>
    <script src="/vemo-client.js"></script><script>
      const bridge = new VemoClient.Bridge();
      const tell = (text) => document.querySelector('output').append(text);
      bridge.getSDKVersion().then(({ version }) => tell(version));
      bridge.onState = (state) => tell(' ' + state);
    </script>`);
  const good = await simulate('--page-url', page);
  const eve = new Phone(await context.newPage());
  // How much it has to send for that depends on the machine: what the simulator then does is done here.
  let cutOff;
  await eve.page.routeWebSocket(/\/phone\?/, (socket) => {
    socket.connectToServer();
    cutOff = () => socket.close({ code: 1008, reason: 'it sent more than a page may' });
  });
  await eve.page.goto(good.address);
  await eve.view.locator('output', { hasText: '1.0.0' }).waitFor();
  cutOff();
  const sentence = 'The simulator cut the page off: it sent more than a page may.';
  const notice = eve.page.getByRole('status').filter({ hasText: sentence });
  await notice.waitFor();
  assert.deepEqual(await eve.findings(), []);
  assert.match(await eve.view.locator('output').innerText(), /stopped$/);
  await told(eve, sentence);
  await eve.page.getByLabel('Search the time line').fill('');
  await eve.row('A page connects.').waitFor();
  assert.equal(await eve.page.getByText('The simulator has stopped.').count(), 0); // it has not
  await eve.page.getByRole('button', { name: 'Reload the page' }).click();
  await notice.waitFor({ state: 'detached' });
  await eve.view.locator('output', { hasNotText: 'stopped' }).filter({ hasText: '1.0.0' }).waitFor();
});
