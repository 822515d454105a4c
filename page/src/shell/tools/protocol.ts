// The page's protocol as data, for forms, lint and coverage.

import document from './protocol.json';

export type ValueType = 'boolean' | 'integer' | 'number' | 'text' | 'list' | 'object';

/** A parameter of a command, or a member of an element of one. */
export interface Param {
  name: string;
  type: ValueType;
  about: string;
  unit?: string;
  required: boolean;
  /** An empty text counts as missing. */
  nonEmpty?: true;
  format?: 'uri';
  /** It is read, and its value is not used. */
  ignored?: true;
  /** The parameter that this is another name of; this one wins. */
  sameAs?: string;
  /** What stands in for it when it is missing, or out of range. */
  default?: unknown;
  min?: number;
  max?: number;
  values?: unknown[];
  /** The text of the error without it, and of that when its value is of another type. */
  onMissing?: string;
  onWrongType?: string;
  /** The record that it is read into: a text with a number in it serves there, too. */
  of?: string;
  members?: Param[];
}

/** A field of an answer or of an event's payload. */
export interface Field {
  name: string;
  type: ValueType;
  about: string;
  unit?: string;
  members?: Field[];
}

export interface CommandData {
  name: string;
  subject: string;
  about: string;
  /** What must be there, or the command is refused. */
  guard: 'none' | 'engine' | 'room';
  answered: 'once' | 'later' | 'many';
  /** When there is no answer at all; not there when there always is one. */
  unansweredWhen?: string;
  /** The same, one by one, each with what keeps it from being answered whenever it comes first. */
  unanswered?: { when: string; by: 'itself' | 'uninitSDK' | 'other' }[];
  /** Flags that ask for the answers: when none of them is true, there is none. */
  answersFor?: string[];
  /** Of these parameters one must be given. */
  anyOf?: string[];
  /** Of these parameters one must be true. */
  anyTrue?: string[];
  nothingWithout?: string;
  errors: { module: 'JS' | 'KOBU'; code: number | null; text: string | null; when: string }[];
  params: Param[];
  result: Field[];
  /** Params that serve; null where it needs none. */
  example: Record<string, unknown> | null;
}

export interface EventData {
  name: string;
  subject: string;
  about: string;
  /** Whether it comes again and again. */
  periodic: boolean;
  payload: Field[];
  /**
   * The arguments with which the engine tells it, in order, with an example of each; null for
   * the event that comes from another process.
   */
  arguments: Record<string, unknown> | null;
}

/** A code that the engines report. */
export interface EngineCode {
  code: number;
  about: string;
  where: string;
}

// The compiler need not know each of its members.
const { commands, events, engineCodes } = document as unknown as {
  commands: CommandData[];
  events: EventData[];
  engineCodes: EngineCode[];
};
export { commands, engineCodes, events };

const commandsByName = new Map(commands.map((command) => [command.name, command]));
const eventsByName = new Map(events.map((event) => [event.name, event]));

export const commandNamed = (name: string) => commandsByName.get(name);

const endOthers = new Set(
  commands.flatMap(({ name, unanswered }) =>
    (unanswered ?? []).map(({ by }) => (by === 'itself' ? name : by)),
  ),
);
/** Whether there is a command that is never answered any more once `sent` has succeeded: few are such. */
export const keepsSomeFromAnswer = (sent: string) => endOthers.has(sent);
/** Whether a command `waiting` is never answered any more once a command `sent` has succeeded. */
export function keepsFromAnswer(sent: string, waiting: string): boolean {
  const by = sent === waiting ? 'itself' : sent;
  return commandNamed(waiting)?.unanswered?.some((one) => one.by === by) ?? false;
}

/** Whether the router takes the value of a flag as true. */
export const isTrue = (value: unknown) =>
  value === true || (typeof value === 'number' && value !== 0);

/** The flags of which one would have to be true for command `name` to be answered; none when one is. */
export function missingFlags(name: string, params: unknown): string[] {
  const flags = commandNamed(name)?.answersFor ?? [];
  const values = Object(params) as Record<string, unknown>;
  return flags.some((flag) => isTrue(values[flag])) ? [] : flags;
}

export const eventNamed = (name: string) => eventsByName.get(name);
