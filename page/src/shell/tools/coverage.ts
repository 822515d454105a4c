// Which commands and events of the protocol a page has used.

import { objectOf, readMessage, readScript } from './envelope';
import { commands, events } from './protocol';

export interface CommandUse {
  name: string;
  sent: number;
  /** How often it was answered with an error. */
  failed: number;
}

export interface EventUse {
  name: string;
  registered: boolean;
  received: number;
}

/** Counts what one page sends and is told; the counts go on over a reload. */
export class Coverage {
  private readonly sent = new Map<string, number>();
  private readonly failed = new Map<string, number>();
  private readonly registered = new Set<string>();
  private readonly received = new Map<string, number>();

  message(text: string): void {
    const { action, object } = readMessage(text);
    if (action === undefined) return;
    add(this.sent, action);
    if (action !== 'registCallBacks') return;
    const callbacks = objectOf(object?.['params'])?.['callbacks'];
    if (!Array.isArray(callbacks)) return;
    for (const element of callbacks) {
      const event = objectOf(element)?.['sdkcbName'];
      if (typeof event === 'string') this.registered.add(event);
    }
  }

  script(script: string): void {
    const call = readScript(script);
    if (call?.action === undefined) return;
    if (call.cbid === undefined) add(this.received, call.action);
    else if ((call.code ?? 0) !== 0) add(this.failed, call.action);
  }

  clear(): void {
    for (const counts of [this.sent, this.failed, this.received]) counts.clear();
    this.registered.clear();
  }

  /** Each command of the protocol, in its order. */
  get commands(): CommandUse[] {
    return commands.map(({ name }) => ({
      name,
      sent: this.sent.get(name) ?? 0,
      failed: this.failed.get(name) ?? 0,
    }));
  }

  get events(): EventUse[] {
    return events.map(({ name }) => ({
      name,
      registered: this.registered.has(name),
      received: this.received.get(name) ?? 0,
    }));
  }
}

/** The uses as lines to read. */
export function coverageText(coverage: Coverage): string {
  const used = coverage.commands.filter(({ sent }) => sent > 0);
  const heard = coverage.events.filter(({ received }) => received > 0);
  return [
    `Commands: ${used.length} of ${commands.length} used`,
    ...coverage.commands.map(
      ({ name, sent, failed }) =>
        `  ${name}: ${sent === 0 ? 'never' : `${sent} sent${failed > 0 ? `, ${failed} failed` : ''}`}`,
    ),
    `Events: ${heard.length} of ${events.length} received`,
    ...coverage.events.map(({ name, registered, received }) => {
      const count = received === 0 ? 'never' : `${received} received`;
      return `  ${name}: ${count}${registered ? '' : ', not registered'}`;
    }),
    '',
  ].join('\n');
}

export function coverageJson(coverage: Coverage): string {
  return JSON.stringify({ commands: coverage.commands, events: coverage.events }, null, 2);
}

function add(counts: Map<string, number>, name: string): void {
  counts.set(name, (counts.get(name) ?? 0) + 1);
}
