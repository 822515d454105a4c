// The pages for everybody: by keyboard, with large text, on small screens.

import assert from 'node:assert/strict';
import { test } from 'node:test';
import { screens, simulatorForEachTest } from '../../testing/browser.mjs';

const { open, entered, stopSimulator } = simulatorForEachTest({ screen: { width: 1280, height: 800 } });

/** The focused element of the shell: its text, and whether it stands in `selector`. */
function focusOf(phone, selector) {
  return phone.page.evaluate((around) => {
    const focused = document.activeElement;
    return { text: focused.textContent, within: Boolean(focused.closest(around)) };
  }, selector);
}
/** The control of the page that is focused, by its key. */
function focusedControl(phone) {
  return phone.view.locator('body').evaluate(() => {
    const { control, page } = document.activeElement.dataset;
    return control ?? page;
  });
}
async function commandsSent(phone) {
  const commands = (await phone.timeLine()).filter(({ kind }) => kind === 'command');
  return commands.map(({ title }) => title);
}

test('a prompt takes the focus, keeps it, and gives it back', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.control('Camera').focus();
  await ada.page.keyboard.press('Enter');
  await ada.dialog('prompt-camera').waitFor();
  assert.deepEqual(await focusOf(ada, '.dialog'), { text: 'Don’t Allow', within: true });
  const stops = [];
  for (const key of ['Tab', 'Tab', 'Shift+Tab', 'Shift+Tab']) {
    await ada.page.keyboard.press(key);
    stops.push(await focusOf(ada, '.dialog'));
  }
  assert.deepEqual(stops.map(({ text }) => text), ['Allow', 'Don’t Allow', 'Allow', 'Don’t Allow']);
  assert.ok(stops.every(({ within }) => within));

  await ada.page.keyboard.press('Escape'); // refuses
  await ada.view.locator('.toast', { hasText: 'user not allowed access camera' }).waitFor();
  assert.equal(await ada.dialog('prompt-camera').count(), 0);
  assert.equal(await focusedControl(ada), 'Camera');
});

test('the page behind a prompt can’t be used', async () => {
  const ada = await entered({ name: 'Ada' });
  const role = await ada.control('Role').boundingBox();
  await ada.control('Camera').click();
  await ada.dialog('prompt-camera').waitFor();
  await ada.page.mouse.click(role.x + role.width / 2, role.y + role.height / 2);
  await ada.control('Role').evaluate((control) => control.focus());
  await ada.page.waitForFunction(() => document.activeElement.closest('.dialog'));
  // A press that reached the page would have been told of before this answer.
  await ada.answerPrompt('camera', true);
  await ada.view.locator('[data-control="Camera"][data-look="on"]').waitFor();
  assert.equal((await commandsSent(ada)).includes('switchRole'), false);
});

test('a page that takes the focus behind a prompt gets no key', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.control('Camera').click();
  await ada.dialog('prompt-camera').waitFor();
  await ada.control('Role').evaluate((control) => control.focus());
  await ada.page.waitForFunction(() => !document.querySelector('iframe').contentDocument.hasFocus());
  assert.deepEqual(await focusOf(ada, '.dialog'), { text: 'Don’t Allow', within: true });
  await ada.page.keyboard.press('Escape');
  await ada.view.locator('.toast', { hasText: 'user not allowed access camera' }).waitFor();
});

test('Escape cancels an alert and the picker, and leaves the settings', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.setPermission('Camera', 'denied');
  await ada.control('Camera').click();
  await ada.dialog('alert').waitFor();
  await ada.page.keyboard.press('Escape');
  await ada.view.locator('.toast', { hasText: "user don't goto setting" }).waitFor();

  await ada.control('Camera').click();
  await ada.dialog('alert').getByRole('button', { name: '前往设置' }).click();
  await ada.page.locator('.settings-page').waitFor();
  assert.equal((await focusOf(ada, '.settings-page')).within, true);
  await ada.page.keyboard.press('Escape');
  await ada.page.locator('.settings-page').waitFor({ state: 'detached' });

  await ada.control('Share').click();
  await ada.view.getByRole('button', { name: 'Share the whole screen' }).click();
  await ada.dialog('broadcast').waitFor();
  await ada.page.keyboard.press('Escape');
  await ada.dialog('broadcast').waitFor({ state: 'detached' });
  await ada.view.getByRole('button', { name: 'Share this application' }).click();
  await ada.view.getByText('The others see your screen.').waitFor();
});

