// The panel beside the phone: what goes to and fro, and how the phone is set.

import { h, icon, setText } from '../dom';
import type { PhoneLink, PhoneSettings, ToPhone } from './link';

const keptEntries = 400;
const permissions: [string, string][] = [
  ['notDetermined', 'Not asked yet'],
  ['authorized', 'Allowed'],
  ['denied', 'Refused'],
  ['restricted', 'Restricted'],
];
const versions = ['17.0.0', '13.0.0', '12.0.0', '11.4.0', '10.0.0'];
const networks: [string, ToPhone][] = [
  ['Good', { kind: 'network', delay: 25, upLoss: 0, downLoss: 0 }],
  ['Weak', { kind: 'network', delay: 180, upLoss: 8, downLoss: 8 }],
  ['Bad', { kind: 'network', delay: 600, upLoss: 35, downLoss: 35 }],
];
const texts: [string, string][] = [
  ['CFBundleName', 'Application name'],
  ['NSCameraUsageDescription', 'Why the camera'],
  ['NSMicrophoneUsageDescription', 'Why the microphone'],
];

type Direction = 'sent' | 'reply' | 'event' | 'problem' | 'note';
const signs: Record<Direction, string> = { sent: '→', reply: '←', event: '⚡', problem: '!', note: '·' };

export class Panel {
  readonly element: HTMLElement;
  private readonly entries = h('ol', { class: 'log', 'aria-label': 'Log' });
  private readonly periodic = h('input', { type: 'checkbox' });
  private readonly form = h('div', { class: 'phone-settings' });

  constructor(
    private readonly link: PhoneLink,
    close: () => void,
  ) {
    const pages = { log: this.logPage(), phone: h('div', { class: 'panel-page' }, this.form) };
    const tab = (name: keyof typeof pages, title: string) =>
      h('button', { role: 'tab', 'data-tab': name, onclick: () => select(name) }, title);
    const tabs = h('div', { class: 'tabs', role: 'tablist' }, tab('log', 'Log'), tab('phone', 'Phone'));
    const select = (name: keyof typeof pages) => {
      for (const button of tabs.children)
        button.setAttribute('aria-selected', String(button.getAttribute('data-tab') === name));
      for (const [key, page] of Object.entries(pages)) page.hidden = key !== name;
    };
    const closing = h('button', { class: 'icon-button', 'aria-label': 'Close panel', onclick: close });
    closing.append(icon('close'));
    this.element = h(
      'aside',
      { class: 'panel', 'aria-label': 'Developer panel' },
      h('header', {}, tabs, closing),
      pages.log,
      pages.phone,
    );
    select('log');
  }

  /** The panel has been opened: the log shows its end. */
  opened(): void {
    this.entries.scrollTop = this.entries.scrollHeight;
  }

  /** A page message on its way to the phone. */
  sent(text: string): void {
    const message = parsed(text);
    this.add('sent', message?.head?.action ?? 'not a message', text);
  }

  /** A script that ran in the page. `needLog` is false for periodic ones. */
  ran(script: string, needLog: boolean): void {
    if (!needLog && !this.periodic.checked) return;
    const json = script.slice(script.indexOf('(') + 1, -1);
    const message = parsed(json);
    const code = message?.error?.errcode ?? 0;
    const isReply = message?.head?.cbid !== undefined;
    const action = message?.head?.action ?? script.slice(0, 40);
    const reported = message?.params?.event;
    const name = reported ? `${action}: ${reported}` : action;
    const failed = code !== 0 || name === 'onError';
    this.add(isReply ? 'reply' : 'event', name, json, failed);
  }

  problem(text: string): void {
    this.add('problem', text, text, true);
  }

  note(text: string): void {
    this.add('note', text, text);
  }

