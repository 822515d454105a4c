// The screen before the room: who you are and where you want to go.

import { h, icon, setText } from '../dom';
import { anchorRole, audienceRole, type Classroom } from './classroom';

const defaultApplication = 20240001;

export class JoinScreen {
  readonly element: HTMLElement;
  private readonly name = h('input', {
    id: 'name',
    name: 'name',
    autocomplete: 'off',
    maxLength: 40,
    placeholder: 'For example Ada',
  });
  private readonly roomId = h('input', { id: 'room', name: 'room', inputMode: 'numeric', value: '101' });
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
        role(anchorRole, 'On stage', 'Speak and be seen', true),
        role(audienceRole, 'Audience', 'Listen and watch', false),
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
          onsubmit: (event: Event) => {
            event.preventDefault();
            this.submit();
          },
        },
        h('img', { src: 'icon.svg', alt: '', width: 52, height: 52 }),
        h('h1', {}, 'Join the class'),
        h('p', { class: 'lead' }, 'Pick a name and the room of your lesson.'),
        this.problem,
        this.fields,
      ),
      this.version,
    );
  }

  update(): void {
    const { phase, problem, version } = this.classroom;
    this.fields.disabled = phase !== 'outside';
    setText(this.button, phase === 'entering' ? 'Entering …' : phase === 'connecting' ? 'Connecting …' : 'Enter room');
    this.problem.hidden = !problem;
    setText(this.words, problem?.words ?? '');
    setText(this.detail, problem?.detail ? `The router says: ${problem.detail}` : '');
    setText(this.version, version ? `Engine ${version}` : '');
  }

  private submit(): void {
    const role = this.element.querySelector<HTMLInputElement>('input[name=role]:checked');
    const number = (input: HTMLInputElement) => Math.trunc(Number(input.value)) || 0;
    void this.classroom.enter({
      name: this.name.value.trim(),
      roomId: number(this.roomId),
      role: Number(role?.value ?? anchorRole),
      sdkAppId: number(this.application),
      userSig: this.signature.value,
    });
  }
}
