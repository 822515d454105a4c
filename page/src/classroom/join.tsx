// The screen before the room: who you are and where you want to go.

import { useLayoutEffect, useRef } from 'preact/hooks';
import { signal, type Signal } from '@preact/signals';
import { Icon } from '../icons';
import { roles } from '../roles';
import { keep, recallJson } from '../storage';
import type { Classroom, EnterForm } from './classroom';
import './controls.css';
import './join.css';
import { Toasts, type Notices } from './toasts';
import { useClass, useClassroom } from './useClass';

const defaultApplication = 20240001;

/** What is filled in again after a reload of this window. */
interface Kept {
  /** The query of the page's address; another one fills in the form anew. */
  query: string;
  name: string;
  room: string;
  role: number;
}
// Phones side by side share the window's storage; each has a frame with a name of its own.
const keptName = window.name ? `vemo.join.${window.name}` : 'vemo.join';

/**
 * What stands in the form. The address may say it: `?user=Ada&room=101&role=audience`, and which
 * application and signature: `&application=1400000001&signature=...`.
 */
export class JoinForm {
  readonly name: Signal<string>;
  readonly room: Signal<string>;
  readonly role: Signal<number>;
  readonly application: Signal<string>;
  readonly signature: Signal<string>;

  constructor(private readonly query: string) {
    const stored = (recallJson('sessionStorage', keptName) ?? {}) as Partial<Kept>;
    const kept = stored.query === query ? stored : {};
    const given = new URLSearchParams(query);
    this.application = signal(given.get('application') ?? String(defaultApplication));
    this.signature = signal(given.get('signature') ?? 'demo-signature');
    this.name = signal(kept.name ?? given.get('user') ?? '');
    this.room = signal(kept.room ?? given.get('room') ?? '101');
    this.role = signal(kept.role ?? (given.get('role') === 'audience' ? roles.audience : roles.stage));
  }

  keep(): void {
    const [name, room, role] = [this.name.value, this.room.value, this.role.value];
    const kept: Kept = { query: this.query, name, room, role };
    keep('sessionStorage', keptName, JSON.stringify(kept));
  }

  get filledIn(): EnterForm {
    const number = (text: string) => Math.trunc(Number(text)) || 0;
    return {
      name: this.name.value.trim(),
      roomId: number(this.room.value),
      role: this.role.value,
      sdkAppId: number(this.application.value),
      userSig: this.signature.value,
    };
  }
}

const enterWords: Partial<Record<Classroom['phase'], string>> = {
  entering: 'Entering …',
  connecting: 'Connecting …',
};

export function JoinScreen({ form, notices }: { form: JoinForm; notices: Notices }) {
  const classroom = useClassroom();
  const phase = useClass((now) => now.phase);
  const problem = useClass((now) => now.problem);
  const version = useClass((now) => now.version);
  const enter = useRef<HTMLButtonElement>(null);
  // A button that was disabled under the focus has lost it.
  const phaseBefore = useRef(phase);
  useLayoutEffect(() => {
    const enabledAgain = phaseBefore.current !== 'outside' && phase === 'outside';
    phaseBefore.current = phase;
    if (enabledAgain && document.activeElement === document.body && document.hasFocus()) enter.current?.focus();
  }, [phase]);

  const submit = (event: Event) => {
    event.preventDefault();
    form.keep();
    void classroom.enter(form.filledIn);
  };
  return (
    <main class="join">
      <form class="card" noValidate onChange={() => form.keep()} onSubmit={submit}>
        <img src="icon.svg" alt="" width={52} height={52} />
        <h1 tabIndex={-1}>Join the class</h1>
        <p class="lead">Pick a name and the room of your lesson.</p>
        <div class="problem" role="alert" hidden={!problem}>
          <Icon name="alert" />
          <div>
            <strong>{problem?.words}</strong>
            <span>{problem?.detail}</span>
          </div>
        </div>
        <fieldset disabled={phase !== 'outside'}>
          <div class="row">
            <Field
              id="name"
              title="Your name"
              value={form.name}
              autocomplete="off"
              maxLength={40}
              placeholder="e.g. Ada"
            />
            <Field id="room" title="Room" value={form.room} inputMode="numeric" />
          </div>
          <div class="choices" role="radiogroup" aria-label="Role">
            <RoleChoice form={form} role={roles.stage} title="On stage" text="Speak and be seen" />
            <RoleChoice form={form} role={roles.audience} title="Audience" text="Listen and watch" />
          </div>
          <details class="options">
            <summary>More options</summary>
            <div class="row">
              <Field id="application" title="Application" value={form.application} inputMode="numeric" />
              <Field id="signature" title="Signature" value={form.signature} />
            </div>
          </details>
          <button class="primary" type="submit" ref={enter}>
            {enterWords[phase] ?? 'Enter room'}
          </button>
        </fieldset>
      </form>
      <p class="version">{version && `Engine ${version}`}</p>
      <Toasts notices={notices} />
    </main>
  );
}

interface FieldProps {
  id: string;
  title: string;
  value: Signal<string>;
  autocomplete?: 'off';
  maxLength?: number;
  placeholder?: string;
  inputMode?: 'numeric';
}
function Field({ id, title, value, ...rest }: FieldProps) {
  return (
    <div class="field">
      <label for={id}>{title}</label>
      <input
        id={id}
        name={id}
        value={value}
        onInput={({ currentTarget }) => (value.value = currentTarget.value)}
        {...rest}
      />
    </div>
  );
}

function RoleChoice({ form, role, title, text }: { form: JoinForm; role: number; title: string; text: string }) {
  return (
    <label class="choice">
      <input
        type="radio"
        name="role"
        value={role}
        checked={form.role.value === role}
        onChange={() => (form.role.value = role)}
      />
      <span class="choice-body">
        <strong>{title}</strong>
        <span>{text}</span>
      </span>
    </label>
  );
}
