// Says in plain words what is odd about a page message, by the protocol and by what went before.

import { objectOf, readMessage, readScript, type Message } from './envelope';
import {
  commandNamed,
  commands,
  eventNamed,
  events,
  isTrue,
  keepsFromAnswer,
  keepsSomeFromAnswer,
  missingFlags,
  type CommandData,
  type Param,
  type ValueType,
} from './protocol';
import { similar } from './similar';

/** An `error` fails, a `warning` does other than it looks, a `hint` is worth a thought. */
export interface Remark {
  tone: 'hint' | 'warning' | 'error';
  text: string;
}

/** Whether the page has this function now; nothing when that can't be seen from here. */
export type HasFunction = (path: string) => boolean | undefined;
/** Asks for such a function; what is to be said, is when the page hasn't got it. */
export type AskFor = (path: string, ifMissing: Remark) => void;

interface Sent {
  action: string;
  waiting: boolean;
}

const typeInWords: Record<ValueType, string> = {
  boolean: 'true or false',
  integer: 'a whole number',
  number: 'a number',
  text: 'a text',
  list: 'a list',
  object: 'an object',
};

/** Listens to one page and its phone, from the page's first message on. */
export class Linter {
  private engine = false;
  /** Whether a room was entered; `maybe` from asking on until it is known. */
  private room: 'no' | 'maybe' | 'yes' = 'no';
  /** Whether the router may count a room as entered: from an enter's end, well or not, to a leave. */
  private mayHaveEntered = false;
  private readonly sent = new Map<string, Sent>();

  constructor(private readonly hasFunction: HasFunction = () => undefined) {}

  /** Whether there is an engine, as far as the commands tell. */
  get hasEngine(): boolean {
    return this.engine;
  }

  /** A page message on its way to the phone. */
  message(text: string, askFor: AskFor = () => {}): Remark[] {
    const message = readMessage(text);
    const { object, action } = message;
    if (!object) return [error('This is no JSON object. It is answered with “bad message”, if at all.')];
    if (action === undefined)
      return [error('It names no command: “head” needs an “action”, which is a text.')];
    const command = commandNamed(action);
    if (!command) return [unknownCommand(action), ...this.cbid(message)];
    const remarks = [
      ...this.state(command),
      ...this.neverAnswered(command),
      ...this.cbid(message),
      ...params(command, object['params']),
      ...this.functions(command, objectOf(object['params']), askFor),
    ];
    this.follow(command, message);
    return remarks;
  }

  /** A script of the phone, whatever the page makes of it. */
  script(script: string): void {
    const call = readScript(script);
    if (!call) return;
    if (call.action === 'onEnterRoom' || call.action === 'enterRoom') {
      const elapsed = call.retval?.['elapsed'];
      const failed = (typeof elapsed === 'number' && elapsed < 0) || (call.code ?? 0) !== 0;
      if (this.room === 'maybe') this.room = failed ? 'no' : 'yes';
      this.mayHaveEntered = true;
    } else if (call.action === 'onExitRoom' || call.action === 'exitRoom') {
      if (this.room === 'yes') this.room = 'no';
    }
    const sent = call.cbid === undefined ? undefined : this.sent.get(call.cbid);
    if (sent && commandNamed(sent.action)?.answered !== 'many') sent.waiting = false;
  }

  /** The system asks the user for a device. */
  prompt(media: 'camera' | 'microphone'): Remark[] {
    const waits = (name: string) =>
      [...this.sent.values()].some(({ action, waiting }) => action === name && waiting);
    if (media !== 'camera' || waits('startLocalPreview') || !waits('startLocalAudio')) return [];
    return [
      hint(
        'The page asked for the microphone, and the system asks for the camera: that is the ' +
          'system’s own doing. The answer decides about the microphone.',
      ),
    ];
  }

  private state(command: CommandData): Remark[] {
    const { name, guard } = command;
    const refusal = (code: number) =>
      command.errors.find((one) => one.module === 'JS' && one.code === code)?.text;
    if (name === 'initSDK' && this.engine)
      return [warning(`The engine is there already: this is answered with “${refusal(-2)}”.`)];
    if (guard !== 'none' && !this.engine)
      return [
        error(
          `“${name}” comes before “initSDK”: there is no engine yet, and the answer is ` +
            `“${refusal(-2)}”.`,
        ),
      ];
    if (guard === 'room' && !this.mayHaveEntered)
      return [error(`“${name}” needs a room, and none was entered: the answer is “${refusal(-3)}”.`)];
    if (guard === 'room' && this.room === 'no')
      return [warning(`“${name}” needs a room, and there is none now: the engine will refuse it.`)];
    if (name === 'exitRoom' && this.room === 'no')
      return [warning('There is no room to leave: this is never answered.')];
    return [];
  }

