// What is to go wrong: each fault stays on until it is switched off, and says so.

import { useSignal } from '@preact/signals';
import type { PhoneModel } from '../phoneModel';
import { errorInWords } from '../../words';
import { refusalCodes, toolboxOf, type Device, type Toolbox } from './toolbox';
import { commands, engineCodes } from './protocol';
import type { ReplyFault } from './replyFaults';
import './tools.css';

const replyFaults: { fault: ReplyFault; label: string; unit: string; first: number; most: number }[] = [
  { fault: 'late', label: 'Answers come late', unit: 'ms', first: 1000, most: 60_000 },
  { fault: 'lost', label: 'Answers are lost', unit: '%', first: 25, most: 100 },
  { fault: 'doubled', label: 'Answers come twice', unit: '%', first: 25, most: 100 },
  { fault: 'reordered', label: 'Answers overtake each other', unit: '%', first: 25, most: 100 },
];
const devices: Device[] = ['camera', 'microphone'];
const failures = [...engineCodes.map(({ code }) => code).filter((code) => code < 0), ...Object.values(refusalCodes)];

export function FaultsPage({ phone }: { phone: PhoneModel }) {
  const tools = toolboxOf(phone);
  const isThere = phone.state.value === 'ready';
  const faults = tools.faults.value;
  return (
    <div class="tool-page">
      <div class="tool-state" data-on={faults.length > 0}>
        <p role="status">{faults.length === 0 ? 'No fault is on.' : `On: ${faults.join('; ')}.`}</p>
        <button type="button" class="small" disabled={faults.length === 0} onClick={() => tools.endFaults()}>
          All off
        </button>
      </div>

      <h2>On the way to the page</h2>
      {replyFaults.map((one) => (
        <ReplyFaultLine key={one.fault} {...one} tools={tools} />
      ))}

      <h2>Permission refused in mid-use</h2>
      {devices.map((device) => (
        <Switch
          key={device}
          label={`Refuse the ${device}`}
          isOn={tools.isTaken(device)}
          set={(isOn) => tools.take(device, isOn)}
          disabled={!isThere}
        />
      ))}

      <h2>Downloads</h2>
      <DownloadLine tools={tools} />

      <h2>Reload in mid-call</h2>
      <ReloadLine tools={tools} />

      <h2>Error of the engine</h2>
      <EngineErrorLine tools={tools} disabled={!isThere} />
    </div>
  );
}

function Switch(props: { label: string; isOn: boolean; set: (isOn: boolean) => void; disabled?: boolean }) {
  const { label, isOn, set, disabled } = props;
  return (
    <label class="tool-switch" data-on={isOn}>
      <input
        type="checkbox"
        role="switch"
        checked={isOn}
        disabled={disabled}
        onChange={({ currentTarget }) => set(currentTarget.checked)}
      />
      <span>{label}</span>
    </label>
  );
}

function ReplyFaultLine(props: {
  fault: ReplyFault;
  label: string;
  unit: string;
  first: number;
  most: number;
  tools: Toolbox;
}) {
  const { fault, label, unit, first, most, tools } = props;
  const amount = tools.replyFaults.value[fault];
  const chosen = useSignal(amount ?? first);
  return (
    <div class="tool-line">
      <Switch
        label={label}
        isOn={amount !== undefined}
        set={(isOn) => tools.setReplyFault(fault, isOn ? chosen.value : undefined)}
      />
      <label class="tool-amount">
        <input
          type="number"
          min={1}
          max={most}
          value={chosen}
          aria-label={`${label}: ${unit === 'ms' ? 'by how many milliseconds' : 'percent of them'}`}
          onChange={({ currentTarget }) => {
            const value = Math.round(currentTarget.valueAsNumber);
            if (Number.isFinite(value)) chosen.value = Math.min(most, Math.max(1, value));
            currentTarget.value = String(chosen.value);
            if (amount !== undefined && amount !== chosen.value) tools.setReplyFault(fault, chosen.value);
          }}
        />
        <span aria-hidden="true">{unit}</span>
      </label>
    </div>
  );
}

