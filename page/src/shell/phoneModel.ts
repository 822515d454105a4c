// One phone of this window: the page in its frame, its connection with the simulator, and
// what is known of it.

import { batch, signal } from '@preact/signals';
import type { Places } from '../../client/src/frames.js';
import { refusal } from './access';
import { broadcastNotifications } from './frames';
import type { FromPhone, Picture, PhoneSettings, ToPhone } from './frames';
import { PhoneLink, type LinkState, type LinkWatcher } from './link';
import type { PageFrame, PageNotice } from './pageFrame';
import { PhoneMemory } from './phoneMemory';
import { SessionRecorder } from './session/sessionRecorder';
import { Conversation } from './timeline/conversation';
import { deviceStep } from './timeline/exports';
import { Timeline, type Remark, type Row } from './timeline/timeline';
import { TimelineView } from './timeline/timelineView';

type Frame<K extends FromPhone['kind']> = Extract<FromPhone, { kind: K }>;
const deviceNames = { camera: 'Camera', microphone: 'Microphone' } as const;

export interface DialogButton {
  title: string;
  press: () => void;
  /** What the press is in a scenario. */
  step?: object;
  look?: 'strong' | 'destructive';
}

/** A question of the phone's system; the button without a look refuses or cancels. */
export interface Dialog {
  id: number;
  kind: string;
  title: string;
  message: string;
  buttons: DialogButton[];
}

/** Takes what is on its way; calls `pass` for what goes on: at once or later, never or again. */
export type Filter = (text: string, pass: (text: string) => void) => void;
const passAll: Filter = (text, pass) => pass(text);

/**
 * What other parts of the shell may use: `send` and `reset` to do something to the phone;
 * the signals to show how it is; `timeline.add` to tell of something in its time line;
 * `conversation.lint` and `lintPrompt` to put words beside page messages and the system's
 * questions; `messageFilter` and `scriptFilter` to hold up, lose, double or change what passes between page and phone. The time line tells
 * of messages before they are filtered, and of scripts when they arrive.
 */
export class PhoneModel {
  readonly name: string;
  readonly timeline = new Timeline();
  readonly timelineView = new TimelineView(this.timeline);
  readonly conversation = new Conversation(this.timeline);
  readonly memory: PhoneMemory;
  readonly link: PhoneLink;
  readonly recorder: SessionRecorder;
  messageFilter: Filter = passAll;
  scriptFilter: Filter = passAll;
  lintPrompt: (media: 'camera' | 'microphone') => Remark[] = () => [];
  /** Why the last frame that could not be used was not. */
  readonly lastProblem = signal<Frame<'problem'> | undefined>(undefined);

  readonly state = signal<LinkState>('connecting');
  readonly settings = signal<PhoneSettings | undefined>(undefined);
  readonly device: ReturnType<typeof signal<'phone' | 'tablet'>>;
  readonly pictures = signal<readonly Picture[]>([]);
  /** The images that pictures name by number. */
  readonly images = new Map<number, Frame<'image'>>();
  /** What lies above the page, the uppermost last; of dialogs there is one at a time. */
  readonly overlays = signal<readonly (Dialog | 'settings')[]>([]);
  /** Counts what may have changed the pictures. */
  readonly busy = signal(0);
  /** Where the page wants the pictures. */
  readonly places = signal<Places>({ views: [], above: [] });
  /** What whoever looks at the phone should know of its page. */
  readonly notice = signal<PageNotice | undefined>(undefined);
  /** Its page; set while it is on the desk. */
  page: PageFrame | undefined;

  private readonly waitingDialogs: Dialog[] = [];
  private lastDialog = 0;
  /** Who waits for the recording of the last minutes. */
  private savers: ((text: string | undefined) => void)[] = [];

  /** `number` tells it from the other phones of this window. */
  constructor(
    readonly number: number,
    device: 'phone' | 'tablet',
  ) {
    this.name = `Phone ${number}`;
    this.device = signal(device);
    this.memory = new PhoneMemory(number === 1 ? 'vemo.phone' : `vemo.phone.${number}`);
    this.link = new PhoneLink(this.watcher(), this.memory);
    this.recorder = new SessionRecorder(this.fileName, (frame) => this.send(frame));
  }

