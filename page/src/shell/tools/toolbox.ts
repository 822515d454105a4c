// The tools of one phone: they listen to what passes between it and its page, put in commands and
// events of their own, and break what they are told to break.

import { computed, effect, signal } from '@preact/signals';
import type { ToPhone } from '../frames';
import type { PhoneModel } from '../phoneModel';
import { Coverage } from './coverage';
import { readMessage, readScript, type Message } from './envelope';
import { entriesOf, withCbid, type Entries } from './form';
import { Linter, type Remark } from './lint';
import { commandNamed, eventNamed } from './protocol';
import { ReplyFilter, type ReplyFault, type ReplyFaults } from './replyFaults';

export interface Answer {
  text: string;
  code: number;
  /** Milliseconds after the command. */
  after: number;
}

/** A command that the developer has sent. */
export interface SentCommand {
  cbid: string;
  text: string;
  action: string;
  at: number;
  answers: readonly Answer[];
}

/** What is written in a form that may be left and come back to. */
export interface Draft {
  name: string;
  asJson: boolean;
  entries: Entries;
  json: string;
}

/** What a user permits, each by itself. */
export const allMedia = ['camera', 'microphone'] as const;
export type Media = (typeof allMedia)[number];
export interface DownloadError {
  code: number;
  text: string;
}

const keptSent = 50;
const faultInWords: Record<ReplyFault, string> = {
  late: 'is late',
  lost: 'is lost',
  doubled: 'comes twice',
  reordered: 'is overtaken by a later one',
};
export const refusalCodes: Record<Media, number> = {
  camera: refusalOf('startLocalPreview'),
  microphone: refusalOf('startLocalAudio'),
};

/** The code with which the command `name` fails when the user does not permit it. */
function refusalOf(name: string): number {
  const refusal = commandNamed(name)?.errors.find(
    ({ module, code, text }) => module === 'KOBU' && code !== null && text === null,
  );
  return refusal?.code ?? -1;
}

export class Toolbox {
  readonly coverage = new Coverage();
  readonly sent = signal<readonly SentCommand[]>([]);
  readonly commandDraft = signal<Draft>({ name: 'getSDKVersion', asJson: false, entries: {}, json: '' });
  readonly eventDraft = signal<Draft>({
    name: 'onError',
    asJson: false,
    entries: entriesOf(eventNamed('onError')?.arguments ?? null),
    json: '',
  });

  readonly replyFaults = signal<ReplyFaults>({});
  readonly downloadError = signal<DownloadError | undefined>(undefined);
  /** The command at which the page is loaded anew. */
  readonly reloadAt = signal<string | undefined>(undefined);
  /** The permissions that were taken away, with what they were. */
  private readonly taken = signal<Partial<Record<Media, string>>>({});
  /** The faults that are on, in words. */
  readonly faults = computed(() => this.faultsInWords());

  private linter = this.newLinter();
  private readonly replies = new ReplyFilter({
    after: (ms, run) => setTimeout(run, ms),
    random: Math.random,
    onFault: (fault, action) => this.note(`Fault: the answer to ${action} ${faultInWords[fault]}`),
  });
  // What another page, or window, can't come upon by chance.
  private readonly ownCbids = `tools-${crypto.randomUUID()}-`;
  private lastCall = 0;

  constructor(private readonly phone: PhoneModel) {
    phone.conversation.lint = ({ text }, say) => this.look(readMessage(text), say);
    phone.lintPrompt = (media) => this.linter.prompt(media);
    phone.messageFilter = (text, pass) => {
      pass(text);
      const reloadAt = this.reloadAt.peek();
      // A message without an action is no command that was chosen.
      if (reloadAt !== undefined && readMessage(text).action === reloadAt) this.reloadNow();
    };
    phone.scriptFilter = (script, pass) => this.scriptComes(script, pass);
    phone.memory.besides = () => {
      const error = this.downloadError.peek();
      return error ? [downloads(error)] : [];
    };
    let before = phone.settings.peek();
    effect(() => {
      const settings = phone.settings.value;
      for (const media of allMedia)
        if (before?.[media] === 'denied' && settings?.[media] !== 'denied') this.wasGivenBack(media);
      before = settings;
    });
    effect(() => {
      if (phone.state.value !== 'connecting') return;
      this.linter = this.newLinter();
      this.replies.begin();
    });
  }