  setSettings(settings: PhoneSettings): void {
    const change = (changes: Partial<PhoneSettings>) =>
      this.link.send({ kind: 'settings', settings: changes });
    const select = (
      label: string,
      value: string,
      options: [string, string][],
      pick: (value: string) => void,
    ) =>
      h(
        'label',
        { class: 'field' },
        h('span', {}, label),
        h(
          'select',
          { 'aria-label': label, onchange: (event: Event) => pick((event.target as HTMLSelectElement).value) },
          ...options.map(([key, title]) =>
            h('option', { value: key, selected: key === value }, title),
          ),
        ),
      );
    const text = (label: string, value: string, set: (value: string) => void) =>
      h(
        'label',
        { class: 'field' },
        h('span', {}, label),
        h('input', {
          value,
          onchange: (event: Event) => set((event.target as HTMLInputElement).value),
        }),
      );
    const button = (title: string, frame: ToPhone) =>
      h('button', { onclick: () => this.link.send(frame) }, title);
    const known = versions.includes(settings.os) ? versions : [settings.os, ...versions];

    this.form.replaceChildren(
      h('h3', {}, 'Permissions'),
      select('Camera', settings.camera, permissions, (camera) => change({ camera })),
      select('Microphone', settings.microphone, permissions, (microphone) => change({ microphone })),
      h(
        'label',
        { class: 'field check' },
        h('span', {}, 'Settings page can be opened'),
        h('input', {
          type: 'checkbox',
          checked: settings.canOpenSettings,
          onchange: (event: Event) =>
            change({ canOpenSettings: (event.target as HTMLInputElement).checked }),
        }),
      ),
      h('h3', {}, 'Network'),
      h(
        'div',
        { class: 'buttons' },
        button('Cut off', { kind: 'network', drop: true }),
        button('Restore', { kind: 'network', drop: false }),
      ),
      h('div', { class: 'buttons' }, ...networks.map(([title, frame]) => button(title, frame))),
      h('h3', {}, 'System'),
      select(
        'Version',
        settings.os,
        known.map((version) => [version, version.replace(/\.0$/, '')]),
        (os) => change({ os }),
      ),
      text('Application group', settings.appGroup, (appGroup) => change({ appGroup })),
      h('h3', {}, 'Bundle texts'),
      ...texts.map(([key, label]) =>
        text(label, settings.bundle[key] ?? '', (value) => {
          const bundle = { ...settings.bundle };
          if (value) bundle[key] = value;
          else delete bundle[key];
          change({ bundle });
        }),
      ),
      h('h3', {}, 'Screen broadcast'),
      h(
        'div',
        { class: 'buttons' },
        button('Pause', { kind: 'broadcast', event: 'Paused' }),
        button('Resume', { kind: 'broadcast', event: 'Resumed' }),
        button('Finish', { kind: 'broadcast', event: 'Finished' }),
      ),
    );
  }

  private logPage(): HTMLElement {
    const clear = h('button', { class: 'plain', onclick: () => this.entries.replaceChildren() }, 'Clear');
    return h(
      'div',
      { class: 'panel-page' },
      h(
        'div',
        { class: 'log-tools' },
        h('label', { class: 'check' }, this.periodic, ' periodic events'),
        clear,
      ),
      this.entries,
    );
  }

  private add(direction: Direction, name: string, text: string, failed = false): void {
    const atEnd =
      this.entries.scrollTop + this.entries.clientHeight >= this.entries.scrollHeight - 24;
    const body = h('pre');
    const entry = h(
      'details',
      { class: `entry ${direction}${failed ? ' failed' : ''}` },
      h(
        'summary',
        {},
        h('span', { class: 'sign' }, signs[direction]),
        h('span', { class: 'name' }, name),
        h('time', {}, new Date().toTimeString().slice(0, 8)),
      ),
      body,
    );
    // Long texts are laid out only when somebody looks.
    entry.addEventListener('toggle', () => setText(body, indented(text)), { once: true });
    this.entries.append(h('li', {}, entry));
    while (this.entries.childElementCount > keptEntries) this.entries.firstElementChild?.remove();
    if (atEnd) this.entries.scrollTop = this.entries.scrollHeight;
  }
}

interface AnyMessage {
  head?: { action?: string; cbid?: string };
  error?: { errcode?: number };
  params?: { event?: string };
}

function parsed(text: string): AnyMessage | undefined {
  try {
    return JSON.parse(text) as AnyMessage;
  } catch {
    return undefined;
  }
}

function indented(text: string): string {
  const value: unknown = parsed(text);
  return value === undefined ? text : JSON.stringify(value, null, 2);
}
