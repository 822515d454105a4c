// The token in the simulator's address: whoever was told it has phones, in any window, and nobody else.

import assert from 'node:assert/strict';
import { createServer } from 'node:http';
import { once } from 'node:events';
import { test } from 'node:test';
import { Phone, simulatorForEachTest, startSimulator, withQuery } from '../../testing/browser.mjs';

const { address, blank, newPage, open, entered } = simulatorForEachTest();
/** The address without its token, as another user of the machine finds it by trying. */
const guessed = () => new URL('/', address()).href;
const lacking = 'This address lacks the simulator’s token. Open the address that it printed when it started.';

test('a page that was not told the token gets no phone, and is told why', async () => {
  const ada = await entered({ name: 'Ada' });
  // Another browser: what windows of one keep, this one has not.
  const other = await ada.page.context().browser().newContext({ viewport: { width: 1000, height: 800 } });
  const eve = new Phone(await other.newPage());
  for (const tried of ['', '?token=', `?token=${'0'.repeat(32)}`, '?user=Eve']) {
    await eve.page.goto(guessed() + tried);
    await eve.page.getByRole('alert').getByText(lacking).waitFor();
    await eve.inPhase('stopped');
    assert.deepEqual(await eve.findings(), [], tried);
  }
  // What she sends by hand, from a page of the simulator's own origin, is refused as well.
  const ends = await eve.page.evaluate(() =>
    Promise.all(
      ['/phone', '/phone?token=', '/phone?token=0', '/page/../phone'].map(
        (path) =>
          new Promise((resolve) => {
            const socket = new WebSocket(`ws://${location.host}${path}`);
            socket.onopen = () => resolve('open');
            socket.onclose = () => resolve('refused');
          }),
      ),
    ),
  );
  assert.deepEqual(ends, Array(4).fill('refused'));
  await eve.page.goto(withQuery(address(), 'user=Eve'));
  await eve.inPhase('outside'); // told it, she is let in
  await eve.page.getByRole('alert').waitFor({ state: 'detached' });
  await eve.enter({ name: 'Eve' });
  assert.deepEqual(await ada.people(), ['Ada', 'Eve']); // nobody came before her
  await other.close();
});

test('a window that is opened by the simulator’s name alone has the token of an earlier one', async () => {
  const first = await open();
  const second = new Phone(await first.page.context().newPage());
  await second.visit(guessed());
  await second.enter({ name: 'Ben' });
  await second.visit(`${guessed()}?user=Cleo`);
  assert.equal(await second.view.getByLabel('Your name').inputValue(), 'Cleo');
});

test('the address holds when the simulator is started again', async () => {
  const first = await startSimulator(['--log', '/dev/null']);
  await first.stop();
  const second = await startSimulator(['--log', '/dev/null', '--port', new URL(first.address).port]);
  assert.equal(second.address, first.address);
  await second.stop();
});

test('a page of another origin in a phone does not find the token', async () => {
  const server = createServer((_, response) => {
    response.writeHead(200, { 'Content-Type': 'text/html' });
    response.end(`<output></output><script>
      const found = [document.referrer, location.href, ...(location.ancestorOrigins ?? [])];
      try { found.push(parent.location.href) } catch { found.push('kept out') }
      document.querySelector('output').append(JSON.stringify(found));
    </script>`);
  }).listen(0, '127.0.0.1');
  await once(server, 'listening');
  const simulator = await startSimulator(['--log', '/dev/null', '--page-url', `http://127.0.0.1:${server.address().port}`]);
  const token = new URL(simulator.address).searchParams.get('token');
  assert.match(token, /^[0-9a-f]{32}$/);
  const page = await newPage();
  await page.goto(simulator.address);
  const found = await page.frameLocator('iframe').locator('output', { hasText: 'kept out' }).innerText();
  assert.ok(found.includes(new URL(simulator.address).origin), found); // the page knows where it is
  assert.ok(!found.includes(token), found);
  await page.close();
  await simulator.stop();
  server.close();
});