function DownloadLine({ tools }: { tools: Toolbox }) {
  const error = tools.downloadError.value;
  const code = useSignal(error?.code ?? -1009);
  const text = useSignal(error?.text ?? 'The network is offline.');
  const set = () => tools.setDownloadError({ code: code.value, text: text.value });
  return (
    <>
      <div class="tool-line">
        <Switch
          label="Downloads fail"
          isOn={error !== undefined}
          set={(isOn) => (isOn ? set() : tools.setDownloadError(undefined))}
        />
        <label class="tool-amount">
          <input
            type="number"
            value={code}
            aria-label="Code of failing downloads"
            onChange={({ currentTarget }) => {
              const value = Math.round(currentTarget.valueAsNumber);
              if (Number.isSafeInteger(value)) code.value = value;
              currentTarget.value = String(code.value);
              if (error) set();
            }}
          />
        </label>
      </div>
      <label class="tool-text">
        <span>Their text</span>
        <input
          value={text}
          onChange={({ currentTarget }) => {
            text.value = currentTarget.value;
            if (error) set();
          }}
        />
      </label>
    </>
  );
}

function ReloadLine({ tools }: { tools: Toolbox }) {
  const command = useSignal('enterRoom');
  const at = tools.reloadAt.value;
  return (
    <>
      <div class="tool-line">
        <Switch
          label="When the page sends"
          isOn={at !== undefined}
          set={(isOn) => tools.setReloadAt(isOn ? command.value : undefined)}
        />
        <select
          aria-label="The command at which the page is loaded anew"
          value={at ?? command.value}
          onChange={({ currentTarget }) => {
            command.value = currentTarget.value;
            if (at !== undefined) tools.setReloadAt(command.value);
          }}
        >
          {commands.map(({ name }) => (
            <option key={name} value={name} selected={name === (at ?? command.value)}>
              {name}
            </option>
          ))}
        </select>
      </div>
      <div class="buttons">
        <button type="button" class="small" onClick={() => tools.reloadNow()}>
          Reload now
        </button>
      </div>
    </>
  );
}

function EngineErrorLine({ tools, disabled }: { tools: Toolbox; disabled: boolean }) {
  const code = useSignal(String(failures[0]));
  const value = Number(code.value);
  const isCode = /^-?\d+$/.test(code.value) && Math.abs(value) < 2 ** 31;
  return (
    <form
      onSubmit={(event) => {
        event.preventDefault();
        if (isCode) tools.fire('onError', [value, errorInWords(value), {}]);
      }}
      noValidate
      aria-label="Raise an error of the engine"
    >
      <div class="tool-line">
        <label class="tool-text">
          <span>Code</span>
          <input
            list="engine-codes"
            value={code}
            aria-invalid={!isCode}
            aria-describedby="engine-code-words"
            onInput={({ currentTarget }) => (code.value = currentTarget.value)}
          />
        </label>
        <datalist id="engine-codes">
          {failures.map((one) => (
            <option key={one} value={one}>
              {errorInWords(one)}
            </option>
          ))}
        </datalist>
        <button type="submit" class="small" disabled={disabled}>
          Raise
        </button>
      </div>
      <p class="tool-help" id="engine-code-words">
        {isCode ? errorInWords(value) : 'A code is a whole number.'}
      </p>
    </form>
  );
}

/** Says at the phone itself that faults are on. */
export function FaultBadge({ phone, show }: { phone: PhoneModel; show: () => void }) {
  const faults = toolboxOf(phone).faults.value;
  if (faults.length === 0) return null;
  const text = faults.length === 1 ? '1 fault' : `${faults.length} faults`;
  return (
    <button type="button" class="badge" title={faults.join('; ')} onClick={show}>
      {text}
    </button>
  );
}