test('the drawer takes the focus; Escape closes it and gives the focus back', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.view.locator('[data-page="music"]').focus();
  await ada.page.keyboard.press('Enter');
  await ada.page.keyboard.press('Tab');
  const focused = await ada.view.locator('body').evaluate(() => document.activeElement.ariaLabel);
  assert.equal(focused, 'Close');
  await ada.page.keyboard.press('Escape');
  await ada.view.locator('.drawer').waitFor({ state: 'hidden' });
  assert.equal(await focusedControl(ada), 'music');
});

test('a lesson by keyboard alone', async () => {
  const ben = await entered({ name: 'Ben' });
  const ada = await open();
  const { keyboard } = ada.page;
  const focused = () =>
    ada.view.locator('body').evaluate(() => {
      const { ariaLabel, labels, textContent } = document.activeElement;
      return ariaLabel ?? labels?.[0]?.textContent ?? textContent;
    });
  const tabTo = async (name, key = 'Tab') => {
    for (let stop = 0; stop < 20; ++stop) {
      if ((await focused()) === name) return;
      await keyboard.press(key);
    }
    assert.fail(`${name} is not reached; the focus is at ${await focused()}`);
  };
  await ada.view.getByLabel('Your name').focus();
  await keyboard.type('Ada');
  await tabTo('On stageSpeak and be seen');
  await keyboard.press('ArrowDown');
  assert.equal(await ada.view.getByRole('radio', { name: 'Audience' }).isChecked(), true);
  await tabTo('Enter room');
  await keyboard.press('Enter');
  await ada.inPhase('inside');
  assert.equal(await focused(), 'Room 101');

  await tabTo('Go on stage');
  await keyboard.press('Enter');
  await ben.tile('Ada').waitFor();
  await ada.view.locator('[data-control="Share"]:enabled').waitFor();
  await tabTo('Share the screen', 'Shift+Tab');
  await keyboard.press('Enter');
  assert.equal(await focused(), 'Share the screen'); // the drawer's title
  await tabTo('Share this application');
  await keyboard.press('Enter');
  await ben.screenTile('Ada').waitFor();
  // The button is gone; what is to be read stands in its place, and Tab goes on from there.
  assert.equal(await focused(), 'The others see your screen.');
  await tabTo('Stop sharing');
  await keyboard.press('Enter');
  await ben.screenTile('Ada').waitFor({ state: 'detached' });
  await keyboard.press('Escape');
  assert.equal(await focused(), 'Share the screen');

  await tabTo('Music');
  await keyboard.press('Enter');
  await tabTo('Play');
  await keyboard.press('Enter');
  await ada.view.getByText('Playing “Morning bell”.').waitFor();
  assert.equal(await focused(), 'Pause');
  await tabTo('Stop');
  await keyboard.press('Enter');
  await ada.view.getByText('Stopped.').waitFor();
  await keyboard.press('Escape');
  await tabTo('Leave the room');
  await keyboard.press('Enter');
  await ada.inPhase('outside');
  assert.equal(await focused(), 'Join the class');
});

// 640x400 is what 200 % leave of 1280x800.
for (const screen of [...screens, { width: 640, height: 400 }, { width: 320, height: 256 }])
  test(`all of the drawer can be reached at ${screen.width}x${screen.height}`, async () => {
    const ada = await entered({ name: 'Ada' }, screen);
    await ada.still();
    for (const page of ['devices', 'network']) {
      await ada.openPage(page);
      if (page === 'network') await ada.view.locator('.figure').first().waitFor(); // they move what is below
      const last = ada.view.locator('.drawer').locator('select, summary').last();
      await last.scrollIntoViewIfNeeded();
      for (const control of [last, ada.view.getByRole('button', { name: 'Close', exact: true })]) {
        const { x, y, width, height } = await control.boundingBox();
        assert.ok(x >= 0 && x + width <= screen.width, `${page}: across ${x} ${width}`);
        assert.ok(y >= 0 && y + height <= screen.height, `${page}: down ${y} ${height}`);
        await control.click({ trial: true });
      }
      await ada.view.getByRole('button', { name: 'Close', exact: true }).click();
    }
  });

