// How the phone's network is: by name, or by hand.

import { useSignal } from '@preact/signals';
import type { Network } from '../frames';
import type { PhoneModel } from '../phoneModel';
import { networkNamed, networks } from './profile';
import './tools.css';

interface SliderOptions {
  key: keyof Network;
  label: string;
  unit: string;
  most: number;
  step: number;
}
const sliders: SliderOptions[] = [
  { key: 'delay', label: 'Delay', unit: 'ms', most: 2000, step: 5 },
  { key: 'upLoss', label: 'Lost on the way up', unit: '%', most: 100, step: 1 },
  { key: 'downLoss', label: 'Lost on the way down', unit: '%', most: 100, step: 1 },
];

export function NetworkSettings({ phone }: { phone: PhoneModel }) {
  const { network, cutOff } = phone.memory;
  const named = networkNamed(network, cutOff);
  const { delay, upLoss, downLoss } = network;
  const set = (to: Network) => phone.send({ kind: 'network', ...to });
  return (
    <>
      <p class="network-state" role="status" data-bad={named?.name !== 'good'}>
        {cutOff
          ? 'Cut off: nothing passes.'
          : `${named?.title ?? 'Own'}: ${delay} ms, ${upLoss} % lost up, ${downLoss} % down.`}
      </p>
      <div class="buttons">
        <button class="small" aria-pressed={cutOff} onClick={() => phone.send({ kind: 'network', drop: true })}>
          Cut off
        </button>
        <button class="small" onClick={() => phone.send({ kind: 'network', drop: false })}>
          Restore
        </button>
      </div>
      <div class="buttons">
        {networks
          .filter((one) => !one.cutOff)
          .map((one) => (
            <button
              key={one.name}
              class="small"
              aria-pressed={networkNamed(network, false) === one}
              onClick={() => set(one.network)}
            >
              {one.title}
            </button>
          ))}
      </div>
      {sliders.map((options) => (
        <Slider
          key={options.key}
          options={options}
          value={network[options.key]}
          set={(value) => set({ ...network, [options.key]: value })}
        />
      ))}
    </>
  );
}

function Slider(props: { options: SliderOptions; value: number; set: (value: number) => void }) {
  const { options, value, set } = props;
  const { label, unit, most, step } = options;
  // The phone is told where it is let go.
  const drawn = useSignal<number | undefined>(undefined);
  const shown = drawn.value ?? value;
  return (
    <label class="field network-slider">
      <span>
        {label}: {shown} {unit}
      </span>
      <input
        type="range"
        min={0}
        max={most}
        step={step}
        value={shown}
        aria-valuetext={`${shown} ${unit}`}
        onInput={({ currentTarget }) => (drawn.value = currentTarget.valueAsNumber)}
        onChange={({ currentTarget }) => {
          drawn.value = undefined;
          set(currentTarget.valueAsNumber);
        }}
      />
    </label>
  );
}
