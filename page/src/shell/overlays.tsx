// What a phone's system shows above the application: prompts, alerts, its settings and
// the broadcast picker. The Escape key stands for the button that refuses or cancels, as
// nothing on a phone can be left unanswered.

import { useId } from 'preact/hooks';
import { Icon } from '../icons';
import { Layer } from './layer';
import './overlays.css';
import type { Dialog, PhoneModel } from './phoneModel';

export function Overlays({ phone }: { phone: PhoneModel }) {
  return (
    <>
      {phone.overlays.value.map((overlay) =>
        overlay === 'settings' ? (
          <SettingsPage key="settings" phone={phone} />
        ) : (
          <DialogBox key={overlay.id} phone={phone} dialog={overlay} />
        ),
      )}
    </>
  );
}

function DialogBox({ phone, dialog }: { phone: PhoneModel; dialog: Dialog }) {
  const id = useId();
  const cancelling = dialog.buttons.find(({ look }) => look === undefined);
  return (
    <Layer
      class="scrim"
      data-dialog={dialog.kind}
      escape={() => cancelling && phone.answer(dialog, cancelling)}
    >
      <div
        class="dialog"
        role="alertdialog"
        aria-modal="true"
        aria-labelledby={`${id}-title`}
        aria-describedby={`${id}-message`}
      >
        <h2 id={`${id}-title`}>{dialog.title}</h2>
        <p id={`${id}-message`}>{dialog.message}</p>
        <div class="dialog-buttons">
          {dialog.buttons.map((button) => (
            <button
              class={button.look ?? ''}
              {...(button === cancelling && { 'aria-keyshortcuts': 'Escape', title: 'Esc' })}
              onClick={() => phone.answer(dialog, button)}
            >
              {button.title}
            </button>
          ))}
        </div>
      </div>
    </Layer>
  );
}

const devices = [
  ['camera', 'Camera', 'camera'],
  ['microphone', 'Microphone', 'mic'],
] as const;
const permissionWords: Record<string, string> = {
  restricted: 'Restricted',
  notDetermined: 'Not asked yet',
};

function SettingsPage({ phone }: { phone: PhoneModel }) {
  const settings = phone.settings.value;
  if (!settings) return null;
  const name = phone.application ?? 'The application';
  const close = () => phone.closeSettings();
  return (
    <Layer class="settings-page" role="dialog" aria-modal="true" aria-label="Settings" escape={close}>
      <div class="settings-head">
        <h2>Settings</h2>
        <button class="plain" title="Esc" aria-keyshortcuts="Escape" onClick={close}>
          Back to {name}
        </button>
      </div>
      <p class="settings-caption">Allow {name} to access</p>
      <div class="settings-group">
        {devices.map(([device, title, icon]) => (
          <label key={device} class="settings-row">
            <Icon name={icon} />
            <span class="settings-name">{title}</span>
            <span class="settings-status">{permissionWords[settings[device]]}</span>
            <span class="switch">
              <input
                type="checkbox"
                aria-label={title}
                checked={settings[device] === 'authorized'}
                disabled={settings[device] === 'restricted'}
                onChange={({ currentTarget: { checked } }) =>
                  phone.send({ kind: 'settings', settings: { [device]: checked ? 'authorized' : 'denied' } })
                }
              />
              <span class="switch-knob" />
            </span>
          </label>
        ))}
      </div>
    </Layer>
  );
}
