// An application for unit tests of pages: it plays a scenario.

import type { BridgeEvent, BridgeEvents } from './bridge.js';
import type { Receiver, Transport } from './transport.js';

interface Step {
  line: number;
  /** The command that the page has to send; none for a step that happens by itself. */
  command: string | undefined;
  params: unknown;
  label: string;
  /** Whether the step says what it does. */
  isHeld: boolean;
  effects: Effect[];
}

/** What reaches the page: an answer to the item with a label, or a script. */
interface Effect {
  item?: string;
  error?: { module?: string; errcode: number; errmsg?: string | null } | null;
  retval?: unknown;
  argument?: { head: { action: string }; params: unknown };
}

interface Message {
  head: { action: string };
  params?: unknown;
  cbid: string;
}

const others =
  'device event music speedTest access press downloaded notify host listener release get drain free new'.split(' ');
const registrations = ['registCallBacks', 'registReport'];
// As they are when this is loaded: a test may put a clock of its own in their place.
const later = setTimeout;

/**
 * Plays a scenario, a text with one JSON object a line, as `vemo-replay` does, for a page whose
 * bridge is made with the `transport`. Of a scenario this much counts:
 *
 * - A step with `command` (or `message`) waits until the page sends that command with at least
 *   those params, if any are given; "*" stands for any value. Another command fails the test, save
 *   the registrations that the bridge sends by itself.
 * - All other steps happen as soon as those before them have.
 * - Of what a step has in `expect`, `reply` and `script` reach the page, in order. A reply goes to
 *   the step with its `item` as label (`as`, or "#" and the step's number), or to its own step.
 * - A command that has no `expect`, and no reply in a later step, is answered with success.
 *
 * Throws an error that names the line when the text is no such scenario.
 */
export class PlayedScenario {
  readonly transport: Transport;
  /** Resolves when all steps have been played; rejects when the page sends another command. */
  readonly finished: Promise<void>;

  private readonly steps: Step[];
  private at = 0;
  private readonly received: Message[] = [];
  private readonly callbackIds = new Map<string, string>();
  private receiver: Receiver | undefined;
  private isPlaying = false;
  private finish!: () => void;
  private fail!: (error: Error) => void;

  constructor(text: string) {
    this.steps = read(text);
    this.finished = new Promise((resolve, reject) => {
      this.finish = resolve;
      this.fail = reject;
    });
    this.finished.catch(() => {}); // for tests that don't look at it
    this.transport = (receiver) => {
      this.receiver = receiver;
      later(() => {
        receiver.onState('ready');
        void this.play();
      });
      return (message) => {
        this.received.push(JSON.parse(message) as Message);
        void this.play();
      };
    };
  }

  /** What the scenario waits for, in words; nothing once it has been played. */
  get waitsFor(): string | undefined {
    const step = this.steps[this.at];
    return step && `line ${step.line}: ${step.command ?? 'a step'}`;
  }

  /** Lets the page hear of an event, whatever the scenario says. */
  fire<Name extends BridgeEvent>(event: Name, value: BridgeEvents[Name]): void {
    this.receiver?.onEvent({ head: { action: event }, retval: value });
  }

  /** The application stops. */
  stop(): void {
    this.receiver?.onState('stopped');
  }

  private async play(): Promise<void> {
    if (this.isPlaying) return;
    this.isPlaying = true;
    for (;;) {
      const step = this.steps[this.at];
      if (step?.command === undefined && step) {
        ++this.at;
        await this.happen(step);
        continue;
      }
      const message = this.received.shift();
      if (!message) break;
      await this.take(message, step);
    }
    this.isPlaying = false;
    if (this.at === this.steps.length) this.finish();
  }