  /** What the application in the phone is called. */
  get application(): string | undefined {
    return this.settings.value?.bundle['CFBundleName'];
  }

  /** What the files that are saved of it begin with. */
  get fileName(): string {
    return this.name.toLowerCase().replace(' ', '-');
  }

  /** Sends one frame; see PhoneLink. */
  send(frame: ToPhone): void {
    this.tellOf(frame);
    this.link.send(frame);
  }

  /** The recording of the last minutes: the text of a .vemorec file; nothing without a phone. */
  recording(): Promise<string | undefined> {
    return new Promise((resolve) => {
      if (this.state.peek() !== 'ready') return resolve(undefined);
      this.savers.push(resolve);
      this.send({ kind: 'save' });
    });
  }

  /** Makes the phone like new. */
  reset(): void {
    this.timeline.add({ kind: 'settings', title: 'The phone is made like new' });
    this.link.reset();
  }

  reload(): void {
    this.page?.reload();
  }

  /** The phone is taken off the desk. */
  remove(): void {
    this.link.detach();
    this.memory.forget();
  }

  /** Opens the application's page in the phone's settings. */
  showSettings(): void {
    if (this.settings.peek() && !this.overlays.peek().includes('settings'))
      this.overlays.value = [...this.overlays.peek(), 'settings'];
  }

  closeSettings(): void {
    this.overlays.value = this.overlays.peek().filter((overlay) => overlay !== 'settings');
  }

  /** Presses a button of the dialog in sight; the next one follows. */
  answer(dialog: Dialog, button: DialogButton): void {
    if (!this.overlays.peek().includes(dialog)) return;
    this.timeline.add({ kind: 'press', title: button.title, step: button.step });
    button.press();
    const next = this.waitingDialogs.shift();
    const others = this.overlays.peek().filter((overlay) => overlay !== dialog);
    this.overlays.value = next ? [...others, next] : others;
  }

  private watcher(): LinkWatcher {
    return {
      onState: (state, cutOff) => this.changeState(state, cutOff),
      onFrame: (frame) => this.take(frame),
      onMessage: (text) => {
        this.busy.value += 1;
        this.conversation.message(text);
      },
      filterMessage: (text, pass) => this.messageFilter(text, pass),
      filterScript: (script, pass) => this.scriptFilter(script, pass),
      onPlaces: (places) => {
        this.busy.value += 1;
        this.places.value = places;
      },
      onScriptError: (script, error) => this.problem(`${error} in ${script}`),
      onProblem: (text) => this.problem(text),
    };
  }

  private changeState(state: LinkState, cutOff?: string): void {
    this.state.value = state;
    if (state === 'ready') return this.recorder.phoneCame();
    this.recorder.phoneWent();
    for (const saver of this.savers.splice(0)) saver(undefined);
    this.waitingDialogs.length = 0;
    this.images.clear();
    batch(() => {
      this.overlays.value = [];
      this.pictures.value = [];
    });
    if (state === 'stopped') {
      const why = cutOff ?? 'The simulator has stopped.';
      this.conversation.end(why);
      this.problem(why);
      if (cutOff && !refusal.peek()) this.notice.value = { text: `${cutOff} It goes on when it is reloaded.`, hasPage: true };
    } else {
      this.conversation.end('The page is gone.');
      this.timeline.add({ kind: 'connection', title: 'A page connects.' });
    }
  }

  private take(frame: FromPhone): void {
    switch (frame.kind) {
      case 'script':
        if (frame.needLog) this.busy.value += 1;
        return this.conversation.script(frame.text, frame.needLog);
      case 'settings':
        return this.takeSettings(frame.settings);
      case 'prompt':
        return this.askForAccess(frame);
      case 'alert':
        return this.showAlert(frame);
      case 'openSettings':
        this.timeline.add({ kind: 'prompt', title: 'The settings open' });
        return this.showSettings();
      case 'broadcastPicker':
        return this.showBroadcastPicker();
      case 'pictures':
        return this.takePictures(frame.pictures);
      case 'image':
        return void this.images.set(frame.id, frame);
      case 'saved':
        return this.savers.shift()?.(frame.text);
      case 'recorded':
        return this.recorder.take(frame);
      case 'noted':
        return this.conversation.noted(frame);
      case 'problem':
        this.lastProblem.value = frame;
        if (frame.frame === 'record') this.recorder.refused(frame.text);
        return this.problem(frame.text);
    }
  }

