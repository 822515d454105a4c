// The time line while much happens. What is measured here needs a machine that does little else.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { simulatorForEachTest } from '../../testing/browser.mjs';

const { address, blank } = simulatorForEachTest({ screen: { width: 1280, height: 800 } });

// Plays the phone within the window itself, as no driver sends so much so quickly.
function floodingSocket() {
  window.sent = 0;
  window.tellMany = (count) => {
    for (let at = 0; at < count; ++at) {
      const retval = { number: ++window.sent, about: 'x'.repeat(300) };
      const text = `f(${JSON.stringify({ head: { module: 'kobucb', action: 'onWarning' }, retval })})`;
      const data = JSON.stringify({ kind: 'script', text, needLog: true });
      window.socket.dispatchEvent(new MessageEvent('message', { data }));
    }
  };
  window.WebSocket = class extends EventTarget {
    static OPEN = 1;
    readyState = 1;
    bufferedAmount = 0;
    constructor() {
      super();
      window.socket = this;
      setTimeout(() => this.dispatchEvent(new Event('open')));
    }
    send() {}
    close() {}
  };
}

test('a thousand rows a second lose no key, and 100,000 are kept in little memory', async (measured) => {
  const first = await blank();
  const { page } = first;
  await page.addInitScript(() => {
    if (window.top === window) return;
    window.eval = () => {}; // the page need not hear of it
  });
  await page.addInitScript(floodingSocket);
  await page.goto(address());
  await page.locator('.phone[data-state="ready"]').waitFor();
  const panel = await first.openPanel('Time line');

  const search = panel.getByRole('searchbox');
  await search.focus();
  await page.evaluate(() => {
    window.delays = [];
    addEventListener('input', ({ timeStamp }) => window.delays.push(performance.now() - timeStamp), true);
    window.flood = setInterval(() => window.tellMany(20), 20);
  });
  const typed = 'number42';
  await page.keyboard.type(typed, { delay: 50 });
  await page.evaluate(() => clearInterval(window.flood));
  assert.equal(await search.inputValue(), typed);
  const delays = await page.evaluate(() => window.delays);
  assert.equal(delays.length, typed.length);
  measured.diagnostic(`keys were seen after ${delays.map(Math.round).join(', ')} ms`);
  assert.ok(Math.max(...delays) < 1000, `${delays}`);

  await search.fill('');
  const last = await page.evaluate(() => {
    while (window.sent < 110_000) window.tellMany(1000);
    return window.sent;
  });
  await page.locator('.row', { hasText: `number: ${last},` }).waitFor();
  await panel.getByText(/dropped/).waitFor();
  const kept = Number(/([\d,]+) kept/.exec(await panel.locator('.rows-count').innerText())[1].replaceAll(',', ''));
  assert.ok(kept > 98_000 && kept <= 100_000, `${kept}`);
  assert.ok((await panel.locator('.row').count()) < 100, 'only those in sight are drawn');
  const session = await page.context().newCDPSession(page);
  await session.send('HeapProfiler.collectGarbage');
  const { usedSize } = await session.send('Runtime.getHeapUsage');
  measured.diagnostic(`${kept} rows in ${(usedSize / 1e6).toFixed(0)} MB`);
  assert.ok(usedSize < 200e6, `${usedSize / 1e6} MB`);

  // What is read stays where it is while more comes.
  const tree = panel.getByRole('tree');
  await tree.focus();
  await page.keyboard.press('PageUp');
  for (let presses = 0; presses < 5; ++presses) await page.keyboard.press('PageUp');
  const selected = panel.locator('.row[aria-selected="true"]');
  await selected.waitFor();
  const { y } = await selected.boundingBox();
  const before = Number(await selected.getAttribute('aria-setsize'));
  await page.evaluate(() => window.tellMany(200));
  await page.waitForFunction((size) => Number(document.querySelector('.row').ariaSetSize) > size, before);
  assert.equal((await selected.boundingBox()).y, y);
  await page.keyboard.press('End');
  await page.locator('.row', { hasText: `number: ${last + 200},` }).waitFor();
});