  // ---- Commands and events of the developer

  /** Sends a page message as if the page had; its answers come here. */
  sendCommand(text: string): void {
    const cbid = this.ownCbids + String(++this.lastCall);
    const message = withCbid(text, cbid);
    const action = readMessage(message).action ?? 'not a message';
    const sent: SentCommand = { cbid, text: message, action, at: performance.now(), answers: [] };
    this.sent.value = [sent, ...this.sent.peek()].slice(0, keptSent);
    this.phone.conversation.message(message);
    this.phone.link.send({ kind: 'message', text: message });
  }

  /** Puts a message, such as one of the time line, into the form. */
  edit(text: string): void {
    const name = readMessage(text).action ?? this.commandDraft.peek().name;
    const json = withCbid(text, '');
    this.commandDraft.value = { name, asJson: true, entries: {}, json };
  }

  /** Puts an event with its arguments into the form. */
  editEvent(name: string, args: readonly unknown[]): void {
    const json = JSON.stringify(args, null, 2);
    this.eventDraft.value = { name, asJson: true, entries: {}, json };
  }

  /** Has the engine tell of an event. */
  fire(event: string, args: readonly unknown[], times = 1): void {
    this.phone.timeline.add({
      kind: 'note',
      title: `Fired: ${event}${times > 1 ? `, ${times} times` : ''}`,
      text: JSON.stringify(args),
      ...(times === 1 ? { step: { event, args } } : {}),
    });
    this.phone.send({ kind: 'fire', event, args, times });
  }

  // ---- Faults

  setReplyFault(fault: ReplyFault, amount: number | undefined): void {
    const { [fault]: _before, ...others } = this.replyFaults.peek();
    const faults = amount === undefined ? others : { ...others, [fault]: amount };
    this.replyFaults.value = faults;
    this.replies.set(faults);
    this.noteFault(replyFaultInWords[fault](amount ?? 0), amount !== undefined);
  }

  setDownloadError(error: DownloadError | undefined): void {
    this.downloadError.value = error;
    this.phone.send(downloads(error));
    this.noteFault(error ? downloadsFail(error) : 'downloads fail', error !== undefined);
  }

  isTaken(media: Media): boolean {
    return this.taken.value[media] !== undefined;
  }

  /** Takes a permission away, as a user does in the settings meanwhile, or gives it back. */
  take(media: Media, isTaken: boolean): void {
    const settings = this.phone.settings.peek();
    if (!settings) return;
    const status = isTaken ? 'denied' : (this.taken.peek()[media] ?? 'notDetermined');
    if (isTaken) {
      this.taken.value = { ...this.taken.peek(), [media]: settings[media] };
      this.noteFault(`the ${media} is refused`, true);
    } else {
      this.wasGivenBack(media);
    }
    this.phone.send({ kind: 'settings', settings: { [media]: status } });
    // The engine finds out about what runs.
    if (isTaken && this.linter.hasEngine)
      this.fire('onError', [refusalCodes[media], `the ${media} is not permitted any more`, {}]);
  }

  /** By whatever way. */
  private wasGivenBack(media: Media): void {
    if (this.taken.peek()[media] === undefined) return;
    this.taken.value = { ...this.taken.peek(), [media]: undefined };
    this.noteFault(`the ${media} is refused`, false);
  }

  /** Loads the page anew once it has sent the command `action`. */
  setReloadAt(action: string | undefined): void {
    this.reloadAt.value = action;
    this.noteFault('the page is loaded anew in mid-call', action !== undefined);
  }

  reloadNow(): void {
    this.reloadAt.value = undefined;
    this.note('The page is loaded anew in mid-call');
    this.phone.reload();
  }