  private neverAnswered({ name }: CommandData): Remark[] {
    return this.endedBy(name).map(([cbid, { action }]) =>
      warning(
        action === name
          ? `This replaces the “${name}” that still waits (cbid “${cbid}”), which is never answered.`
          : `“${action}” (cbid “${cbid}”) still waits, and is never answered now.`,
      ),
    );
  }

  /** What waits for an answer that can't come any more once the command `name` has run. */
  private endedBy(name: string): [cbid: string, sent: Sent][] {
    if (!keepsSomeFromAnswer(name)) return [];
    return [...this.sent].filter(([, { action, waiting }]) => waiting && keepsFromAnswer(name, action));
  }

  private cbid({ object, cbid }: Message): Remark[] {
    const given = object?.['cbid'];
    if (cbid === undefined && given !== undefined && given !== null)
      return [error('“cbid” must be a text: without one there is no answer.')];
    const earlier = cbid === undefined ? undefined : this.sent.get(cbid);
    if (!earlier) return [];
    return [
      earlier.waiting
        ? error(
            `The cbid “${cbid}” is that of a “${earlier.action}” that may still be answered: the ` +
              'page can’t tell the answers apart.',
          )
        : hint(`The cbid “${cbid}” was used before, for “${earlier.action}”. Better a new one each time.`),
    ];
  }

  private functions(
    { name }: CommandData,
    given: Record<string, unknown> | undefined,
    askFor: AskFor,
  ): Remark[] {
    if (name === 'registReport') return this.functionNamed(given?.['reportfunc'], 'The report', askFor);
    const callbacks = given?.['callbacks'];
    if (name !== 'registCallBacks' || !Array.isArray(callbacks)) return [];
    return callbacks.flatMap((element: unknown, at) => {
      const { sdkcbName: event, jsRecvcbName: path } = objectOf(element) ?? {};
      if (typeof event !== 'string' || !event || typeof path !== 'string' || !path)
        return [warning(`Element ${at} of “callbacks” lacks a name and is skipped.`)];
      return [
        ...(eventNamed(event)
          ? []
          : [warning(`There is no event “${event}”.${didYouMean(event, eventNames)}`)]),
        ...this.functionNamed(path, `“${event}”`, askFor),
      ];
    });
  }

  private functionNamed(path: unknown, what: string, askFor: AskFor): Remark[] {
    if (typeof path !== 'string' || !path) return [];
    const has = this.hasFunction(path);
    const missing = warning(`${what} goes to “${path}”, and the page has no such function now.`);
    if (has === undefined) askFor(path, missing);
    return has === false ? [missing] : [];
  }

  private follow({ name, guard }: CommandData, { cbid }: Message): void {
    const waits = (guard === 'none' || this.engine) && (name !== 'exitRoom' || this.room !== 'no');
    if (name === 'initSDK') this.engine = true;
    if (name === 'uninitSDK') {
      this.engine = false;
      this.room = 'no';
    }
    if (name === 'enterRoom') {
      this.room = 'maybe';
      this.mayHaveEntered = true;
    }
    if (name === 'exitRoom' || name === 'uninitSDK') this.mayHaveEntered = false;
    for (const [, ended] of this.endedBy(name)) ended.waiting = false;
    if (cbid === undefined) return;
    this.sent.delete(cbid);
    this.sent.set(cbid, { action: name, waiting: waits });
    for (const oldest of this.sent.keys()) {
      if (this.sent.size <= keptSent) break;
      this.sent.delete(oldest);
    }
  }
}

const keptSent = 5000;
const commandNames = commands.map(({ name }) => name);
const eventNames = events.map(({ name }) => name);

function unknownCommand(action: string): Remark {
  return error(
    `There is no command “${action}”: it is answered with “unknown action”.` +
      didYouMean(action, commandNames),
  );
}

function listed(keys: string[]): string {
  const all = keys.map((key) => `“${key}”`);
  return [all.slice(0, -1).join(', '), ...all.slice(-1)].filter(Boolean).join(' and ');
}

function params(command: CommandData, given: unknown): Remark[] {
  if (given !== undefined && given !== null && !objectOf(given))
    return [error('“params” must be an object: the whole message is refused as “bad message”.')];
  const values = objectOf(given) ?? {};
  const remarks = members(command.params, values, '');
  const { name, anyOf, anyTrue, nothingWithout } = command;
  const isThere = (key: string) => values[key] !== undefined && values[key] !== null;
  if (anyOf && !anyOf.some(isThere))
    remarks.push(error(`“${name}” needs one of ${listed(anyOf)}.`));
  if (anyTrue && !anyTrue.some((key) => isTrue(values[key])))
    remarks.push(error(`“${name}” needs one of ${listed(anyTrue)} to be true.`));
  if (nothingWithout && !isThere(nothingWithout))
    remarks.push(warning(`Without “${nothingWithout}” it succeeds and does nothing.`));
  const flags = missingFlags(name, values);
  if (flags.length > 0) remarks.push(hint(`None of ${listed(flags)} is true: there is no answer.`));
  return remarks;
}

