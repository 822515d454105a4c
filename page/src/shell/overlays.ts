// What a phone's system shows above the application: prompts, alerts, its settings and
// the broadcast picker. Dialogs queue up; one is shown at a time.

import { h, icon } from '../dom';
import type { FromPhone, PhoneLink, PhoneSettings } from './link';

type Frame<K extends FromPhone['kind']> = Extract<FromPhone, { kind: K }>;
const deviceNames = { camera: 'Camera', microphone: 'Microphone' } as const;
type Device = keyof typeof deviceNames;

export class Overlays {
  readonly element = h('div', { class: 'overlays' });
  private readonly queue: HTMLElement[] = [];
  private settings: PhoneSettings | undefined;
  private settingsPage: HTMLElement | undefined;

  constructor(private readonly link: PhoneLink) {}

  /** The application has gone: its dialogs go with it. */
  clear(): void {
    this.queue.length = 0;
    this.element.replaceChildren();
    this.settingsPage = undefined;
  }

  showPrompt({ media, application, description }: Frame<'prompt'>): void {
    const answer = (granted: boolean) => {
      this.close(dialog);
      this.link.send({ kind: 'answer', media, granted });
    };
    const name = application || 'The application';
    const dialog = this.dialog(
      `“${name}” Would Like to Access the ${deviceNames[media]}`,
      description || `${name} uses the ${media} while you are in class.`,
      [
        { title: 'Don’t Allow', press: () => answer(false) },
        { title: 'Allow', press: () => answer(true), strong: true },
      ],
      `prompt-${media}`,
    );
    this.open(dialog);
  }

  showAlert({ id, title, message, buttons }: Frame<'alert'>): void {
    const dialog = this.dialog(
      title,
      message,
      buttons.map((button, index) => ({
        title: button.title,
        destructive: button.destructive,
        press: () => {
          this.close(dialog);
          this.link.send({ kind: 'press', alert: id, button: index });
        },
      })),
      'alert',
    );
    this.open(dialog);
  }

  showBroadcastPicker(application: string): void {
    const dialog = this.dialog(
      'Screen Broadcast',
      `Everything on your screen will be sent by ${application}.`,
      [
        { title: 'Cancel', press: () => this.close(dialog) },
        {
          title: 'Start Broadcast',
          strong: true,
          press: () => {
            this.close(dialog);
            this.link.send({ kind: 'broadcast', event: 'Started' });
          },
        },
      ],
      'broadcast',
    );
    this.open(dialog);
  }

  /** The phone's settings have changed. */
  setSettings(settings: PhoneSettings): void {
    this.settings = settings;
    if (this.settingsPage) this.showSettings();
  }

  /** Opens the application's page in the phone's settings. */
  showSettings(): void {
    const settings = this.settings;
    if (!settings) return;
    const name = settings.bundle['CFBundleName'] ?? 'The application';
    const row = (device: Device) => {
      const allowed = settings[device] === 'authorized';
      const status = { restricted: 'Restricted', notDetermined: 'Not asked yet' }[settings[device]];
      const box = h('input', {
        type: 'checkbox',
        checked: allowed,
        disabled: settings[device] === 'restricted',
        onchange: () =>
          this.link.send({
            kind: 'settings',
            settings: { [device]: allowed ? 'denied' : 'authorized' },
          }),
      });
      return h(
        'label',
        { class: 'settings-row' },
        icon(device === 'camera' ? 'camera' : 'mic'),
        h('span', { class: 'settings-name' }, deviceNames[device]),
        status ? h('span', { class: 'settings-status' }, status) : null,
        h('span', { class: 'switch' }, box, h('span', { class: 'switch-knob' })),
      );
    };
    const page = h(
      'section',
      { class: 'settings-page', 'aria-label': 'Settings' },
      h(
        'header',
        {},
        h('h2', {}, 'Settings'),
        h('button', { class: 'plain', onclick: () => this.closeSettings() }, `Back to ${name}`),
      ),
      h('p', { class: 'settings-caption' }, `Allow ${name} to access`),
      h('div', { class: 'settings-group' }, row('camera'), row('microphone')),
    );
    this.settingsPage?.remove();
    this.settingsPage = page;
    this.element.append(page);
  }

  private closeSettings(): void {
    this.settingsPage?.remove();
    this.settingsPage = undefined;
  }

  private dialog(
    title: string,
    message: string,
    buttons: { title: string; press: () => void; strong?: boolean; destructive?: boolean }[],
    kind: string,
  ): HTMLElement {
    return h(
      'div',
      { class: 'scrim', 'data-dialog': kind },
      h(
        'div',
        { class: 'dialog', role: 'alertdialog', 'aria-label': title },
        h('h2', {}, title),
        h('p', {}, message),
        h(
          'div',
          { class: 'dialog-buttons' },
          ...buttons.map((button) =>
            h(
              'button',
              {
                class: button.destructive ? 'destructive' : button.strong ? 'strong' : '',
                onclick: button.press,
              },
              button.title,
            ),
          ),
        ),
      ),
    );
  }

  private open(dialog: HTMLElement): void {
    this.queue.push(dialog);
    if (this.queue.length === 1) this.element.append(dialog);
  }

  private close(dialog: HTMLElement): void {
    const at = this.queue.indexOf(dialog);
    if (at >= 0) this.queue.splice(at, 1);
    dialog.remove();
    const next = this.queue[0];
    if (next && !next.isConnected) this.element.append(next);
  }
}