  /** Something went wrong. */
  problem(text: string): void {
    this.timeline.add({ kind: 'problem', title: text, text, failed: true });
  }

  // They are told again and again, and mostly as they were.
  private takePictures(pictures: readonly Picture[]): void {
    if (JSON.stringify(pictures) !== JSON.stringify(this.pictures.peek())) this.pictures.value = pictures;
  }

  private takeSettings(settings: PhoneSettings): void {
    const before = (this.settings.peek() ?? {}) as Record<string, unknown>;
    const changes = Object.entries(settings).filter(
      ([key, value]) => JSON.stringify(before[key]) !== JSON.stringify(value),
    );
    this.settings.value = settings;
    if (changes.length === 0) return;
    const [key, value] = changes[0]!;
    this.timeline.add({
      kind: 'settings',
      title: changes.length === 1 ? `${key}: ${typeof value === 'string' ? value : JSON.stringify(value)}` : 'Settings',
      text: JSON.stringify(Object.fromEntries(changes)),
      step: deviceStep(Object.fromEntries(changes)),
    });
  }

  // What is done to the phone's network is told; the rest is told where it is done.
  private tellOf(frame: ToPhone): void {
    if (frame.kind === 'network') {
      const title =
        'drop' in frame
          ? frame.drop
            ? 'Cut off'
            : 'Restored'
          : `${frame.delay} ms, ${frame.upLoss} % lost up, ${frame.downLoss} % down`;
      this.timeline.add({ kind: 'network', title, text: JSON.stringify(frame) });
    }
    if (frame.kind === 'record') this.timeline.add({ kind: 'note', title: frame.on ? 'It is recorded' : 'It is not recorded any more' });
    if (frame.kind === 'broadcast')
      this.timeline.add({
        kind: 'press',
        title: `Screen broadcast: ${frame.event}`,
        step: { notify: broadcastNotifications[frame.event] },
      });
  }

  private askForAccess({ media, application, description }: Frame<'prompt'>): void {
    const answer = (granted: boolean) => ({
      press: () => this.send({ kind: 'answer', media, granted }),
      step: { access: granted },
    });
    const name = application || 'The application';
    const row = this.ask({
      kind: `prompt-${media}`,
      title: `“${name}” Would Like to Access the ${deviceNames[media]}`,
      message: description || `${name} uses the ${media} while you are in class.`,
      buttons: [
        { title: 'Don’t Allow', ...answer(false) },
        { title: 'Allow', ...answer(true), look: 'strong' },
      ],
    });
    this.timeline.remark(row, ...this.lintPrompt(media));
  }

  private showAlert({ id, title, message, buttons }: Frame<'alert'>): void {
    this.ask({
      kind: 'alert',
      title,
      message,
      buttons: buttons.map(({ title, destructive }, index) => ({
        title,
        press: () => this.send({ kind: 'press', alert: id, button: index }),
        step: { press: title },
        ...(destructive ? { look: 'destructive' } : {}),
      })),
    });
  }

  private showBroadcastPicker(): void {
    const asked = [...this.overlays.peek(), ...this.waitingDialogs];
    if (asked.some((one) => one !== 'settings' && one.kind === 'broadcast')) return; // one is enough
    this.ask({
      kind: 'broadcast',
      title: 'Screen Broadcast',
      message: `Everything on your screen will be sent by ${this.application ?? 'the application'}.`,
      buttons: [
        { title: 'Cancel', press: () => {} },
        {
          title: 'Start Broadcast',
          look: 'strong',
          press: () => this.send({ kind: 'broadcast', event: 'started' }),
        },
      ],
    });
  }

  private ask(asked: Omit<Dialog, 'id'>): Row {
    const dialog = { ...asked, id: ++this.lastDialog };
    const { title, message } = dialog;
    const row = this.timeline.add({ kind: 'prompt', title, text: JSON.stringify({ title, message }) });
    const isBusy = this.overlays.peek().some((overlay) => overlay !== 'settings');
    if (isBusy) this.waitingDialogs.push(dialog);
    else this.overlays.value = [...this.overlays.peek(), dialog];
    return row;
  }
}
