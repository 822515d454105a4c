// A form of parameters or arguments: a line for each, with what it means beneath.

import { useId } from 'preact/hooks';
import type { Entries, FormField } from './form';
import type { Draft } from './toolbox';

const typeNames = {
  boolean: 'yes or no',
  integer: 'whole number',
  number: 'number',
  text: 'text',
  list: 'list',
  object: 'object',
} as const;

function Fields(props: {
  fields: readonly FormField[];
  entries: Entries;
  /** What is wrong, by field; shown at once. */
  problems: ReadonlyMap<string, string>;
  change: (entries: Entries) => void;
}) {
  const { fields, entries, problems, change } = props;
  if (fields.length === 0) return <p class="tool-note">It takes no parameters.</p>;
  return (
    <div class="tool-fields">
      {fields.map((field) => (
        <FieldLine
          key={field.name}
          field={field}
          entry={entries[field.name] ?? ''}
          problem={problems.get(field.name)}
          change={(entry) => change({ ...entries, [field.name]: entry })}
        />
      ))}
    </div>
  );
}

function FieldLine(props: {
  field: FormField;
  entry: string;
  problem: string | undefined;
  change: (entry: string) => void;
}) {
  const { field, entry, problem, change } = props;
  const id = useId();
  const attributes = {
    id,
    required: field.required,
    'aria-invalid': problem !== undefined,
    'aria-describedby': `${id}-about`,
    onInput: ({ currentTarget }: { currentTarget: { value: string } }) => change(currentTarget.value),
  };
  return (
    <div class="tool-field">
      <label for={id}>
        <code>{field.name}</code>
        <span class="tool-type">
          {typeNames[field.type]}
          {field.required && <strong>, required</strong>}
        </span>
      </label>
      {field.values ? (
        <select {...attributes}>
          <option value="" selected={entry === ''}>
            {field.required ? 'Choose' : field.placeholder ? `Default: ${field.placeholder}` : 'Not sent'}
          </option>
          {field.values.map(String).map((value) => (
            <option key={value} value={value} selected={entry === value}>
              {value}
            </option>
          ))}
        </select>
      ) : field.type === 'list' || field.type === 'object' ? (
        <textarea
          {...attributes}
          rows={Math.min(8, entry.split('\n').length + 1)}
          spellcheck={false}
          placeholder={field.placeholder}
          value={entry}
        />
      ) : (
        <input
          {...attributes}
          inputMode={field.type === 'text' ? undefined : 'decimal'}
          autocomplete="off"
          spellcheck={false}
          placeholder={field.placeholder}
          value={entry}
        />
      )}
      <p id={`${id}-about`} class="tool-help">
        {problem !== undefined && <span class="tool-problem">{problem} </span>}
        {field.about}
      </p>
    </div>
  );
}

/** The names of commands or events to choose from, by what they are about. */
export function NameChoice(props: {
  label: string;
  options: readonly { name: string; subject: string }[];
  value: string;
  choose: (name: string) => void;
}) {
  const { label, options, value, choose } = props;
  const subjects = [...new Set(options.map(({ subject }) => subject))];
  return (
    <label class="tool-choice">
      <span>{label}</span>
      <select
        aria-label={label}
        value={value}
        onChange={({ currentTarget }) => choose(currentTarget.value)}
      >
        {subjects.map((subject) => (
          <optgroup key={subject} label={titled(subject)}>
            {options
              .filter((one) => one.subject === subject)
              .map(({ name }) => (
                <option key={name} value={name} selected={name === value}>
                  {name}
                </option>
              ))}
          </optgroup>
        ))}
      </select>
    </label>
  );
}

/** A setting that has one of some values. */
export function Choice(props: {
  label: string;
  value: string | undefined;
  /** Titles by value; a value that is not among them is shown as it is. */
  options: Record<string, string>;
  choose: (value: string) => void;
}) {
  const { label, value, options, choose } = props;
  const all = value === undefined || value in options ? options : { [value]: value, ...options };
  return (
    <label class="field">
      <span>{label}</span>
      <select aria-label={label} value={value} onChange={({ currentTarget }) => choose(currentTarget.value)}>
        {Object.entries(all).map(([key, title]) => (
          <option key={key} value={key} selected={key === value}>
            {title}
          </option>
        ))}
      </select>
    </label>
  );
}

/** What a form says, or, where the developer would rather write it, a text. */
export function FormOrJson(props: {
  fields: readonly FormField[];
  draft: Draft;
  problems: ReadonlyMap<string, string>;
  /** The text of what the form says. */
  textOf: () => string;
  change: (changes: Partial<Draft>) => void;
  /** What the text is called. */
  label: string;
  help?: string;
}) {
  const { fields, draft, problems, textOf, change, label, help } = props;
  const { asJson, entries, json } = draft;
  const button = (title: string, toJson: boolean) => (
    <button
      type="button"
      class="small"
      aria-pressed={asJson === toJson}
      onClick={() => {
        if (asJson !== toJson) change(toJson ? { asJson: true, json: textOf() } : { asJson: false });
      }}
    >
      {title}
    </button>
  );
  return (
    <>
      <div class="buttons" role="group" aria-label="Write it as">
        {button('Form', false)}
        {button('JSON', true)}
      </div>
      {asJson ? (
        <label class="tool-json">
          <span>{label}</span>
          <textarea
            rows={10}
            spellcheck={false}
            value={json}
            onInput={({ currentTarget }) => change({ json: currentTarget.value })}
          />
          {help && <span class="tool-help">{help}</span>}
        </label>
      ) : (
        <Fields fields={fields} entries={entries} problems={problems} change={(changed) => change({ entries: changed })} />
      )}
    </>
  );
}

/** A word of the protocol as a title. */
export const titled = (word: string) => `${word[0]!.toUpperCase()}${word.slice(1).replaceAll('_', ' ')}`;
