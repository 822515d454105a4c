// What goes to and fro between the page and its phone.

import { h, setText } from '../dom';
import './log.css';
import { withoutSecrets } from './secrets';

const keptEntries = 400;

type Direction = 'sent' | 'reply' | 'event' | 'problem' | 'note';
const signs: Record<Direction, string> = { sent: '→', reply: '←', event: '⚡', problem: '!', note: '·' };

export class Log {
  readonly element: HTMLElement;
  private readonly entries = h('ol', { class: 'log', 'aria-label': 'Log', tabIndex: 0 });
  private readonly periodic = h('input', { type: 'checkbox' });
  private readonly secrets = h('input', { type: 'checkbox', onchange: () => this.fillAll() });
  private readonly fills = new WeakMap<Element, () => void>();

  constructor() {
    const clear = h('button', { class: 'plain', onclick: () => this.entries.replaceChildren() }, 'Clear');
    this.element = h(
      'div',
      { class: 'panel-page' },
      h(
        'div',
        { class: 'log-tools' },
        h('label', {}, this.periodic, ' Periodic events'),
        h('label', {}, this.secrets, ' Show secrets'),
        clear,
      ),
      this.entries,
    );
  }

  /** The log has come into sight: it shows its end. */
  opened(): void {
    this.entries.scrollTop = this.entries.scrollHeight;
  }

  /** A page message on its way to the phone. */
  sent(text: string): void {
    const message = parsed(text);
    this.add('sent', message?.head?.action ?? 'not a message', text);
  }

  /** A script that the page runs next. `needLog` is false for periodic ones. */
  ran(script: string, needLog: boolean): void {
    if (!needLog && !this.periodic.checked) return;
    const json = script.slice(script.indexOf('(') + 1, -1);
    const message = parsed(json);
    const code = message?.error?.errcode ?? 0;
    const isReply = message?.head?.cbid !== undefined;
    const action = message?.head?.action ?? script.slice(0, 40);
    const reported = message?.params?.event;
    const name = reported ? `${action}: ${reported}` : action;
    const failed = code !== 0 || name === 'onError';
    this.add(isReply ? 'reply' : 'event', name, json, failed);
  }

  problem(text: string): void {
    this.add('problem', text, text, true);
  }

  note(text: string): void {
    this.add('note', text, text);
  }

  private add(direction: Direction, title: string, text: string, failed = false): void {
    const atEnd =
      this.entries.scrollTop + this.entries.clientHeight >= this.entries.scrollHeight - 24;
    const shown = (secret: string) => (this.secrets.checked ? secret : withoutSecrets(secret));
    const name = h('span', { class: 'name' });
    const body = h('pre');
    const entry = h(
      'details',
      { class: `entry ${direction}${failed ? ' failed' : ''}` },
      h(
        'summary',
        {},
        h('span', { class: 'sign', 'aria-hidden': 'true' }, signs[direction]),
        name,
        h('time', {}, new Date().toTimeString().slice(0, 8)),
      ),
      body,
    );
    const fill = () => {
      setText(name, shown(title));
      // Long texts are laid out only when somebody looks.
      if (entry.open) setText(body, indented(shown(text)));
    };
    entry.addEventListener('toggle', fill);
    const item = h('li', {}, entry);
    this.fills.set(item, fill);
    fill();
    this.entries.append(item);
    while (this.entries.childElementCount > keptEntries) this.entries.firstElementChild?.remove();
    if (atEnd) this.entries.scrollTop = this.entries.scrollHeight;
  }

  private fillAll(): void {
    for (const item of this.entries.children) this.fills.get(item)?.();
    // A closed entry has nothing to hide: its text is taken when it is opened.
    for (const body of this.entries.querySelectorAll('details:not([open]) pre')) setText(body, '');
  }
}

interface AnyMessage {
  head?: { action?: string; cbid?: string };
  error?: { errcode?: number };
  params?: { event?: string };
}

function parsed(text: string): AnyMessage | undefined {
  try {
    return JSON.parse(text) as AnyMessage;
  } catch {
    return undefined;
  }
}

function indented(text: string): string {
  const value: unknown = parsed(text);
  return value === undefined ? text : JSON.stringify(value, null, 2);
}
