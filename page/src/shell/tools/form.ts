// What a form of parameters holds, as texts, and the JSON that is made of it.

import { commandNamed, type EventData, type Field, type Param, type ValueType } from './protocol';

/** One line of a form. */
export interface FormField {
  name: string;
  type: ValueType;
  /** What it means, with what it may be. */
  about: string;
  required: boolean;
  /** What is sent in its place when it is left empty, if anything is. */
  placeholder: string;
  values: readonly unknown[] | undefined;
  min: number | undefined;
  max: number | undefined;
}

/** What is written into a form, by the fields' names; nothing for a field that is left empty. */
export type Entries = Readonly<Record<string, string>>;

export function paramFields(params: readonly Param[]): FormField[] {
  return params.map((param) => ({
    name: param.name,
    type: param.type,
    about: sentence(param),
    required: param.required,
    placeholder: param.default === undefined ? '' : JSON.stringify(param.default),
    values: param.type === 'boolean' ? [true, false] : param.values,
    min: param.min,
    max: param.max,
  }));
}

/** The arguments with which the engine tells an event. */
export function eventFields({ arguments: examples, payload }: EventData): FormField[] {
  return Object.entries(examples ?? {}).map(([name, example]) => {
    const type = typeOf(example);
    const field = payload.find((one) => one.name === name);
    return {
      name,
      type,
      about: field ? sentence(field) : '',
      required: type === 'integer' || type === 'boolean',
      placeholder: type === 'integer' || type === 'boolean' ? '' : 'null',
      values: type === 'boolean' ? [true, false] : undefined,
      min: undefined,
      max: undefined,
    };
  });
}

/** A form as it is filled in by these values. */
export function entriesOf(values: Record<string, unknown> | null): Entries {
  return Object.fromEntries(
    Object.entries(values ?? {}).map(([name, value]) => [
      name,
      typeof value === 'string' ? value : JSON.stringify(value),
    ]),
  );
}

/** The values that a form says, and what is wrong with it, by field. */
export interface Filled {
  values: Record<string, unknown>;
  problems: Map<string, string>;
}

export function filled(fields: readonly FormField[], entries: Entries): Filled {
  const values: Record<string, unknown> = {};
  const problems = new Map<string, string>();
  for (const field of fields) {
    const entry = entries[field.name] ?? '';
    if (entry === '') {
      if (field.required) problems.set(field.name, 'It is required.');
      continue;
    }
    const value = valueOf(field, entry);
    if (value === undefined) problems.set(field.name, `It must be ${expected[field.type]}.`);
    else values[field.name] = value;
  }
  return { values, problems };
}

/** All arguments of an event, in order; null for those that are left empty. */
export function argumentsOf(fields: readonly FormField[], values: Record<string, unknown>): unknown[] {
  return fields.map(({ name }) => values[name] ?? null);
}

/** A page message, as a page writes it. */
export function messageText(action: string, params: Record<string, unknown>, cbid: string): string {
  const head = { module: 'kobu', action };
  return JSON.stringify(Object.keys(params).length > 0 ? { head, params, cbid } : { head, cbid });
}

/**
 * The message in `text` with another `cbid`; a text that is no JSON object is sent as it is, so
 * that a page's bad messages can be tried, too.
 */
export function withCbid(text: string, cbid: string): string {
  try {
    const value: unknown = JSON.parse(text);
    if (typeof value !== 'object' || value === null || Array.isArray(value)) return text;
    return JSON.stringify({ ...value, cbid });
  } catch {
    return text;
  }
}

/** Why `text` can't be sent as a list of arguments; nothing when it can. */
export function argumentsIn(text: string): unknown[] | undefined {
  try {
    const value: unknown = JSON.parse(text);
    return Array.isArray(value) ? value : undefined;
  } catch {
    return undefined;
  }
}

/** What must be there before a command can do anything, in words. */
export function needs(command: string): string {
  switch (commandNamed(command)?.guard) {
    case 'engine':
      return 'It needs the engine, from “initSDK”.';
    case 'room':
      return 'It needs a room that was entered.';
    default:
      return '';
  }
}

const expected: Record<ValueType, string> = {
  boolean: 'true or false',
  integer: 'a whole number',
  number: 'a number',
  text: 'a text',
  list: 'a list in JSON, such as []',
  object: 'an object in JSON, such as {}',
};

function valueOf({ type }: FormField, entry: string): unknown {
  if (type === 'text') return entry;
  let value: unknown;
  try {
    value = JSON.parse(entry);
  } catch {
    return undefined;
  }
  switch (type) {
    case 'boolean':
      return typeof value === 'boolean' ? value : undefined;
    case 'integer':
      return Number.isInteger(value) ? value : undefined;
    case 'number':
      return typeof value === 'number' ? value : undefined;
    case 'list':
      return Array.isArray(value) ? value : undefined;
    case 'object':
      return typeof value === 'object' && value !== null && !Array.isArray(value) ? value : undefined;
  }
}

function typeOf(value: unknown): ValueType {
  if (Array.isArray(value)) return 'list';
  switch (typeof value) {
    case 'boolean':
      return 'boolean';
    case 'number':
      return 'integer';
    case 'string':
      return 'text';
    default:
      return 'object';
  }
}

function sentence(field: Param | Field): string {
  const words = [field.about];
  if (field.unit) words.push(`in ${field.unit}`);
  if ('min' in field && field.min !== undefined) words.push(`${field.min} to ${field.max}`);
  const text = words.filter(Boolean).join(', ');
  return text && `${text[0]!.toUpperCase()}${text.slice(1)}.`;
}
