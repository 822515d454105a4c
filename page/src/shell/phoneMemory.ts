// What has been set on one of this window's phones. A page that connects gets a phone like new,
// as the simulator makes it; what is kept here is set on it before the page's first command.

import { signal } from '@preact/signals';
import { forget, keep, recallJson } from '../storage';
import type { Network, PhoneSettings, ToPhone } from './frames';
import { goodNetwork, type Profile } from './tools/profile';

interface Kept {
  settings?: Partial<PhoneSettings> | undefined;
  network?: Network | undefined;
  cutOff?: true | undefined;
  look?: Look | undefined;
}

/** What the phone does to its page, and what the page is given in its address. */
export type Look = Pick<
  Profile,
  'dark' | 'textSize' | 'rotation' | 'language' | 'user' | 'room' | 'role'
>;

// What a phone has when it is made, as far as a part of it has to be told with the whole.
const bundleAsMade = { CFBundleName: 'Classroom' };

/** Lives in the window's session storage, so each window has its own and a reload keeps it. */
export class PhoneMemory {
  private readonly kept = signal<Kept>({});
  private asMade: PhoneSettings | undefined;
  /** What a new phone is sent besides. */
  besides: () => ToPhone[] = () => [];

  /** `name` tells this phone from the others of the window. */
  constructor(private readonly name: string) {
    this.kept.value = (recallJson('sessionStorage', name) ?? {}) as Kept;
  }

  get network(): Network {
    return this.kept.value.network ?? goodNetwork;
  }
  get cutOff(): boolean {
    return this.kept.value.cutOff ?? false;
  }
  get look(): Look {
    return this.kept.value.look ?? {};
  }

  setLook(changes: Look): void {
    this.keep({ look: { ...this.look, ...changes } });
  }

  /** Sets what `profile` says, for the next page that connects. */
  take({ settings, bundle, network, device: _device, ...look }: Profile): void {
    const kept = this.kept.peek();
    const hasBundle = Object.keys(bundle).length > 0;
    const texts = { ...(kept.settings?.bundle ?? bundleAsMade), ...bundle };
    const changes = { ...settings, ...(hasBundle ? { bundle: texts } : {}) };
    this.keep({
      ...(Object.keys(changes).length > 0 ? { settings: { ...kept.settings, ...changes } } : {}),
      ...(network ? { network: network.network, cutOff: network.cutOff || undefined } : {}),
      ...(Object.keys(look).length > 0 ? { look: { ...kept.look, ...look } } : {}),
    });
  }

  /** A phone like new is there; returns what it is sent first. */
  begin(): ToPhone[] {
    this.asMade = undefined;
    const { settings, network, cutOff } = this.kept.value;
    const frames: ToPhone[] = [];
    if (settings) frames.push({ kind: 'settings', settings });
    if (network) frames.push({ kind: 'network', ...network });
    if (cutOff) frames.push({ kind: 'network', drop: true });
    return [...frames, ...this.besides()];
  }

  /** Makes the phone like new again; returns what it is sent for that. */
  reset(): ToPhone[] {
    const settings = this.asMade;
    this.keep({ settings: undefined, look: undefined });
    return [
      { kind: 'network', drop: false },
      { kind: 'network', ...goodNetwork },
      ...(settings ? [{ kind: 'settings' as const, settings }] : []),
    ];
  }

  /** The phone is gone for good, and what was kept of it goes too. */
  forget(): void {
    forget('sessionStorage', this.name);
  }

  /** What the phone is sent is kept where it sets its network. */
  sent(frame: ToPhone): void {
    if (frame.kind !== 'network') return;
    if ('drop' in frame) return this.keep({ cutOff: frame.drop || undefined });
    const { delay, upLoss, downLoss } = frame;
    const network = { delay, upLoss, downLoss };
    this.keep({ network: same(network, goodNetwork) ? undefined : network });
  }

  /** The phone tells its settings: first those that it is made with, then each change. */
  told(settings: PhoneSettings): void {
    if (this.asMade) this.keep({ settings: same(settings, this.asMade) ? undefined : settings });
    else this.asMade = settings;
  }

  private keep(change: Kept): void {
    this.kept.value = { ...this.kept.peek(), ...change };
    keep('sessionStorage', this.name, JSON.stringify(this.kept.peek()));
  }
}

function same(one: object, other: object): boolean {
  return JSON.stringify(one) === JSON.stringify(other);
}
