// The frame of a phone with the page in it, which may be of another origin: page and shell talk
// by messages alone.

import { connect, connected, type FromPage, type ToPage } from '../../client/src/frames.js';

export interface PageNotice {
  text: string;
  /** A page may be there, and is to be seen. */
  hasPage: boolean;
}

export interface PageWatcher {
  /** A page has come; what was before is gone. */
  onPage(port: MessagePort): void;
  /** What whoever looks at the phone should know of the page; nothing any more. */
  onNotice(notice: PageNotice | undefined): void;
  /** Something of the page was refused. */
  onProblem(text: string): void;
}

/** What the page's own policy keeps out of the frames; told before such a frame has loaded nothing. */
let keptOut: string | undefined;
addEventListener('securitypolicyviolation', ({ effectiveDirective, blockedURI }) => {
  if (effectiveDirective === 'frame-src') keptOut = blockedURI;
});

const lookEveryMs = 1000;
const silentMs = 5000;
/** So soon a page that can says that it loads itself anew. */
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
  /** Counts down to what is said of a page that asks for no phone. */
  private silence = 0;
  private hasAsked = false;
  private looking = 0;
  private came: number[] = [];

  constructor(
    readonly frame: HTMLIFrameElement,
    /** What the page is given in its address, such as `user=Ada`. */
    private readonly query: URLSearchParams,
    private readonly watcher: PageWatcher,
  ) {
    addEventListener('message', this.heard);
    frame.addEventListener('load', () => this.loaded());
    void this.open();
  }

  /** Nothing that the page sends is heard any more. */
  end(): void {
    removeEventListener('message', this.heard);
    clearTimeout(this.looking);
    clearTimeout(this.reloading);
    this.endSilence();
    this.port?.close();
  }

  /** Has the page load itself anew, from wherever it has gone; where it can't, it is loaded from its address. */
  reload(): void {
    clearTimeout(this.reloading);
    if (!this.port) return void this.open();
    this.send({ kind: 'reload' });
    this.reloading = window.setTimeout(() => void this.open(), reloadWithinMs);
  }

  /** Gives the page the focus, where it had it last. */
  focus(): void {
    this.frame.focus();
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
      const untrusted = href.startsWith('https:')
        ? ' If it runs, this browser does not trust its certificate: open the address in a tab of its own, and accept it there. If that is done, the server forbids other origins to read from it (Cross-Origin-Resource-Policy).'
        : '';
      this.watcher.onNotice({
        text: `Nothing answers at ${href} yet. Start its server: the page opens here as soon as it is there.${untrusted}`,
        hasPage: false,
      });
      this.looking = window.setTimeout(() => void this.open(), lookEveryMs);
      return;
    }
    this.watcher.onNotice(undefined);
    this.frame.src = href;
  }

  // A page asks for its phone while it loads, or later.
  private loaded(): void {
    clearTimeout(this.reloading);
    this.endSilence();
    if (!this.frame.src) return; // the browser's own empty page
    const elsewhere = keptOut;
    keptOut = undefined;
    if (elsewhere !== undefined) {
      const named = this.address?.origin;
      const text = `The page leads to ${elsewhere}, and this phone was given ${named} alone.`;
      this.watcher.onProblem(text);
      return this.watcher.onNotice({
        text: `${text} Start the simulator with --page-url and the address that it leads to.`,
        hasPage: false,
      });
    }
    if (this.hasAsked) this.hasAsked = false;
    else this.silence = window.setTimeout(() => this.isSilent(), silentMs);
  }

  private isSilent(): void {
    this.silence = 0;
    const text = 'The page has loaded and has not asked for its phone.';
    this.watcher.onProblem(text);
    this.watcher.onNotice({
      text: `${text} Does it use vemo-client? If it stays empty, its server forbids to frame it (X-Frame-Options, frame-ancestors).`,
      hasPage: true,
    });
  }

  private endSilence(): void {
    clearTimeout(this.silence);
    this.silence = 0;
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
    this.hasAsked = this.silence === 0; // else it has loaded before it asked
    this.endSilence();
    this.watcher.onNotice(undefined);
    const { port1, port2 } = new MessageChannel();
    this.port?.close();
    this.port = port1;
    port1.addEventListener('message', ({ data: frame }: MessageEvent<FromPage>) => {
      if (frame?.kind === 'reloads') clearTimeout(this.reloading);
    });
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
    // A server may keep its files from other origins (Cross-Origin-Resource-Policy), and lets itself be
    // framed all the same. What the browser thinks of a certificate, the simulator does not know.
    if (address.startsWith('https:')) return false;
    const answer = await fetch('page-server.json').catch(() => undefined);
    return answer !== undefined && ((await answer.json()) as { listens: boolean }).listens;
  }
}