test('the browser’s size of text enlarges all text', async () => {
  const ada = await entered({ name: 'Ada' });
  await ada.openPage('devices');
  await ada.page.getByRole('button', { name: 'Developer panel' }).click();
  const sizes = async () =>
    Object.assign(
      {},
      ...(await Promise.all(
        ada.page.frames().map((frame) =>
          frame.evaluate(() => {
            const texts = [...document.querySelectorAll('h1, h2, h3, span, button, summary, select, p')];
            const shown = texts.filter((text) => text.textContent && !text.closest('.avatar'));
            return Object.fromEntries(
              shown.map((text) => [
                `${text.tagName}.${text.className} ${text.textContent}`,
                parseFloat(getComputedStyle(text).fontSize),
              ]),
            );
          }),
        ),
      )),
    );
  const before = await sizes();
  const session = await ada.page.context().newCDPSession(ada.page);
  await session.send('Page.setFontSizes', { fontSizes: { standard: 32, fixed: 26 } });
  await ada.view.locator('h1').evaluate(
    (title, size) =>
      new Promise((resolve) => {
        const look = () =>
          parseFloat(getComputedStyle(title).fontSize) > size ? resolve() : requestAnimationFrame(look);
        look();
      }),
    before['H1. Room 101'],
  );
  // Some of it is set smaller where less of it fits beside each other.
  const after = await sizes();
  const stayed = Object.keys(before).filter((text) => text in after); // counts and times go on
  const same = stayed.filter((text) => !(after[text] >= 1.75 * before[text]));
  assert.deepEqual(same, []);
  assert.ok(stayed.length > 30);
  await session.send('Page.setFontSizes', { fontSizes: { standard: 16, fixed: 13 } }); // the page is used again
  await session.detach();
});

/** Sets the browser's size of text in percent; gives what sets it back, as the page is used again. */
async function enlarge(page, percent) {
  const session = await page.context().newCDPSession(page);
  const set = (standard) => session.send('Page.setFontSizes', { fontSizes: { standard, fixed: standard } });
  await set(0.16 * percent);
  await page.waitForFunction(
    (size) => parseFloat(getComputedStyle(document.documentElement).fontSize) === size,
    0.16 * percent,
  );
  return async () => {
    await set(16);
    await session.detach();
  };
}

/** Where the panel's tabs don't fit, it is seen that there are more, and the arrow keys bring each into sight. */
async function tabsLeadOn(page) {
  const tabs = page.locator('.tabs');
  const { x, y, width, height } = await tabs.boundingBox();
  const endAt = async (place) => {
    await tabs.evaluate((element, part) => (element.scrollLeft = part * element.scrollWidth), place);
    return page.screenshot({ clip: { x: x + width - 4, y: y + height - 3, width: 4, height: 2 } });
  };
  assert.ok(await tabs.evaluate((element) => element.scrollWidth > element.clientWidth));
  const [more, last] = [await endAt(0), await endAt(1)];
  assert.notDeepEqual(more, last, 'nothing tells that there is more');
  await tabs.getByRole('tab', { selected: true }).focus();
  const presses = await tabs.getByRole('tab').count();
  for (const key of ['End', 'Home', ...Array(presses).fill('ArrowRight')]) {
    await page.keyboard.press(key);
    await page.waitForFunction(() => {
      const [tabs, tab] = [document.querySelector('.tabs'), document.activeElement].map((one) => one.getBoundingClientRect());
      return tab.left >= tabs.left - 1 && tab.right <= tabs.right + 1;
    });
  }
}

for (const [percent, screen] of [[100, { width: 844, height: 390 }], [200, { width: 390, height: 844 }], [200, { width: 844, height: 390 }]])
  test(`the bar and all pages of the panel fit at ${screen.width}x${screen.height} with text of ${percent} %`, async () => {
    const first = await open(screen);
    await first.page.getByRole('button', { name: 'Add a phone' }).click();
    await first.numbered(2).inPhase('outside');
    const back = await enlarge(first.page, percent);
    const outside = (selector) =>
      first.page.locator(selector).evaluateAll((all) =>
        all
          .map((one) => [one.ariaLabel ?? one.textContent, one.getBoundingClientRect()])
          .filter(([, { left, right }]) => left < 0 || right > innerWidth)
          .map(([name, { left, right }]) => `${name}: ${left} to ${right}`),
      );
    assert.deepEqual(await outside('.toolbar button'), []);
    assert.deepEqual(await outside('.phone[data-current="true"]'), []);
    const panel = await first.openPanel('Bots');
    await panel.getByRole('button', { name: 'Add', exact: true }).click();
    await panel.locator('[data-bot][data-at="inside"]').nth(2).waitFor();
    for (const name of await panel.getByRole('tab').allInnerTexts()) {
      await panel.getByRole('tab', { name }).click();
      const page = panel.locator('.panel-page');
      assert.deepEqual(await outside('.panel-page :is(button, input, select, textarea, th, td)'), [], name);
      const across = await page.evaluate((element) =>
        [element, ...element.querySelectorAll('*')]
          .filter((one) => one.scrollWidth > one.clientWidth + 1 && /auto|scroll/.test(getComputedStyle(one).overflowX))
          .map((one) => one.className),
      );
      assert.deepEqual(across, [], name);
      assert.deepEqual(await first.findings(), [], name);
    }
    await panel.getByRole('tab', { name: 'Time line' }).click();
    if (percent > 100) await tabsLeadOn(first.page);
    await panel.locator('.row').first().waitFor();
    const rows = await panel.locator('.rows').boundingBox();
    const row = await panel.locator('.row').first().boundingBox();
    assert.ok(rows.height > 2 * row.height, `${rows.height} px for rows of ${row.height}`);
    await back();
  });

