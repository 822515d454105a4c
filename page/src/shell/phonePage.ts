// How the phone is set.

import { h } from '../dom';
import type { PhoneSettings, ToPhone } from './frames';
import type { PhoneLink } from './link';
import './phonePage.css';
import { goodNetwork, type PhoneMemory } from './phoneMemory';

const permissions: [string, string][] = [
  ['notDetermined', 'Not asked yet'],
  ['authorized', 'Allowed'],
  ['denied', 'Refused'],
  ['restricted', 'Restricted'],
];
const versions = ['17.0.0', '13.0.0', '12.0.0', '11.4.0', '10.0.0'];
const networks = [
  ['Good', goodNetwork],
  ['Weak', { delay: 180, upLoss: 8, downLoss: 8 }],
  ['Bad', { delay: 600, upLoss: 35, downLoss: 35 }],
] as const;
const texts: [string, string][] = [
  ['CFBundleName', 'Application name'],
  ['NSCameraUsageDescription', 'Why the camera'],
  ['NSMicrophoneUsageDescription', 'Why the microphone'],
];

/** A form of the phone's settings; they are sent as soon as they are changed. */
export class PhonePage {
  readonly element: HTMLElement;
  private settings: PhoneSettings | undefined;
  private readonly showers: ((settings: PhoneSettings) => void)[] = [];
  private readonly networkButtons: (() => void)[] = [];

  constructor(
    private readonly link: PhoneLink,
    memory: PhoneMemory,
  ) {
    this.element = h(
      'div',
      { class: 'panel-page phone-settings' },
      h('h2', {}, 'Permissions'),
      this.choice('Camera', permissions, 'camera'),
      this.choice('Microphone', permissions, 'microphone'),
      this.canOpenSettings(),
      h('h2', {}, 'Network'),
      h(
        'div',
        { class: 'buttons' },
        this.networkButton('Cut off', { kind: 'network', drop: true }, () => memory.cutOff),
        this.networkButton('Restore', { kind: 'network', drop: false }),
      ),
      h(
        'div',
        { class: 'buttons' },
        ...networks.map(([title, network]) =>
          this.networkButton(
            title,
            { kind: 'network', ...network },
            () => memory.network.delay === network.delay,
          ),
        ),
      ),
      h('h2', {}, 'System'),
      this.choice('Version', versions.map((version) => [version, version.replace(/\.0$/, '')]), 'os'),
      this.text('Application group', ({ appGroup }) => appGroup, (appGroup) => ({ appGroup })),
      h('h2', {}, 'Bundle texts'),
      ...texts.map(([key, label]) =>
        this.text(
          label,
          ({ bundle }) => bundle[key] ?? '',
          (text, { bundle }) => {
            const { [key]: _replaced, ...others } = bundle;
            return { bundle: text ? { ...others, [key]: text } : others };
          },
        ),
      ),
      h('h2', {}, 'Screen broadcast'),
      h(
        'div',
        { class: 'buttons' },
        this.button('Pause', { kind: 'broadcast', event: 'paused' }),
        this.button('Resume', { kind: 'broadcast', event: 'resumed' }),
        this.button('Finish', { kind: 'broadcast', event: 'finished' }),
      ),
      h(
        'div',
        { class: 'reset' },
        h('p', {}, 'These settings are kept while this window is reloaded.'),
        h('button', { class: 'small', onclick: () => this.reset() }, 'Reset the phone'),
      ),
    );
    this.showNetwork();
  }

  /** The phone's settings have changed. */
  show(settings: PhoneSettings): void {
    this.settings = settings;
    for (const shower of this.showers) shower(settings);
  }

  private change(settings: Partial<PhoneSettings>): void {
    this.link.send({ kind: 'settings', settings });
  }

  private reset(): void {
    this.link.reset();
    this.showNetwork();
  }

  private showNetwork(): void {
    for (const shower of this.networkButtons) shower();
  }

  private choice(
    label: string,
    options: [string, string][],
    key: 'camera' | 'microphone' | 'os',
  ): HTMLElement {
    const list = h(
      'select',
      { 'aria-label': label, onchange: () => this.change({ [key]: list.value }) },
      ...options.map(([value, title]) => h('option', { value }, title)),
    );
    this.showers.push((settings) => {
      const value = settings[key];
      if (![...list.options].some((option) => option.value === value))
        list.prepend(h('option', { value }, value));
      list.value = value;
    });
    return h('label', { class: 'field' }, h('span', {}, label), list);
  }

  private text(
    label: string,
    read: (settings: PhoneSettings) => string,
    change: (text: string, settings: PhoneSettings) => Partial<PhoneSettings>,
  ): HTMLElement {
    const input = h('input', {
      onchange: () => this.settings && this.change(change(input.value, this.settings)),
    });
    this.showers.push((settings) => (input.value = read(settings)));
    return h('label', { class: 'field' }, h('span', {}, label), input);
  }

  private canOpenSettings(): HTMLElement {
    const box = h('input', {
      type: 'checkbox',
      onchange: () => this.change({ canOpenSettings: box.checked }),
    });
    this.showers.push(({ canOpenSettings }) => (box.checked = canOpenSettings));
    return h('label', { class: 'field check' }, h('span', {}, 'Settings page can be opened'), box);
  }

  private button(title: string, frame: ToPhone): HTMLButtonElement {
    return h('button', { class: 'small', onclick: () => this.link.send(frame) }, title);
  }

  private networkButton(title: string, frame: ToPhone, isSet?: () => boolean): HTMLButtonElement {
    const button = this.button(title, frame);
    button.addEventListener('click', () => this.showNetwork());
    if (isSet) this.networkButtons.push(() => button.setAttribute('aria-pressed', String(isSet())));
    return button;
  }
}
