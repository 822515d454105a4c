// The frame of a phone with the page in it, which may be of another origin: page and shell talk
// by messages alone.

import { connect, connected, type ToPage } from '../../client/src/frames.js';

export interface PageWatcher {
  /** A page has come; what was before is gone. */
  onPage(port: MessagePort): void;
  /** What keeps the page from being there, for whoever looks at the phone; nothing any more. */
  onNotice(text: string | undefined): void;
  /** Something of the page was refused. */
  onProblem(text: string): void;
}

const lookEveryMs = 1000;
const reloadWithinMs = 1500;
// A page that reloads in a loop gets its phones one after another, so that it keeps nobody waiting.
const soonMs = 5000;
const soonPages = 10;
const pauseMs = 2000;

/** Loads the simulator's page into a frame, and lets in what connects from there and is of its origin. */
export class PageFrame {
  private address: URL | undefined;
  private port: MessagePort | undefined;
  private reloading = 0;
  private looking = 0;
  private came: number[] = [];

  constructor(
    readonly frame: HTMLIFrameElement,
    /** What the page is given in its address, such as `user=Ada`. */
    private readonly query: URLSearchParams,
    private readonly watcher: PageWatcher,
  ) {
    addEventListener('message', this.heard);
    frame.addEventListener('load', () => clearTimeout(this.reloading));
    void this.open();
  }

  /** Nothing that the page sends is heard any more. */
  end(): void {
    removeEventListener('message', this.heard);
    clearTimeout(this.looking);
    clearTimeout(this.reloading);
    this.port?.close();
  }

  /** Has the page load itself anew; where it does not, it is loaded from its address. */
  reload(): void {
    clearTimeout(this.reloading);
    if (!this.port) return void this.open();
    this.send({ kind: 'reload' });
    this.reloading = window.setTimeout(() => void this.open(), reloadWithinMs);
  }

  /** Gives the page the focus, where it had it last. */
  focus(): void {
    this.frame.focus();
    this.send({ kind: 'focus' });
  }

  /** Has the page look as the phone is set. */
  look(look: Omit<Extract<ToPage, { kind: 'look' }>, 'kind'>): void {
    this.send({ kind: 'look', ...look });
  }

  private send(frame: ToPage): void {
    this.port?.postMessage(frame);
  }

  // A browser's own page about a server that does not answer would help nobody, so the page is
  // loaded when its server is there.
  private async open(): Promise<void> {
    clearTimeout(this.looking);
    const { href, origin } = (this.address ??= await pageAddress(this.query));
    if (origin !== location.origin && !(await answers(href))) {
      this.watcher.onNotice(
        `Nothing answers at ${href} yet. Start its server: the page opens here as soon as it is there.`,
      );
      this.looking = window.setTimeout(() => void this.open(), lookEveryMs);
      return;
    }
    this.watcher.onNotice(undefined);
    this.frame.src = href;
  }

  private readonly heard = ({ source, origin, data }: MessageEvent): void => {
    if (source === null || source !== this.frame.contentWindow) return;
    if (data?.vemo !== connect.vemo) return;
    if (origin !== this.address?.origin) {
      this.watcher.onProblem(
        `A page of ${origin} is not let in: this phone was given ${this.address?.origin}.`,
      );
      return;
    }
    const { port1, port2 } = new MessageChannel();
    this.port?.close();
    this.port = port1;
    (source as Window).postMessage(connected, origin, [port2]);
    const now = performance.now();
    this.came = [...this.came.filter((time) => now - time < soonMs), now];
    if (this.came.length <= soonPages) return this.watcher.onPage(port1);
    this.watcher.onProblem(
      `The page has loaded ${this.came.length} times in ${soonMs / 1000} s: its phone waits for ${pauseMs / 1000} s.`,
    );
    setTimeout(() => {
      if (this.port === port1) this.watcher.onPage(port1);
    }, pauseMs);
  };
}

// Where the page is that the simulator was started with.
async function pageAddress(query: URLSearchParams): Promise<URL> {
  const answer = await fetch('page.json');
  const { page } = (await answer.json()) as { page: string };
  const address = new URL(page, location.href);
  for (const [name, value] of query) address.searchParams.set(name, value);
  return address;
}

async function answers(address: string): Promise<boolean> {
  try {
    await fetch(address, { mode: 'no-cors', cache: 'no-store' });
    return true;
  } catch {
    return false;
  }
}
