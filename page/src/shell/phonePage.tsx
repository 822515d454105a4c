// How a phone is set: its settings are sent as soon as they are changed.

import { useSignal } from '@preact/signals';
import type { ComponentChildren } from 'preact';
import type { SettingsChange, ToPhone } from './frames';
import './phonePage.css';
import type { PhoneModel } from './phoneModel';
import { Choice } from './tools/fields';
import { NetworkSettings } from './tools/networkSettings';
import { LookSettings } from './tools/pageLook';

const permissions: Record<string, string> = {
  notDetermined: 'Not asked yet',
  authorized: 'Allowed',
  denied: 'Refused',
  restricted: 'Restricted',
};
const versions = ['17.0.0', '13.0.0', '12.0.0', '11.4.0', '10.0.0'];
const texts: [string, string][] = [
  ['CFBundleName', 'Application name'],
  ['NSCameraUsageDescription', 'Why the camera'],
  ['NSMicrophoneUsageDescription', 'Why the microphone'],
];

export function PhonePage({ phone }: { phone: PhoneModel }) {
  const settings = phone.settings.value;
  const change = (changes: SettingsChange) => phone.send({ kind: 'settings', settings: changes });
  const button = (title: string, frame: ToPhone) => (
    <button class="small" onClick={() => phone.send(frame)}>
      {title}
    </button>
  );
  return (
    <div class="phone-settings">
      <h2>Permissions</h2>
      <Choice
        label="Camera"
        value={settings?.camera}
        options={permissions}
        choose={(camera) => change({ camera })}
      />
      <Choice
        label="Microphone"
        value={settings?.microphone}
        options={permissions}
        choose={(microphone) => change({ microphone })}
      />
      <label class="field check">
        <span>Settings page can be opened</span>
        <input
          type="checkbox"
          checked={settings?.canOpenSettings ?? false}
          onChange={({ currentTarget }) => change({ canOpenSettings: currentTarget.checked })}
        />
      </label>

      <h2>Network</h2>
      <NetworkSettings phone={phone} />

      <h2>Page</h2>
      <LookSettings phone={phone} />

      <h2>System</h2>
      <Choice
        label="Version"
        value={settings?.os}
        options={Object.fromEntries(versions.map((version) => [version, version.replace(/\.0$/, '')]))}
        choose={(os) => change({ os })}
      />
      <Text
        label="Application group"
        value={settings?.appGroup ?? ''}
        change={(appGroup) => change({ appGroup })}
      />

      <h2>Bundle texts</h2>
      {texts.map(([key, label]) => (
        <Text
          key={key}
          label={label}
          value={settings?.bundle[key] ?? ''}
          change={(text) => change({ texts: { [key]: text || null } })}
        />
      ))}

      <h2>Screen broadcast</h2>
      <Buttons>
        {button('Pause', { kind: 'broadcast', event: 'paused' })}
        {button('Resume', { kind: 'broadcast', event: 'resumed' })}
        {button('Finish', { kind: 'broadcast', event: 'finished' })}
      </Buttons>

      <div class="reset">
        <p>These settings are kept while this window is reloaded.</p>
        <button class="small" onClick={() => phone.reset()}>
          Reset the phone
        </button>
      </div>
    </div>
  );
}

function Buttons({ children }: { children: ComponentChildren }) {
  return <div class="buttons">{children}</div>;
}

function Text(props: { label: string; value: string; change: (text: string) => void }) {
  const { label, value, change } = props;
  // Settings may come while somebody types.
  const typed = useSignal<string | undefined>(undefined);
  return (
    <label class="field">
      <span>{label}</span>
      <input
        value={typed.value ?? value}
        onInput={({ currentTarget }) => (typed.value = currentTarget.value)}
        onChange={({ currentTarget }) => change(currentTarget.value)}
        onBlur={() => (typed.value = undefined)}
      />
    </label>
  );
}
