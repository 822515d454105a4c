// Which commands and events the page has used, and which never.

import { useSignal } from '@preact/signals';
import type { PhoneModel } from '../phoneModel';
import { coverageJson, coverageText } from './coverage';
import { toolboxOf } from './toolbox';
import './tools.css';

export function CoveragePage({ phone }: { phone: PhoneModel }) {
  const { coverage } = toolboxOf(phone);
  const onlyUnused = useSignal(false);
  const cleared = useSignal(0);
  phone.timeline.version.value; // it changes with all that is counted
  cleared.value;
  const commands = coverage.commands;
  const events = coverage.events;
  const used = commands.filter(({ sent }) => sent > 0).length;
  const heard = events.filter(({ received }) => received > 0).length;
  const shown = <Use,>(list: Use[], isUsed: (use: Use) => boolean) =>
    onlyUnused.value ? list.filter((use) => !isUsed(use)) : list;
  return (
    <div class="tool-page">
      <div class="tool-actions">
        <label class="tool-check">
          <input
            type="checkbox"
            checked={onlyUnused}
            onChange={({ currentTarget }) => (onlyUnused.value = currentTarget.checked)}
          />
          Only what was never used
        </label>
        <button type="button" class="small" onClick={() => download('coverage.txt', coverageText(coverage))}>
          Save as text
        </button>
        <button type="button" class="small" onClick={() => download('coverage.json', coverageJson(coverage))}>
          Save as JSON
        </button>
        <button
          type="button"
          class="small"
          onClick={() => {
            coverage.clear();
            cleared.value += 1;
          }}
        >
          Count anew
        </button>
      </div>
      <table class="tool-table">
        <caption>
          Commands: {used} of {commands.length} used
        </caption>
        <thead>
          <tr>
            <th scope="col">Command</th>
            <th scope="col">Sent</th>
            <th scope="col">Failed</th>
          </tr>
        </thead>
        <tbody>
          {shown(commands, ({ sent }) => sent > 0).map(({ name, sent, failed }) => (
            <tr key={name} data-used={sent > 0}>
              <th scope="row">{name}</th>
              <td>{sent || 'never'}</td>
              <td>{failed || ''}</td>
            </tr>
          ))}
        </tbody>
      </table>
      <table class="tool-table">
        <caption>
          Events: {heard} of {events.length} received
        </caption>
        <thead>
          <tr>
            <th scope="col">Event</th>
            <th scope="col">Received</th>
            <th scope="col">Registered</th>
          </tr>
        </thead>
        <tbody>
          {shown(events, ({ received }) => received > 0).map(({ name, received, registered }) => (
            <tr key={name} data-used={received > 0}>
              <th scope="row">{name}</th>
              <td>{received || 'never'}</td>
              <td>{registered ? 'yes' : 'no'}</td>
            </tr>
          ))}
        </tbody>
      </table>
    </div>
  );
}

function download(name: string, text: string): void {
  const address = URL.createObjectURL(new Blob([text]));
  const link = document.createElement('a');
  link.href = address;
  link.download = name;
  link.click();
  URL.revokeObjectURL(address);
}