function members(known: Param[], values: Record<string, unknown>, path: string): Remark[] {
  const names = known.map(({ name }) => name);
  const remarks: Remark[] = [];
  for (const key of Object.keys(values))
    if (!names.includes(key))
      remarks.push(
        warning(
          names.length === 0
            ? `It takes no parameters, and “${path}${key}” is ignored.`
            : `There is no parameter “${path}${key}”, and it is ignored.${didYouMean(key, names)}`,
        ),
      );
  for (const param of known) remarks.push(...valueOf(param, values, path));
  return remarks;
}

function valueOf(param: Param, values: Record<string, unknown>, path: string): Remark[] {
  const value = values[param.name];
  const name = `“${path}${param.name}”`;
  if (value === undefined || value === null || (param.nonEmpty && value === '')) {
    if (!param.required) return [];
    const given = value === undefined ? 'is missing' : value === '' ? 'is empty' : 'is null';
    return [error(`${name} ${given}, and it is required.${answer(param.onMissing)}`)];
  }
  const fit = fits(param, value);
  if (fit !== 'yes') {
    const what = `${name} should be ${typeInWords[param.type]}, not ${inWords(value)}`;
    if (fit === 'converted') return [hint(`${what}; it is converted.`)];
    if (param.required || (param.of && param.onWrongType))
      return [error(`${what}.${answer(param.onWrongType)}`)];
    return [
      warning(
        `${what}: it counts as missing` +
          (param.default === undefined ? '.' : `, and ${JSON.stringify(param.default)} is taken.`),
      ),
    ];
  }
  if (param.values && !param.values.includes(value))
    return [error(`${name} must be one of ${param.values.map((one) => JSON.stringify(one)).join(', ')}.`)];
  if (param.min !== undefined && ((value as number) < param.min || (value as number) > param.max!))
    return [
      warning(
        `${name} goes from ${param.min} to ${param.max}: ${JSON.stringify(param.default)} is taken ` +
          `in place of ${String(value)}.`,
      ),
    ];
  if (!param.members) return [];
  const inside = param.members;
  if (!Array.isArray(value)) return members(inside, objectOf(value) ?? {}, `${path}${param.name}.`);
  return value.flatMap((element: unknown, at) => {
    const object = objectOf(element);
    return object
      ? members(inside, object, `${path}${param.name}[${at}].`)
      : [warning(`“${path}${param.name}[${at}]” should be an object, not ${inWords(element)}.`)];
  });
}

/** Whether the router takes a value as it is, as something else, or not at all. */
function fits({ type, of }: Param, value: unknown): 'yes' | 'converted' | 'no' {
  switch (type) {
    case 'boolean':
      if (typeof value === 'boolean') return 'yes';
      if (typeof value === 'number') return 'converted';
      return of && /^(true|false|0|1)$/.test(String(value)) ? 'converted' : 'no';
    case 'integer':
    case 'number':
      if (typeof value === 'number')
        return type === 'number' || Number.isInteger(value) ? 'yes' : 'converted';
      if (typeof value === 'boolean') return 'converted';
      return of && typeof value === 'string' && /^[+-]?\d+$/.test(value) ? 'converted' : 'no';
    case 'text':
      if (typeof value === 'string') return 'yes';
      return of && typeof value === 'number' ? 'converted' : 'no';
    case 'list':
      return Array.isArray(value) ? 'yes' : 'no';
    case 'object':
      return objectOf(value) ? 'yes' : 'no';
  }
}

function inWords(value: unknown): string {
  if (value === null) return 'null';
  if (Array.isArray(value)) return 'a list';
  if (typeof value === 'object') return 'an object';
  const text = JSON.stringify(value);
  const shown = text.length > 30 ? `${text.slice(0, 30)}…` : text;
  return typeof value === 'string' ? `the text ${shown}` : shown;
}

function didYouMean(name: string, names: readonly string[]): string {
  const meant = similar(name, names);
  return meant === undefined ? '' : ` Did you mean “${meant}”?`;
}

function answer(text: string | undefined): string {
  return text === undefined ? '' : ` The answer is “${text}”.`;
}

const error = (text: string): Remark => ({ tone: 'error', text });
const warning = (text: string): Remark => ({ tone: 'warning', text });
const hint = (text: string): Remark => ({ tone: 'hint', text });
