// What a phone's system shows above the application: prompts, alerts, its settings and
// the broadcast picker. Dialogs queue up; one is shown at a time. The Escape key stands for
// the button that refuses or cancels, as nothing on a phone can be left unanswered.

import { h, icon, setText } from '../dom';
import type { FromPhone, PhoneSettings } from './frames';
import { Layers } from './layers';
import type { PhoneLink } from './link';
import './overlays.css';
import type { PageFrame } from './pageFrame';

type Frame<K extends FromPhone['kind']> = Extract<FromPhone, { kind: K }>;
const deviceNames = { camera: 'Camera', microphone: 'Microphone' } as const;
type Device = keyof typeof deviceNames;

interface DialogButton {
  title: string;
  press: () => void;
  look?: 'strong' | 'destructive';
}

interface Dialog {
  kind: string;
  title: string;
  message: string;
  buttons: DialogButton[];
}

export class Overlays {
  private readonly layers: Layers;
  private readonly queue: Dialog[] = [];
  private settings: PhoneSettings | undefined;
  private settingsPage: { element: HTMLElement; update(settings: PhoneSettings): void } | undefined;

  constructor(
    private readonly link: PhoneLink,
    page: PageFrame,
  ) {
    this.layers = new Layers(page);
  }

  get element(): HTMLElement {
    return this.layers.element;
  }

  /** The application has gone: its dialogs go with it. */
  clear(): void {
    this.queue.length = 0;
    this.settingsPage = undefined;
    this.layers.clear();
  }

  showPrompt({ media, application, description }: Frame<'prompt'>): void {
    const answer = (granted: boolean) => () => this.link.send({ kind: 'answer', media, granted });
    const name = application || 'The application';
    this.ask({
      kind: `prompt-${media}`,
      title: `“${name}” Would Like to Access the ${deviceNames[media]}`,
      message: description || `${name} uses the ${media} while you are in class.`,
      buttons: [
        { title: 'Don’t Allow', press: answer(false) },
        { title: 'Allow', press: answer(true), look: 'strong' },
      ],
    });
  }

  showAlert({ id, title, message, buttons }: Frame<'alert'>): void {
    this.ask({
      kind: 'alert',
      title,
      message,
      buttons: buttons.map(({ title, destructive }, index) => ({
        title,
        press: () => this.link.send({ kind: 'press', alert: id, button: index }),
        ...(destructive ? { look: 'destructive' } : {}),
      })),
    });
  }

  showBroadcastPicker(application: string): void {
    if (this.queue.some(({ kind }) => kind === 'broadcast')) return; // one is enough
    this.ask({
      kind: 'broadcast',
      title: 'Screen Broadcast',
      message: `Everything on your screen will be sent by ${application}.`,
      buttons: [
        { title: 'Cancel', press: () => {} },
        {
          title: 'Start Broadcast',
          look: 'strong',
          press: () => this.link.send({ kind: 'broadcast', event: 'Started' }),
        },
      ],
    });
  }

  /** The phone's settings have changed. */
  setSettings(settings: PhoneSettings): void {
    this.settings = settings;
    this.settingsPage?.update(settings);
  }

  /** Opens the application's page in the phone's settings. */
  showSettings(): void {
    if (!this.settings || this.settingsPage) return;
    const close = () => {
      this.settingsPage = undefined;
      this.layers.close(page.element);
    };
    const page = settingsPage(this.link, close);
    page.update(this.settings);
    this.settingsPage = page;
    this.layers.show(page.element, close);
  }

  private ask(dialog: Dialog): void {
    this.queue.push(dialog);
    if (this.queue.length === 1) this.showFirst();
  }

  private showFirst(): void {
    const dialog = this.queue[0];
    if (!dialog) return;
    const answer = ({ press }: DialogButton) => {
      this.queue.shift();
      this.layers.close(element);
      press();
      this.showFirst();
    };
    const cancelling = dialog.buttons.find(({ look }) => look === undefined);
    const element = dialogElement(dialog, answer, cancelling);
    this.layers.show(element, () => cancelling && answer(cancelling));
  }
}

function dialogElement(
  { kind, title, message, buttons }: Dialog,
  answer: (button: DialogButton) => void,
  cancelling: DialogButton | undefined,
): HTMLElement {
  return h(
    'div',
    { class: 'scrim', 'data-dialog': kind },
    h(
      'div',
      {
        class: 'dialog',
        role: 'alertdialog',
        'aria-modal': 'true',
        'aria-labelledby': 'dialog-title',
        'aria-describedby': 'dialog-message',
      },
      h('h2', { id: 'dialog-title' }, title),
      h('p', { id: 'dialog-message' }, message),
      h(
        'div',
        { class: 'dialog-buttons' },
        ...buttons.map((button) =>
          h(
            'button',
            {
              class: button.look ?? '',
              'aria-keyshortcuts': button === cancelling ? 'Escape' : undefined,
              title: button === cancelling ? 'Esc' : undefined,
              onclick: () => answer(button),
            },
            button.title,
          ),
        ),
      ),
    ),
  );
}

function settingsPage(
  link: PhoneLink,
  close: () => void,
): { element: HTMLElement; update(settings: PhoneSettings): void } {
  const row = (device: Device) => {
    const status = h('span', { class: 'settings-status' });
    const box = h('input', {
      type: 'checkbox',
      'aria-label': deviceNames[device],
      onchange: () =>
        link.send({
          kind: 'settings',
          settings: { [device]: box.checked ? 'authorized' : 'denied' },
        }),
    });
    const element = h(
      'label',
      { class: 'settings-row' },
      icon(device === 'camera' ? 'camera' : 'mic'),
      h('span', { class: 'settings-name' }, deviceNames[device]),
      status,
      h('span', { class: 'switch' }, box, h('span', { class: 'switch-knob' })),
    );
    return {
      element,
      update(settings: PhoneSettings) {
        const permission = settings[device];
        box.checked = permission === 'authorized';
        box.disabled = permission === 'restricted';
        setText(status, { restricted: 'Restricted', notDetermined: 'Not asked yet' }[permission] ?? '');
      },
    };
  };
  const rows = [row('camera'), row('microphone')];
  const back = h('button', { class: 'plain', title: 'Esc', 'aria-keyshortcuts': 'Escape', onclick: close });
  const caption = h('p', { class: 'settings-caption' });
  return {
    element: h(
      'div',
      { class: 'settings-page', role: 'dialog', 'aria-modal': 'true', 'aria-label': 'Settings' },
      h('div', { class: 'settings-head' }, h('h2', {}, 'Settings'), back),
      caption,
      h('div', { class: 'settings-group' }, ...rows.map(({ element }) => element)),
    ),
    update(settings) {
      const name = settings.bundle['CFBundleName'] ?? 'The application';
      setText(back, `Back to ${name}`);
      setText(caption, `Allow ${name} to access`);
      for (const { update } of rows) update(settings);
    },
  };
}
