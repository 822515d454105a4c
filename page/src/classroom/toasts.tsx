// Passing notices.

import { signal } from '@preact/signals';
import type { Tone } from './roomAccess';
import './toasts.css';

const shownMs = 5000;

interface Notice {
  readonly key: number;
  readonly text: string;
  readonly tone: Tone;
}

/** The notices of one screen, each for a few seconds. */
export class Notices {
  readonly list = signal<readonly Notice[]>([]);
  private last = 0;

  show(text: string, tone: Tone): void {
    const notice = { key: ++this.last, text, tone };
    const others = this.list.value;
    // The last one is seen; what went wrong stays in sight while other news comes.
    const bad = tone === 'bad' ? -1 : others.findIndex((other) => other.tone === 'bad');
    const place = bad < 0 ? others.length : bad;
    this.list.value = [...others.slice(0, place), notice, ...others.slice(place)];
    setTimeout(() => {
      this.list.value = this.list.value.filter((other) => other !== notice);
    }, shownMs);
  }
}

export function Toasts({ notices }: { notices: Notices }) {
  return (
    <div class="toasts" role="status" aria-live="polite">
      {notices.list.value.map(({ key, text, tone }) => (
        <div key={key} class={`toast ${tone}`} data-native-above="">
          {text}
        </div>
      ))}
    </div>
  );
}
