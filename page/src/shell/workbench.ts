// The phones of this window.

import { computed, signal } from '@preact/signals';
import { keep, recall, recallJson } from '../storage';
import { tokenKey } from './access';
import { PhoneModel } from './phoneModel';
import type { Playback } from './session/playback';
import { profileOf } from './tools/profile';
import { toolboxOf } from './tools/toolbox';

const keptName = 'vemo.phones';
const profileName = 'vemo.profile';
const tabletAt = 1000;
const mostPhones = 8;

/** The panel's pages, in order. */
export const panelTitles = [
  'Time line',
  'Phone',
  'Send',
  'Fire',
  'Faults',
  'Bots',
  'Coverage',
  'Sessions',
] as const;
export type PanelTitle = (typeof panelTitles)[number];

/** At least one phone at any time; which of them there are outlives a reload of the window. */
export class Workbench {
  readonly phones = signal<readonly PhoneModel[]>([]);
  private readonly chosen = signal<PhoneModel | undefined>(undefined);
  /** The phone that the panel is about, and the one in sight where there is room for one. */
  readonly current = computed(() => this.chosen.value ?? this.phones.value[0]!);
  readonly isFull = computed(() => this.phones.value.length >= mostPhones);
  readonly isPanelOpen = signal(false);
  /** The number of the panel's page that is open. */
  readonly panelPage = signal(0);
  /** The saved session that is open. */
  readonly playback = signal<Playback | undefined>(undefined);
  /** What of the window's address can't be used, a sentence each. */
  readonly addressProblems = signal<readonly string[]>([]);

  constructor() {
    const numbers = keptNumbers();
    const device = numbers.length === 1 && innerWidth >= tabletAt ? 'tablet' : 'phone';
    this.phones.value = numbers.map((number) => equipped(number, device));
    this.readAddress(this.phones.value[0]!);
  }

  choose(phone: PhoneModel): void {
    this.chosen.value = phone;
  }

  /** Opens the panel at its page called `title`, about `phone`. */
  showPage(phone: PhoneModel, title: PanelTitle): void {
    this.chosen.value = phone;
    this.panelPage.value = panelTitles.indexOf(title);
    this.isPanelOpen.value = true;
  }

  /** Puts another phone beside the others. */
  add(): void {
    if (this.isFull.peek()) return;
    const used = new Set(this.phones.peek().map(({ number }) => number));
    let number = 1;
    while (used.has(number)) ++number;
    // Beside each other there is room for phones only.
    for (const phone of this.phones.peek()) phone.device.value = 'phone';
    const phone = equipped(number, 'phone');
    this.phones.value = [...this.phones.peek(), phone];
    this.chosen.value = phone;
    this.keep();
  }

  /** Takes a phone away, unless it is the last. */
  remove(phone: PhoneModel): void {
    const others = this.phones.peek().filter((other) => other !== phone);
    if (others.length === 0) return;
    if (this.current.peek() === phone) this.chosen.value = undefined;
    this.phones.value = others;
    phone.remove();
    this.keep();
  }

  /**
   * Sets the window's first phone as its address says. What was set by hand since then outlives
   * a reload.
   */
  private readAddress(phone: PhoneModel): void {
    const { profile, problems } = profileOf(location.search, [tokenKey]);
    this.addressProblems.value = problems;
    if (profile.device) phone.device.value = profile.device;
    if (recall('sessionStorage', profileName) === location.search) return;
    keep('sessionStorage', profileName, location.search);
    phone.memory.take(profile);
  }

  private keep(): void {
    const numbers = this.phones.peek().map(({ number }) => number);
    keep('sessionStorage', keptName, JSON.stringify(numbers));
  }
}

/** The numbers of the phones that the window had before it was reloaded; that of its first one. */
function keptNumbers(): number[] {
  const kept = recallJson('sessionStorage', keptName);
  const isOne = (number: unknown): number is number =>
    Number.isInteger(number) && Number(number) >= 1 && Number(number) <= mostPhones;
  const numbers = Array.isArray(kept) ? [...new Set(kept.filter(isOne))] : [];
  return numbers.length > 0 ? numbers : [1];
}

/** A phone whose tools listen from the first message on. */
function equipped(number: number, device: 'phone' | 'tablet'): PhoneModel {
  const phone = new PhoneModel(number, device);
  toolboxOf(phone);
  return phone;
}
