// What a router did beside what it had done, in words.

import { nameOf, type Effect } from './session';

/**
 * How closely values are looked at: `exact` where the same went in; otherwise, as with the times
 * that an event tells of, what kind of thing happened and how it ended is what counts.
 */
export interface Closeness {
  exact: boolean;
  /** Whether more than what is expected is a difference. */
  whole: boolean;
}

/** A sentence for each difference; none where the router did what it had done. */
export function differences(was: readonly Effect[], is: readonly Effect[], { exact, whole }: Closeness): string[] {
  const left = [...is];
  const found: string[] = [];
  for (const expected of was) {
    const difference = (effect: Effect) =>
      firstDifference(comparable(expected, exact), comparable(effect, exact), '');
    const alike = left.filter((effect) => isAlike(expected, effect));
    const came = alike.find((effect) => difference(effect) === undefined) ?? alike[0];
    if (!came) {
      found.push(`${inWords(expected)} did not come`);
      continue;
    }
    left.splice(left.indexOf(came), 1);
    const differing = difference(came);
    if (differing !== undefined) found.push(`${inWords(came)}: ${differing}`);
  }
  if (whole) for (const effect of left) found.push(`${inWords(effect)} came besides`);
  return found;
}

// A scenario need not say what an effect is about.
function isAlike(expected: Effect, came: Effect): boolean {
  const about = nameOf(expected);
  return came.effect === expected.effect && (about === '' || about === nameOf(came));
}

const words: Record<string, string> = {
  reply: 'reply to',
  script: 'script for',
  engine: 'engine call',
  log: 'record',
  requestAccess: 'prompt for',
};

function inWords(effect: Effect): string {
  return `${words[effect.effect] ?? effect.effect} ${nameOf(effect)}`.trimEnd();
}

// What two runs have in common: labels, places in the source and what a record says of its
// parameters belong to one run.
function comparable(effect: Effect, exact: boolean): unknown {
  const { error, retval, args, title, message, buttons, argument } = effect as Record<string, any>;
  switch (effect.effect) {
    case 'reply':
      return { error, ...(exact && { retval }) };
    case 'script':
      return exact ? withoutId(argument) : { error: argument?.error?.errcode ?? null };
    case 'engine':
      return exact ? { args } : {};
    case 'alert':
      return { title, message, buttons };
    case 'log': {
      const { level, errorCode, errorDesc } = (effect['record'] ?? {}) as Record<string, unknown>;
      return { level, errorCode, errorDesc };
    }
    default:
      return {};
  }
}

function withoutId(argument: any): unknown {
  const { cbid: _cbid, ...head } = argument?.head ?? {};
  return { ...argument, head };
}

// As in a scenario: "*" stands for anything, and an object names the keys that matter.
function firstDifference(was: unknown, is: unknown, path: string): string | undefined {
  if (was === '*' || was === undefined || unmasked(was) === unmasked(is)) return undefined;
  if (Array.isArray(was) && Array.isArray(is) && was.length === is.length)
    return firstOf(was.map((value, index) => firstDifference(value, is[index], `${path}/${index}`)));
  if (isObject(was) && isObject(is))
    return firstOf(Object.keys(was).map((key) => firstDifference(was[key], is[key], `${path}/${key}`)));
  return `${path} is ${shortly(is)}, was ${shortly(was)}`;
}

const firstOf = (found: (string | undefined)[]) => found.find((one) => one !== undefined);
// A stand-in for a secret is masked once more when it is told.
const unmasked = (value: unknown) =>
  /^(\*\*\*[0-9a-f]*|1000\d{6})$/.test(typeof value === 'object' ? '' : String(value)) ? '***' : value;
const isObject = (value: unknown): value is Record<string, unknown> =>
  typeof value === 'object' && value !== null && !Array.isArray(value);
const shortly = (value: unknown) => (JSON.stringify(value) ?? 'absent').slice(0, 120);
