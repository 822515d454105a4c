// The simulator's shell: a phone whose web view is a frame with the page.

import { h, iconButton, setData } from '../dom';
import '../base.css';
import './shell.css';
import { PhoneLink, type LinkWatcher } from './link';
import { NativeViews } from './nativeViews';
import { Overlays } from './overlays';
import { PageFrame } from './pageFrame';
import { Panel } from './panel';
import { PhoneMemory } from './phoneMemory';

const picturesEveryMs = 250;

const frame = h('iframe', { class: 'web-view', title: 'Classroom' });
const notice = h('p', { class: 'page-notice', role: 'status', hidden: true });
const views = new NativeViews();
const memory = new PhoneMemory();
const watcher: LinkWatcher = {
  onState(state) {
    setData(document.body, 'phone', state);
    if (state === 'ready') return;
    overlays.clear();
    views.show([]);
    if (state === 'stopped') panel.log.problem('The simulator has stopped.');
    else panel.log.note('A new page connects.');
  },
  onFrame(received) {
    switch (received.kind) {
      case 'script':
        return panel.log.ran(received.text, received.needLog);
      case 'settings':
        application = received.settings.bundle['CFBundleName'] ?? 'the application';
        panel.phone.show(received.settings);
        return overlays.setSettings(received.settings);
      case 'prompt':
        return overlays.showPrompt(received);
      case 'alert':
        return overlays.showAlert(received);
      case 'openSettings':
        return overlays.showSettings();
      case 'broadcastPicker':
        return overlays.showBroadcastPicker(application);
      case 'pictures':
        return views.show(received.pictures);
      case 'image':
        return views.addImage(received);
      case 'problem':
        return panel.log.problem(received.text);
    }
  },
  onMessage: (text) => panel.log.sent(text),
  onPlaces: (places) => views.lieAt(places),
  onScriptError: (script, error) => panel.log.problem(`${error} in ${script}`),
  onProblem: (text) => panel.log.problem(text),
};
const link = new PhoneLink(watcher, memory);
let application = 'the application';
const page = new PageFrame(frame, {
  onPage: (port) => link.attach(port),
  onNotice: (text) => {
    notice.textContent = text ?? '';
    notice.hidden = text === undefined;
  },
  onProblem: (text) => panel.log.problem(text),
});
const overlays = new Overlays(link, page);
const panel = new Panel(link, memory, () => showPanel(false));

function showPanel(open: boolean): void {
  const hadFocus = panel.element.contains(document.activeElement);
  setData(document.body, 'panel', open ? 'open' : 'closed');
  panelButton.setAttribute('aria-expanded', String(open));
  if (open) panel.log.opened();
  else if (hadFocus) panelButton.focus();
}
function showDevice(kind: 'phone' | 'tablet'): void {
  setData(device, 'device', kind);
  phoneButton.setAttribute('aria-pressed', String(kind === 'phone'));
  tabletButton.setAttribute('aria-pressed', String(kind === 'tablet'));
}

const clock = h('span', { class: 'clock' });
const tick = () => (clock.textContent = new Date().toTimeString().slice(0, 5));
tick();
setInterval(tick, 10_000);

const device = h(
  'div',
  { class: 'device' },
  h(
    'div',
    { class: 'status-bar', 'aria-hidden': 'true' },
    clock,
    h('span', { class: 'battery' }, h('span')),
  ),
  h('div', { class: 'screen' }, frame, notice, views.element, overlays.element),
);
const phoneButton = iconButton('phone', 'Phone', () => showDevice('phone'));
const tabletButton = iconButton('tablet', 'Tablet', () => showDevice('tablet'));
const panelButton = iconButton('log', 'Developer panel', () =>
  showPanel(document.body.dataset['panel'] !== 'open'),
);
const reloadButton = iconButton('refresh', 'Reload the page', () => page.reload());

document.body.append(
  h(
    'header',
    { class: 'toolbar' },
    h('img', { src: 'icon.svg', alt: '', width: 24, height: 24 }),
    h('h1', {}, 'vemo simulator'),
    h('div', { class: 'segmented' }, phoneButton, tabletButton),
    reloadButton,
    panelButton,
  ),
  h('div', { class: 'desk' }, device),
  panel.element,
);
showDevice(innerWidth >= 1000 ? 'tablet' : 'phone');
showPanel(false);
setInterval(() => {
  if (!views.isIdle) link.send({ kind: 'pictures' });
}, picturesEveryMs);