test('the focus is not lost with what a press takes away', async () => {
  const first = await open(undefined, 'room=many');
  const { page } = first;
  const press = async (button, around) => {
    await button.click({ trial: true }); // what can't be pressed yet takes no focus
    await button.focus();
    await page.keyboard.press('Enter');
    await page.waitForFunction((around) => document.activeElement.matches(around), around);
  };
  await press(page.getByRole('button', { name: 'Close notice' }), 'main');
  const panel = await first.openPanel('Bots');
  await panel.getByRole('button', { name: 'Add', exact: true }).click();
  await panel.locator('[data-bot][data-at="inside"]').nth(2).waitFor();
  await press(panel.getByRole('button', { name: 'Remove Ben' }), '[role=tabpanel]');
  await press(panel.getByRole('button', { name: 'Remove all' }), '[role=tabpanel]');
  await first.openPanel('Faults');
  await panel.getByRole('switch', { name: 'Answers are lost' }).check();
  await press(panel.getByRole('button', { name: 'All off' }), '[role=tabpanel]');
  await page.getByRole('button', { name: 'Add a phone' }).click();
  await press(page.getByRole('button', { name: 'Remove phone 2' }), 'main');
  // What stays keeps it.
  await press(page.getByRole('button', { name: 'Reload the page' }), '[aria-label="Reload the page"]');
});

test('names of controls say one thing each', async () => {
  const ada = await entered({ name: 'Ada' });
  const names = await ada.view
    .locator('.control')
    .evaluateAll((controls) => controls.map((control) => control.ariaLabel ?? control.innerText));
  assert.deepEqual(names, [
    'Turn on the microphone',
    'Turn on the camera',
    'Share the screen',
    'Go to the audience',
    'People',
    'Devices',
    'Music',
    'Network',
    'Leave the room',
  ]);
});

test('captions of controls stand apart on a narrow phone', async () => {
  const first = await open();
  await first.page.getByRole('button', { name: 'Add a phone' }).click();
  const ada = first.numbered(1);
  await ada.enter({ name: 'Ada' });
  await first.openPanel('Phone'); // which leaves the phones 320 pixels each
  const spans = await ada.view.locator('.control .caption').evaluateAll((captions) =>
    captions.map((caption) => {
      const range = document.createRange();
      range.selectNodeContents(caption);
      const { left, right, top } = range.getBoundingClientRect();
      return { text: caption.textContent, left, right, top };
    }),
  );
  assert.ok(spans.length > 5);
  for (const [at, { text, right, top }] of spans.entries()) {
    const next = spans[at + 1];
    if (next && next.top === top && next.left > spans[at].left)
      assert.ok(next.left - right >= 4, `${text} and ${next.text}: ${next.left - right} px`);
  }
});

test('four people stand in two columns on the narrowest phone', async () => {
  const ada = await entered({ name: 'Ada' }, { width: 320, height: 568 });
  for (const name of ['Ben', 'Cem', 'Dana']) await entered({ name });
  await ada.tile('Dana').waitFor();
  const lefts = await ada.view.locator('.tile').evaluateAll((tiles) => tiles.map((tile) => tile.getBoundingClientRect().left));
  assert.equal(lefts.length, 4);
  assert.equal(new Set(lefts).size, 2, `${lefts}`);
});

for (const [textSize, screen] of [[150, { width: 320, height: 568 }], [200, { width: 390, height: 844 }], [200, { width: 844, height: 390 }]])
  test(`large text of ${textSize} % leaves controls apart and the class in sight at ${screen.width}x${screen.height}`, async () => {
    const ada = await open(screen, `text=${textSize}`);
    await ada.enter({ name: 'Ada' });
    const { faces, tile, controls, title, pill } = await ada.view.locator('body').evaluate((body) => {
      const box = (element) => element.getBoundingClientRect().toJSON();
      const one = (selector) => body.querySelector(selector);
      return {
        faces: [...body.querySelectorAll('.control .face')].map(box),
        tile: box(one('.tile')),
        controls: box(one('.controls')),
        title: { ...box(one('.topbar h1')), isWhole: one('.topbar h1').scrollWidth <= one('.topbar h1').clientWidth },
        pill: box(one('.pill')),
      };
    });
    assert.equal(faces.length, 9);
    for (const [at, face] of faces.entries()) {
      assert.ok(face.left >= 0 && face.right <= screen.width, `face ${at}`);
      const next = faces[at + 1];
      assert.ok(!next || next.top > face.bottom || next.left >= face.right + 2, `faces ${at} and ${at + 1}`);
    }
    assert.ok(controls.top - tile.top > 80, `${controls.top - tile.top} px of the tile are in sight`);
    assert.ok(title.isWhole && title.right <= pill.left && pill.right <= screen.width, JSON.stringify({ title, pill }));
  });

