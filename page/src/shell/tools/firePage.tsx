// Has the engine, or the broadcast extension, tell of anything.

import { useSignal } from '@preact/signals';
import { broadcastNotifications, type BroadcastEvent } from '../frames';
import type { PhoneModel } from '../phoneModel';
import { FormOrJson, NameChoice, titled } from './fields';
import { argumentsIn, argumentsOf, entriesOf, eventFields, filled } from './form';
import { toolboxOf, type Draft } from './toolbox';
import { eventNamed, events } from './protocol';
import { focusFirstProblem } from './sendPage';
import './tools.css';

const noProblems = new Map<string, string>();
const mostAtOnce = 1000;
const notifications = Object.keys(broadcastNotifications) as BroadcastEvent[];

export function FirePage({ phone }: { phone: PhoneModel }) {
  const tools = toolboxOf(phone);
  const wasTried = useSignal(false);
  const times = useSignal('1');
  const trouble = useSignal('');
  const draft = tools.eventDraft.value;
  const { name, asJson, entries, json } = draft;
  const event = eventNamed(name)!;
  const fields = eventFields(event);
  const form = filled(fields, entries);
  const isThere = phone.state.value === 'ready';
  const told = phone.lastProblem.value;
  const problem = trouble.value || (told?.frame === 'fire' ? told.text : '');
  const change = (changes: Partial<Draft>) => (tools.eventDraft.value = { ...draft, ...changes });
  const clear = () => {
    wasTried.value = false;
    trouble.value = '';
    phone.lastProblem.value = undefined;
  };
  const fire = (submit: Event) => {
    submit.preventDefault();
    clear();
    wasTried.value = true;
    const args = asJson ? argumentsIn(json) : argumentsOf(fields, form.values);
    const count = Number(times.value);
    if (!args) trouble.value = 'The arguments must be a list in JSON.';
    else if (!Number.isInteger(count) || count < 1 || count > mostAtOnce)
      trouble.value = `It can be fired 1 to ${mostAtOnce} times at once.`;
    else if (!asJson && form.problems.size > 0) focusFirstProblem(submit.currentTarget as HTMLElement);
    else tools.fire(name, args, count);
  };
  return (
    <div class="tool-page">
      <form onSubmit={fire} noValidate aria-label="Fire an event">
        <NameChoice
          label="Event of the engine"
          options={events.filter((one) => one.arguments)}
          value={name}
          choose={(chosen) => {
            clear();
            const example = eventNamed(chosen)?.arguments ?? null;
            change({ name: chosen, asJson: false, entries: entriesOf(example), json: '' });
          }}
        />
        <p class="tool-about">{event.about}</p>
        <FormOrJson
          fields={fields}
          draft={draft}
          problems={wasTried.value ? form.problems : noProblems}
          textOf={() => JSON.stringify(argumentsOf(fields, form.values), null, 2)}
          change={change}
          label="Arguments, in order"
        />
        <div class="tool-actions">
          <button type="submit" class="strong" disabled={!isThere}>
            Fire
          </button>
          <label class="tool-times">
            <input
              inputMode="numeric"
              value={times}
              onInput={({ currentTarget }) => (times.value = currentTarget.value)}
            />
            <span>times</span>
          </label>
          <button
            type="button"
            class="small"
            onClick={() => change({ asJson: false, entries: entriesOf(event.arguments) })}
          >
            Example
          </button>
        </div>
        <p class="tool-problem" role="status">
          {problem}
        </p>
      </form>
      <section aria-labelledby="notifications-title">
        <h2 id="notifications-title">Notification of the broadcast extension</h2>
        <p class="tool-about">{eventNamed('onScreenKitEvent')?.about}</p>
        <div class="buttons">
          {notifications.map((one) => (
            <button
              key={one}
              type="button"
              class="small"
              disabled={!isThere}
              onClick={() => phone.send({ kind: 'broadcast', event: one })}
            >
              {titled(one)}
            </button>
          ))}
        </div>
      </section>
    </div>
  );
}