  private async take(message: Message, step: Step | undefined): Promise<void> {
    const { head, params, cbid } = message;
    if (step?.command === head.action && matches(step.params, params)) {
      ++this.at;
      this.callbackIds.set(step.label, cbid);
      const isAnswered = this.steps.slice(this.at).some(({ effects }) =>
        effects.some(({ item }) => item === step.label),
      );
      if (!step.isHeld && !isAnswered) return this.reply(cbid, {});
      return this.happen(step);
    }
    if (registrations.includes(head.action)) return this.reply(cbid, {});
    const sent = `${head.action} ${JSON.stringify(params ?? {})}`;
    const expected = step
      ? `line ${step.line} waits for ${step.command} ${JSON.stringify(step.params ?? {})}`
      : 'the scenario is over';
    const errmsg = `the page sent ${sent}, but ${expected}`;
    this.fail(new Error(errmsg));
    return this.reply(cbid, { error: { module: 'JS', errcode: -1, errmsg } });
  }

  private async happen({ effects, label }: Step): Promise<void> {
    for (const effect of effects) {
      if (effect.argument) {
        await turn();
        const isReport = effect.argument.head.action === 'onNativeReport';
        if (isReport) this.receiver?.onReport(effect.argument);
        else this.receiver?.onEvent(effect.argument);
      } else {
        const cbid = this.callbackIds.get(effect.item ?? label);
        if (cbid !== undefined) await this.reply(cbid, effect);
      }
    }
  }

  private async reply(cbid: string, { error, retval }: Effect): Promise<void> {
    await turn();
    this.receiver?.onReply({
      head: { cbid },
      ...(error && {
        error: { module: error.module ?? 'JS', errcode: error.errcode, errmsg: error.errmsg ?? '' },
      }),
      ...(retval == null ? {} : { retval }),
    });
  }
}

// The page goes on with what it was told before it is told more.
function turn(): Promise<void> {
  return new Promise((resolve) => later(resolve));
}

function read(text: string): Step[] {
  const steps: Step[] = [];
  for (const [at, line] of text.split('\n').entries()) {
    if (line.trim() === '' || line.trimStart().startsWith('#')) continue;
    try {
      steps.push(stepOf(JSON.parse(line), at + 1, steps.length + 1));
    } catch (error) {
      throw new Error(`line ${at + 1}: ${(error as Error).message}`);
    }
  }
  return steps;
}

function stepOf(step: Record<string, any>, line: number, number: number): Step {
  if (Array.isArray(step) || 'rows' in step || 'use' in step)
    throw new Error('tables and set-ups are not played for pages');
  const message = step['message'] === undefined ? undefined : JSON.parse(step['message']);
  const command = step['command'] ?? message?.head?.action;
  if (command === undefined && !others.some((verb) => verb in step))
    throw new Error('no verb of scenarios');
  const effects: (Effect & { effect: string })[] = step['expect'] ?? [];
  const reaching = effects.filter(({ effect }) => effect === 'reply' || effect === 'script');
  for (const { effect, error, retval, argument } of reaching) {
    if (hasStar([error, retval, argument])) throw new Error('"*" is no value that a page could get');
    if (effect === 'script' && !argument?.head?.action) throw new Error('a script without its argument');
  }
  return {
    line,
    command,
    params: step['params'] ?? message?.params,
    label: step['as'] ?? `#${number}`,
    isHeld: 'expect' in step,
    effects: reaching,
  };
}

function hasStar(value: unknown): boolean {
  if (typeof value !== 'object' || value === null) return value === '*';
  return Object.values(value).some(hasStar);
}

function matches(expected: unknown, actual: unknown): boolean {
  if (expected === undefined || (expected === '*' && actual !== undefined)) return true;
  if (typeof expected !== 'object' || expected === null) return expected === (actual ?? null);
  if (typeof actual !== 'object' || actual === null) return false;
  if (Array.isArray(expected) && expected.length !== (actual as unknown[]).length) return false;
  return Object.entries(expected).every(([key, value]) =>
    matches(value, (actual as Record<string, unknown>)[key]),
  );
}
