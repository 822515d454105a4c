// What has been set on this window's phone. A page that connects gets a phone like new, as
// the simulator makes it; what is kept here is set on it before the page's first command.

import type { Network, PhoneSettings, ToPhone } from './frames';

const keptName = 'vemo.phone';
export const goodNetwork: Network = { delay: 25, upLoss: 0, downLoss: 0 };

interface Kept {
  settings?: PhoneSettings | undefined;
  network?: Network | undefined;
  cutOff?: true | undefined;
}

/** Lives in the window's session storage, so each window has its own and a reload keeps it. */
export class PhoneMemory {
  private readonly kept = (JSON.parse(sessionStorage.getItem(keptName) ?? 'null') ?? {}) as Kept;
  private asMade: PhoneSettings | undefined;

  get network(): Network {
    return this.kept.network ?? goodNetwork;
  }
  get cutOff(): boolean {
    return this.kept.cutOff ?? false;
  }

  /** A phone like new is there; returns what it is sent first. */
  begin(): ToPhone[] {
    this.asMade = undefined;
    const { settings, network, cutOff } = this.kept;
    const frames: ToPhone[] = [];
    if (settings) frames.push({ kind: 'settings', settings });
    if (network) frames.push({ kind: 'network', ...network });
    if (cutOff) frames.push({ kind: 'network', drop: true });
    return frames;
  }

  /** Makes the phone like new again; returns what it is sent for that. */
  reset(): ToPhone[] {
    const settings = this.asMade;
    this.keep({ settings: undefined });
    return [
      { kind: 'network', drop: false },
      { kind: 'network', ...goodNetwork },
      ...(settings ? [{ kind: 'settings' as const, settings }] : []),
    ];
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
    Object.assign(this.kept, change);
    sessionStorage.setItem(keptName, JSON.stringify(this.kept));
  }
}

function same(one: object, other: object): boolean {
  return JSON.stringify(one) === JSON.stringify(other);
}
