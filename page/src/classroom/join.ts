// The screen before the room: who you are and where you want to go.

import { h, icon, setText } from '../dom';
import { anchorRole, audienceRole, type Classroom } from './classroom';
import './controls.css';
import './join.css';
import { Toasts } from './toasts';

const defaultApplication = 20240001;

/** What is filled in again after a reload of this window: not with another address. */
interface Kept {
  address: string;
  name: string;
  room: string;
  role: number;
}
const keptName = 'vemo.join';

/** What was filled in before, or what the address says: ?user=Ada&room=101&role=audience */
function keptForm(): Partial<Kept> {
  const kept = JSON.parse(sessionStorage.getItem(keptName) ?? '{}') as Partial<Kept>;
  if (kept.address === location.search) return kept;
  const given = new URLSearchParams(location.search);
  const name = given.get('user');
  const room = given.get('room');
  return {
    ...(name === null ? {} : { name }),
    ...(room === null ? {} : { room }),
    role: given.get('role') === 'audience' ? audienceRole : anchorRole,
  };
}

export class JoinScreen {
  readonly element: HTMLElement;
  readonly toasts = new Toasts();
  private readonly name = h('input', {
    id: 'name',
    name: 'name',
    autocomplete: 'off',
    maxLength: 40,
    placeholder: 'For example Ada',
  });
  private readonly roomId = h('input', { id: 'room', name: 'room', inputMode: 'numeric' });
  private readonly application = h('input', {
    id: 'application',
    inputMode: 'numeric',
    value: String(defaultApplication),
  });
  private readonly signature = h('input', { id: 'signature', value: 'demo-signature' });
  private readonly button = h('button', { class: 'primary', type: 'submit' });
  private readonly problem = h('div', { class: 'problem', role: 'alert' });
  private readonly words = h('strong');
  private readonly detail = h('span');
  private readonly version = h('p', { class: 'version' });
  private readonly fields: HTMLFieldSetElement;

  constructor(private readonly classroom: Classroom) {
    const kept = keptForm();
    this.name.value = kept.name ?? '';
    this.roomId.value = kept.room ?? '101';
    const role = (value: number, title: string, text: string, checked: boolean) =>
      h(
        'label',
        { class: 'choice' },
        h('input', { type: 'radio', name: 'role', value: String(value), checked }),
        h('span', { class: 'choice-body' }, h('strong', {}, title), h('span', {}, text)),
      );
    const field = (title: string, input: HTMLInputElement) =>
      h('div', { class: 'field' }, h('label', { for: input.id }, title), input);

    const banner = icon('alert');
    this.problem.append(banner, h('div', {}, this.words, this.detail));
    this.fields = h(
      'fieldset',
      {},
      h('div', { class: 'row' }, field('Your name', this.name), field('Room', this.roomId)),
      h(
        'div',
        { class: 'choices', role: 'radiogroup', 'aria-label': 'Role' },
        role(anchorRole, 'On stage', 'Speak and be seen', kept.role !== audienceRole),
        role(audienceRole, 'Audience', 'Listen and watch', kept.role === audienceRole),
      ),
      h(
        'details',
        { class: 'options' },
        h('summary', {}, 'More options'),
        h(
          'div',
          { class: 'row' },
          field('Application', this.application),
          field('Signature', this.signature),
        ),
      ),
      this.button,
    );
    this.element = h(
      'main',
      { class: 'join' },
      h(
        'form',
        {
          class: 'card',
          noValidate: true,
          onchange: () => this.keep(),
          onsubmit: (event: Event) => {
            event.preventDefault();
            this.submit();
          },
        },
        h('img', { src: 'icon.svg', alt: '', width: 52, height: 52 }),
        h('h1', { tabIndex: -1 }, 'Join the class'),
        h('p', { class: 'lead' }, 'Pick a name and the room of your lesson.'),
        this.problem,
        this.fields,
      ),
      this.version,
      this.toasts.element,
    );
  }

  update(): void {
    const { phase, problem, version } = this.classroom;
    const focusLost = this.fields.disabled && document.activeElement === document.body;
    this.fields.disabled = phase !== 'outside';
    setText(this.button, phase === 'entering' ? 'Entering …' : phase === 'connecting' ? 'Connecting …' : 'Enter room');
    if (focusLost && document.hasFocus()) this.button.focus();
    this.problem.hidden = !problem;
    setText(this.words, problem?.words ?? '');
    setText(this.detail, problem?.detail ? `The router says: ${problem.detail}` : '');
    setText(this.version, version ? `Engine ${version}` : '');
  }

  private get role(): number {
    const checked = this.element.querySelector<HTMLInputElement>('input[name=role]:checked');
    return Number(checked?.value ?? anchorRole);
  }

  private keep(): void {
    const kept: Kept = {
      address: location.search,
      name: this.name.value,
      room: this.roomId.value,
      role: this.role,
    };
    sessionStorage.setItem(keptName, JSON.stringify(kept));
  }

  private submit(): void {
    this.keep();
    const number = (input: HTMLInputElement) => Math.trunc(Number(input.value)) || 0;
    void this.classroom.enter({
      name: this.name.value.trim(),
      roomId: number(this.roomId),
      role: this.role,
      sdkAppId: number(this.application),
      userSig: this.signature.value,
    });
  }
}