  /** Switches all of them off. */
  endFaults(): void {
    const { late, lost, doubled, reordered } = this.replyFaults.peek();
    for (const [fault, amount] of Object.entries({ late, lost, doubled, reordered }))
      if (amount !== undefined) this.setReplyFault(fault as ReplyFault, undefined);
    if (this.downloadError.peek()) this.setDownloadError(undefined);
    for (const media of allMedia)
      if (this.isTaken(media)) this.take(media, false);
    if (this.reloadAt.peek() !== undefined) this.setReloadAt(undefined);
  }

  private faultsInWords(): string[] {
    const faults = Object.entries(this.replyFaults.value).map(([fault, amount]) =>
      replyFaultInWords[fault as ReplyFault](amount),
    );
    for (const media of allMedia)
      if (this.isTaken(media)) faults.push(`the ${media} is refused`);
    if (this.downloadError.value) faults.push(downloadsFail(this.downloadError.value));
    if (this.reloadAt.value !== undefined) faults.push(`reload at ${this.reloadAt.value}`);
    return faults;
  }

  // ---- What passes

  private look(message: Message, say: (remark: Remark) => void): Remark[] {
    const remarks = this.linter.message(message.text, (path, missing) => {
      if (isPath(path)) this.phone.link.askFor(path, (has) => has || say(missing));
    });
    if (message.cbid?.startsWith(this.ownCbids))
      return [{ tone: 'hint', text: 'Sent with the tools, not by the page.' }, ...remarks];
    this.coverage.message(message.text);
    return remarks;
  }

  private scriptComes(script: string, pass: (script: string) => void): void {
    this.linter.script(script);
    const call = readScript(script);
    if (call?.cbid?.startsWith(this.ownCbids)) {
      const text = script.slice(script.indexOf('(') + 1, script.lastIndexOf(')'));
      return this.answered(call.cbid, text, call.code ?? 0);
    }
    this.coverage.script(script);
    this.replies.filter(script, pass);
  }

  private answered(cbid: string, text: string, code: number): void {
    this.sent.value = this.sent.peek().map((one) =>
      one.cbid === cbid
        ? { ...one, answers: [...one.answers, { text, code, after: performance.now() - one.at }] }
        : one,
    );
  }

  private newLinter(): Linter {
    return new Linter((path) => hasFunction(this.phone.page?.frame.contentWindow, path));
  }

  private noteFault(fault: string, isOn: boolean): void {
    this.note(`Fault ${isOn ? 'on' : 'off'}: ${fault}`);
  }

  private note(title: string): void {
    this.phone.timeline.add({ kind: 'note', title });
  }
}

const replyFaultInWords: Record<ReplyFault, (amount: number) => string> = {
  late: (ms) => (ms > 0 ? `answers are ${ms} ms late` : 'answers are late'),
  lost: (percent) => (percent > 0 ? `${percent} % of answers are lost` : 'answers are lost'),
  doubled: (percent) => (percent > 0 ? `${percent} % of answers come twice` : 'answers come twice'),
  reordered: (percent) =>
    percent > 0 ? `${percent} % of answers are overtaken` : 'answers are overtaken',
};

const downloadsFail = ({ code }: DownloadError) => `downloads fail with ${code}`;

const downloads = (error: DownloadError | undefined): ToPhone => ({
  kind: 'downloads',
  error: error ?? null,
});

const isPath = (text: string) => /^[\w$]+(\.[\w$]+)*$/.test(text);

/** Nothing for the page of another origin, and for what is no plain path. */
function hasFunction(page: Window | null | undefined, path: string): boolean | undefined {
  if (!page || !isPath(path)) return undefined;
  try {
    let value: unknown = page;
    for (const name of path.split('.')) value = (value as Record<string, unknown> | undefined)?.[name];
    return typeof value === 'function';
  } catch {
    return undefined;
  }
}

const all = new WeakMap<PhoneModel, Toolbox>();

/** The tools of a phone, made when they are first asked for: before its page begins. */
export function toolboxOf(phone: PhoneModel): Toolbox {
  const tools = all.get(phone) ?? new Toolbox(phone);
  all.set(phone, tools);
  return tools;
}
