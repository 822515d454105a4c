// The bots of this window, and the class that they play.

import { signal } from '@preact/signals';
import { openPhone } from '../access';
import { Bot, type BotForm, type Connect } from './bot';
import { nextAct } from './lively';

export const mostBots = 20;
const actEveryMs = 1500;
const names = [
  'Ann', 'Ben', 'Cem', 'Dana', 'Emil', 'Fay', 'Gus', 'Hana', 'Ivo', 'Jun',
  'Kim', 'Lea', 'Max', 'Nia', 'Olaf', 'Pia', 'Quin', 'Rosa', 'Sam', 'Tea',
];

export class Bots {
  readonly bots = signal<readonly Bot[]>([]);
  readonly isLively = signal(false);
  /** What a bot of the lively class did last, in words. */
  readonly lastAct = signal('');
  private timer: ReturnType<typeof setInterval> | undefined;

  constructor(private readonly connect: Connect = connectHere) {}

  /** The name that the next bot gets when none is chosen. */
  get freeName(): string {
    const used = new Set(this.bots.value.map(({ name }) => name));
    return names.find((name) => !used.has(name)) ?? `Bot ${used.size + 1}`;
  }

  /** Adds up to `count` of them; with a name, one. */
  add(count: number, { name, ...form }: BotForm): void {
    const isNamed = name !== '';
    for (let i = 0; i < (isNamed ? 1 : count) && this.bots.peek().length < mostBots; i++)
      this.bots.value = [
        ...this.bots.peek(),
        new Bot({ ...form, name: isNamed ? name : this.freeName }, this.connect),
      ];
  }

  remove(bot: Bot): void {
    bot.end();
    this.bots.value = this.bots.peek().filter((one) => one !== bot);
  }

  removeAll(): void {
    this.setLively(false);
    for (const bot of this.bots.peek()) this.remove(bot);
  }

  /** Whether they do things by themselves. */
  setLively(isOn: boolean): void {
    this.isLively.value = isOn;
    clearInterval(this.timer);
    if (isOn) this.timer = setInterval(() => this.act(), actEveryMs);
  }

  private act(): void {
    const act = nextAct(this.bots.peek(), Math.random);
    if (!act) return;
    act.run();
    this.lastAct.value = `${act.bot.name} ${act.words}.`;
  }
}

const connectHere: Connect = (onText, onState) => {
  const socket = openPhone();
  socket.addEventListener('open', () => onState(true));
  socket.addEventListener('message', ({ data }) => onText(String(data)));
  socket.addEventListener('close', () => onState(false));
  return {
    send: (text) => {
      if (socket.readyState === WebSocket.OPEN) socket.send(text);
    },
    close: () => socket.close(),
  };
};

/** One class for the whole window. */
export const bots = new Bots();
