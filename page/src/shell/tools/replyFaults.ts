// What may befall the scripts on their way from a phone to its page.

import { readScript } from './envelope';

export type ReplyFault = 'late' | 'lost' | 'doubled' | 'reordered';

/** Which faults are on. `late` is in milliseconds; the others are chances in percent. */
export type ReplyFaults = { [Fault in ReplyFault]?: number };

export interface Surroundings {
  /** Runs `run` after so many milliseconds. */
  after(ms: number, run: () => void): void;
  /** From 0 up to, not including, 1. */
  random(): number;
  /** A fault befell the answer to the command `action`. */
  onFault(fault: ReplyFault, action: string): void;
}

// How long an answer is held for a later one to overtake it: a page that waits for each answer
// before its next command would wait for ever.
const longestHoldMs = 2000;

/** Lets the answers of one phone through, late, twice, in another order or not at all. Events,
 * reports and scripts that can't be read pass as they are. */
export class ReplyFilter {
  private faults: ReplyFaults = {};
  private held: (() => void) | undefined;

  constructor(private readonly surroundings: Surroundings) {}

  /** What is held or late already comes all the same. */
  set(faults: ReplyFaults): void {
    this.faults = faults;
    if (!this.happens('reordered', false)) this.release();
  }

  /** A new page: what was held for the one before is dropped. */
  begin(): void {
    this.held = undefined;
  }

  filter(script: string, pass: (script: string) => void): void {
    const call = readScript(script);
    if (call?.cbid === undefined) return pass(script);
    const action = call.action ?? 'a command';
    const { onFault, after } = this.surroundings;
    if (this.happens('lost')) return onFault('lost', action);
    const late = this.faults.late ?? 0;
    let deliver = () => pass(script);
    if (this.happens('doubled')) {
      onFault('doubled', action);
      deliver = () => {
        pass(script);
        pass(script);
      };
    }
    if (late > 0) {
      onFault('late', action);
      const inTime = deliver;
      deliver = () => after(late, inTime);
    }
    if (this.held) {
      deliver();
      return this.release();
    }
    if (!this.happens('reordered')) return deliver();
    onFault('reordered', action);
    const hold = deliver;
    this.held = hold;
    after(longestHoldMs, () => {
      if (this.held === hold) this.release();
    });
  }

  private release(): void {
    const held = this.held;
    this.held = undefined;
    held?.();
  }

  /** With `chance` off, whether it could. */
  private happens(fault: ReplyFault, chance = true): boolean {
    const percent = this.faults[fault] ?? 0;
    return percent > 0 && (!chance || this.surroundings.random() * 100 < percent);
  }
}
