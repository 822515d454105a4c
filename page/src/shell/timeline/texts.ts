// Rows in words.

import type { Row } from './timeline';

/** The value of a JSON text; nothing when it is none. */
export function parsed(text: string): unknown {
  try {
    return JSON.parse(text);
  } catch {
    return undefined;
  }
}

// Control characters, and those that have no width or turn the direction of writing; not the joiners,
// which belong to scripts and emoji.
const unseen =
  /[\u0000-\u0008\u000b-\u001f\u007f-\u009f\u00ad\u061c\u200b\u200e\u200f\u2028-\u202e\u2060-\u206f\ufeff]/g;

/** A text whose characters can all be seen, and which turns nothing around it: "\u202e" for what can't. */
export function visible(text: string): string {
  return text.replace(unseen, (one) => `\\u${one.charCodeAt(0).toString(16).padStart(4, '0')}`);
}

/** JSON in lines; any other text as it is. */
export function indented(text: string): string {
  const value = parsed(text);
  return visible(value === undefined ? text : JSON.stringify(value, null, 2));
}

/** A member of a JSON object, or undefined. */
export function member(value: unknown, ...path: string[]): unknown {
  let found = value;
  for (const key of path)
    found = typeof found === 'object' && found !== null ? (found as Record<string, unknown>)[key] : undefined;
  return found;
}

/** 340 ms, 3.2 s, 2 min. */
export function duration(ms: number): string {
  if (ms < 1000) return `${Math.max(0, Math.round(ms))} ms`;
  if (ms < 9950) return `${(ms / 1000).toFixed(1)} s`;
  if (ms < 120_000) return `${Math.round(ms / 1000)} s`;
  return `${Math.round(ms / 60_000)} min`;
}

/** How long after `asked` an answer to it came, in words; nothing where that is not known. */
export function tookInWords(asked: Row, answer: Row): string | undefined {
  return asked.ticks === null || answer.ticks === null ? undefined : duration(answer.ticks - asked.ticks);
}

/** 22:31:07.042, in the time of this place. */
export function timeOfDay(at: number): string {
  const time = new Date(at);
  return `${time.toTimeString().slice(0, 8)}.${String(time.getMilliseconds()).padStart(3, '0')}`;
}

/** The code and the text of an answer's error; nothing where it was a success. */
export function errorOf(answer: Row): { code: number; text: string } | undefined {
  if (!answer.failed) return undefined;
  const error = member(parsed(answer.text), 'error');
  return { code: Number(member(error, 'errcode')), text: String(member(error, 'errmsg') ?? '') };
}

const briefLength = 200;

/**
 * What a row holds, in one line; `shown` gives a text as it may be shown. Empty where the title
 * says it all.
 */
export function brief(row: Row, shown: (text: string) => string): string {
  return visible(briefly(row, shown));
}

function briefly(row: Row, shown: (text: string) => string): string {
  if (row.kind === 'command') {
    const failed = row.answers?.find((answer) => answer.failed);
    const error = failed && errorOf(failed);
    if (error) return shown(error.text);
  }
  const text = shown(row.text);
  if (text === '' || row.kind === 'problem' || row.kind === 'network') return '';
  const value = parsed(text);
  if (value === undefined) return text.slice(0, briefLength);
  if (row.kind === 'prompt') return String(member(value, 'message') ?? '');
  if (row.kind === 'record') {
    const error = row.failed ? member(value, 'errorDesc') : undefined;
    return String(error ?? member(value, 'actionParam') ?? '').slice(0, briefLength);
  }
  if (row.kind === 'settings' && !row.title.startsWith('Settings')) return '';
  const told = {
    command: member(value, 'params'),
    answer: member(value, 'retval'),
    event: member(value, 'retval') ?? member(value, 'args'), // the engine's, until the page is told
    report: member(value, 'params'),
  };
  if (row.kind in told) return inOneLine(told[row.kind as keyof typeof told]);
  return inOneLine(member(value, row.title) ?? value); // a step has its title's name as key
}

// As a literal of a program: without quotes around keys and outermost braces.
function inOneLine(value: unknown): string {
  if (value === undefined || value === null) return '';
  const text = JSON.stringify(value).slice(0, 4 * briefLength);
  const bare = text.replace(/"(\w+)":/g, '$1: ').replace(/,(?=\w+: |")/g, ', ');
  return (bare.startsWith('{') ? bare.slice(1).replace(/}$/, '') : bare).slice(0, briefLength);
}