for (const screen of screens)
  test(`names in the tiles are whole at ${screen.width}x${screen.height}, beside the drawer too`, async () => {
    await entered({ name: 'Ben' });
    await entered({ name: 'Eve' });
    const ada = await entered({ name: 'Ada' }, screen);
    await ada.tile('Eve').waitFor();
    const cutOff = () =>
      ada.view.locator('.tile .name').evaluateAll((names) => {
        const width = (element) => element.getBoundingClientRect().width;
        const isCutOff = (name) => {
          const whole = name.parentElement.appendChild(name.cloneNode(true));
          whole.style = 'position: absolute; width: max-content';
          const needed = width(whole);
          whole.remove();
          return width(name) < needed;
        };
        return names.filter(isCutOff).map((name) => name.textContent);
      });
    assert.deepEqual(await cutOff(), []);
    await ada.openPage('people');
    assert.deepEqual(await cutOff(), []);
  });

for (const screen of screens)
  test(`a notice leaves the room’s title in sight at ${screen.width}x${screen.height}`, async () => {
    const ada = await entered({ name: 'Ada' }, screen);
    await ada.still(); // a notice drops into its place
    const box = async (selector) => ada.view.locator(selector).boundingBox();
    await ada.control('Camera').click();
    await ada.answerPrompt('camera', false);
    await ada.view.locator('.toast.bad').waitFor();
    const [title, toast] = [await box('h1'), await box('.toast.bad')];
    const apart =
      title.x + title.width <= toast.x ||
      toast.x + toast.width <= title.x ||
      title.y + title.height <= toast.y ||
      toast.y + toast.height <= title.y;
    assert.ok(apart, `${JSON.stringify(title)} ${JSON.stringify(toast)}`);
    assert.ok(toast.height > title.height / 2, `the notice is ${toast.height} px high`);
  });

test('a notice moves nothing, and native views leave it in sight', async () => {
  const ben = await entered({ name: 'Ben' });
  await ben.control('Share').click();
  await ben.view.getByRole('button', { name: 'Share this application' }).click();
  const ada = await entered({ name: 'Ada' }, { width: 390, height: 844 });
  await ada.nativeView('Ben', 2).waitFor();
  const boxes = () =>
    ada.view
      .locator('.topbar, .tiles, .tile, .controls')
      .evaluateAll((elements) => elements.map((element) => element.getBoundingClientRect().toJSON()));
  await ada.view.getByText('You are in room').waitFor({ state: 'detached' });
  const before = await boxes();
  await ada.control('Camera').click();
  await ada.answerPrompt('camera', false);
  const toast = ada.view.locator('.toast.bad');
  await toast.waitFor();
  assert.deepEqual(await boxes(), before);

  // The middle of the notice, as the shell's views let it through: with the picture that they draw once
  // the page has told them where the notice lies.
  await ada.still();
  const isDrawn = (at, alpha) =>
    ada.page.waitForFunction(
      ({ at, alpha }) => {
        const canvas = document.querySelector('canvas[data-view="Ben/2"]');
        const { left, top, width, height } = canvas.getBoundingClientRect();
        const across = ((at.x - left) / width) * canvas.width;
        const down = ((at.y - top) / height) * canvas.height;
        return canvas.getContext('2d').getImageData(across, down, 1, 1).data[3] === alpha;
      },
      { at, alpha },
    );
  const notice = await toast.boundingBox();
  const view = await ada.nativeView('Ben', 2).boundingBox();
  const within = { x: notice.x + notice.width / 2, y: notice.y + notice.height - 4 };
  assert.ok(within.y > view.y, 'the notice lies over the view');
  await isDrawn(within, 0);
  await isDrawn({ x: within.x, y: view.y + view.height - 4 }, 255);
  await toast.waitFor({ state: 'detached' });
  await ada.page.waitForFunction(() => {
    const canvas = document.querySelector('canvas[data-view="Ben/2"]');
    return canvas.getContext('2d').getImageData(canvas.width / 2, 4, 1, 1).data[3] === 255;
  });
});
