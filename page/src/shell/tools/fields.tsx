// A form of parameters or arguments: a line for each, with what it means beneath.

import { useId } from 'preact/hooks';
import type { Entries, FormField } from './form';

const typeNames = {
  boolean: 'yes or no',
  integer: 'whole number',
  number: 'number',
  text: 'text',
  list: 'list',
  object: 'object',
} as const;

export function Fields(props: {
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
          <optgroup key={subject} label={subjectTitle(subject)}>
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

/** Form or JSON. */
export function ModeChoice({ asJson, choose }: { asJson: boolean; choose: (asJson: boolean) => void }) {
  const button = (title: string, json: boolean) => (
    <button type="button" class="small" aria-pressed={asJson === json} onClick={() => choose(json)}>
      {title}
    </button>
  );
  return (
    <div class="buttons" role="group" aria-label="Write it as">
      {button('Form', false)}
      {button('JSON', true)}
    </div>
  );
}

const subjectTitle = (subject: string) =>
  `${subject[0]!.toUpperCase()}${subject.slice(1).replaceAll('_', ' ')}`;
