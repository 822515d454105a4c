// Sends any command as if the page had.

import { useSignal } from '@preact/signals';
import { withoutSecrets } from '../secrets';
import { FormOrJson, NameChoice } from './fields';
import { entriesOf, filled, messageText, needs, paramFields } from './form';
import type { PhoneModel } from '../phoneModel';
import { toolboxOf, type Draft, type Toolbox, type SentCommand } from './toolbox';
import { commandNamed, commands } from './protocol';
import './tools.css';

const noProblems = new Map<string, string>();

export function SendPage({ phone }: { phone: PhoneModel }) {
  const tools = toolboxOf(phone);
  const wasTried = useSignal(false);
  const draft = tools.commandDraft.value;
  const { name, asJson, entries, json } = draft;
  const command = commandNamed(name);
  const fields = paramFields(command?.params ?? []);
  const form = filled(fields, entries);
  const isThere = phone.state.value === 'ready';
  const change = (changes: Partial<Draft>) => (tools.commandDraft.value = { ...draft, ...changes });
  const choose = (chosen: string) => {
    wasTried.value = false;
    change({ name: chosen, asJson: false, entries: {}, json: '' });
  };
  const send = (event: Event) => {
    event.preventDefault();
    wasTried.value = true;
    if (asJson) return tools.sendCommand(json);
    if (form.problems.size === 0) tools.sendCommand(messageText(name, form.values, ''));
    else focusFirstProblem(event.currentTarget as HTMLElement);
  };
  return (
    <div class="tool-page">
      <form onSubmit={send} noValidate aria-label="Send a command">
        <NameChoice
          label="Command"
          options={commands}
          value={command ? name : ''}
          choose={choose}
        />
        {command && (
          <p class="tool-about">
            {command.about} {needs(name)}
            {command.unansweredWhen && ` It is never answered when ${command.unansweredWhen}.`}
          </p>
        )}
        <FormOrJson
          fields={fields}
          draft={draft}
          problems={wasTried.value ? form.problems : noProblems}
          textOf={() => indented(messageText(name, form.values, ''))}
          change={change}
          label="Message"
          help="Any text is sent. A JSON object gets a cbid of the tool’s own."
        />
        <div class="tool-actions">
          <button type="submit" class="strong" disabled={!isThere}>
            Send
          </button>
          <button
            type="button"
            class="small"
            onClick={() => change({ asJson: false, entries: entriesOf(command?.example ?? null) })}
          >
            Example
          </button>
          <button
            type="button"
            class="small"
            onClick={() => {
              wasTried.value = false;
              change({ asJson: false, entries: {}, json: '' });
            }}
          >
            Empty
          </button>
        </div>
      </form>
      <History tools={tools} />
    </div>
  );
}

function History({ tools }: { tools: Toolbox }) {
  const sent = tools.sent.value;
  return (
    <section class="tool-history" aria-labelledby="sent-title">
      <h2 id="sent-title">Sent</h2>
      {sent.length === 0 && <p class="tool-note">What you send stands here with its answers.</p>}
      <ol aria-live="polite">
        {sent.map((one) => (
          <SentLine key={one.cbid} sent={one} tools={tools} />
        ))}
      </ol>
    </section>
  );
}

function SentLine({ sent, tools }: { sent: SentCommand; tools: Toolbox }) {
  const { action, answers, text } = sent;
  const last = answers[answers.length - 1];
  const state = !last
    ? 'no answer yet'
    : last.code === 0
      ? `answered after ${Math.round(last.after)} ms${answers.length > 1 ? `, ${answers.length} times` : ''}`
      : `refused with ${last.code}`;
  return (
    <li>
      <details>
        <summary>
          <code>{action}</code> <span class={last && last.code !== 0 ? 'tool-problem' : ''}>{state}</span>
        </summary>
        <pre>{withoutSecrets(indented(text))}</pre>
        {answers.map((answer, at) => (
          <pre key={at}>{withoutSecrets(indented(answer.text))}</pre>
        ))}
      </details>
      <div class="tool-actions">
        <button type="button" class="small" aria-label={`Send ${action} again`} onClick={() => tools.sendCommand(text)}>
          Again
        </button>
        <button type="button" class="small" aria-label={`Edit ${action}`} onClick={() => tools.edit(text)}>
          Edit
        </button>
      </div>
    </li>
  );
}

/** Leads to what has to be filled in. */
export function focusFirstProblem(form: HTMLElement): void {
  // Once it is marked.
  requestAnimationFrame(() => form.querySelector<HTMLElement>('[aria-invalid="true"]')?.focus());
}

function indented(text: string): string {
  try {
    return JSON.stringify(JSON.parse(text), null, 2);
  } catch {
    return text;
  }
}
