// Saved sessions: the last minutes of a phone are saved, and a file is opened and played.

import { useSignal } from '@preact/signals';
import { useRef } from 'preact/hooks';
import type { PhoneModel } from '../phoneModel';
import { saveFile } from '../saveFile';
import { RowList } from '../timeline/rowList';
import type { Workbench } from '../workbench';
import { Playback } from './playback';
import { Session, SessionError } from './session';
import '../tools/tools.css';
import './session.css';

export function SessionPage({ phone, workbench }: { phone: PhoneModel; workbench: Workbench }) {
  const opened = workbench.playback;
  const problem = useSignal<string | undefined>(undefined);
  const isDropping = useSignal(false);
  const chooser = useRef<HTMLInputElement>(null);
  const open = async (name: string, file: Blob) => {
    try {
      const session = Session.read(name, await file.text());
      opened.peek()?.rewind();
      opened.value = new Playback(session);
      problem.value = undefined;
    } catch (error) {
      problem.value = error instanceof SessionError ? error.message : `${name} can’t be read.`;
    }
  };
  return (
    <div
      class="session-page"
      data-dropping={isDropping}
      onDragOver={(event) => {
        event.preventDefault();
        isDropping.value = true;
      }}
      onDragLeave={() => (isDropping.value = false)}
      onDrop={(event) => {
        event.preventDefault();
        isDropping.value = false;
        const file = event.dataTransfer?.files[0];
        if (file) void open(file.name, file);
      }}
    >
      <div class="session-tools">
        <button type="button" class="small" onClick={() => chooser.current!.click()}>
          Open a session…
        </button>
        <input
          ref={chooser}
          type="file"
          hidden
          accept=".vemorec,.jsonl"
          onChange={({ currentTarget }) => {
            const file = currentTarget.files?.[0];
            if (file) void open(file.name, file);
            currentTarget.value = '';
          }}
        />
        <SaveButton phone={phone} />
      </div>
      <Recording phone={phone} open={open} />
      {problem.value !== undefined && (
        <p class="session-problem" role="alert">
          {problem}
        </p>
      )}
      {opened.value ? (
        <Player key={opened.value.session} playback={opened.value} close={() => (opened.value = undefined)} />
      ) : (
        <div class="session-about">
          <p>
            “Save the last minutes” keeps what went into this phone’s router and what came out, up to ten
            minutes, as a recording. “Record” does so for longer, until it is switched off or the page goes.
          </p>
          <p>
            Open a recording (.vemorec) or a scenario (.jsonl), or drop it here, to play it step by step and see
            where the router does other than it did.
          </p>
        </div>
      )}
    </div>
  );
}

function SaveButton({ phone }: { phone: PhoneModel }) {
  const said = useSignal('');
  const save = async () => {
    const text = await phone.recording();
    if (text === undefined) {
      said.value = 'Nothing was saved: there is no phone.';
      return;
    }
    const name = `${phone.fileName}.vemorec`;
    saveFile(name, text);
    said.value = `Saved ${name}.`;
  };
  return (
    <>
      <button type="button" class="small" onClick={() => void save()}>
        Save the last minutes
      </button>
      <span class="said" role="status">
        {said}
      </span>
    </>
  );
}

/** The switch, and what was recorded. */
function Recording(props: { phone: PhoneModel; open: (name: string, file: Blob) => Promise<void> }) {
  const { phone, open } = props;
  const { isOn, problem, sessions } = phone.recorder;
  return (
    <section class="session-recording" aria-label="Recording">
      <label class="tool-switch" data-on={isOn}>
        <input
          type="checkbox"
          role="switch"
          checked={isOn}
          disabled={phone.state.value !== 'ready' && !isOn.value}
          onChange={({ currentTarget }) => phone.recorder.turn(currentTarget.checked)}
        />
        <span>Record</span>
      </label>
      <p class="session-problem" role="status">
        {problem}
      </p>
      {sessions.value.length > 0 && (
        <>
          <ul aria-label="Recorded sessions">
            {sessions.value.map((session) => {
              const { name, ended, file } = session;
              return (
                <li key={name}>
                  <p>
                    <strong>{name}</strong>{' '}
                    <span class="tool-note">
                      until {new Date(ended).toTimeString().slice(0, 8)}, {Math.ceil(file.size / 1000)} kB
                    </span>
                  </p>
                  <div class="tool-actions">
                    <button type="button" class="small" aria-label={`Save ${name}`} onClick={() => saveFile(name, file)}>
                      Save
                    </button>
                    <button type="button" class="small" aria-label={`Open ${name}`} onClick={() => void open(name, file)}>
                      Open
                    </button>
                    <button
                      type="button"
                      class="small"
                      aria-label={`Forget ${name}`}
                      onClick={() => phone.recorder.forget(session)}
                    >
                      Forget
                    </button>
                  </div>
                </li>
              );
            })}
          </ul>
          <p class="tool-note">What is not saved is gone when this window is reloaded.</p>
        </>
      )}
    </section>
  );
}

/** Says at a phone that it is recorded. */
export function RecordingBadge({ phone, show }: { phone: PhoneModel; show: () => void }) {
  if (!phone.recorder.isOn.value) return null;
  return (
    <button type="button" class="badge" onClick={show}>
      Recording
    </button>
  );
}

function Player({ playback, close }: { playback: Playback; close: () => void }) {
  const { session, at, isPlaying, isBusy, differing, unplayed } = playback;
  const steps = session.steps.length;
  return (
    <>
      <div class="session-player">
        <h2>{session.name}</h2>
        {session.missing && <p class="session-problem">{session.missing}</p>}
        <div class="session-tools" role="group" aria-label="Play the session">
          <button
            type="button"
            class="small"
            disabled={isBusy.value || playback.isAtEnd}
            onClick={() => void playback.step()}
          >
            Step
          </button>
          <button
            type="button"
            class="small"
            disabled={playback.isAtEnd}
            onClick={() => (isPlaying.value ? playback.pause() : void playback.play())}
          >
            {isPlaying.value ? 'Pause' : 'Play'}
          </button>
          <button type="button" class="small" onClick={() => playback.rewind()}>
            Back to the start
          </button>
          <button
            type="button"
            class="small"
            onClick={() => {
              playback.rewind();
              close();
            }}
          >
            Close the session
          </button>
        </div>
        <p class="session-state" role="status">
          {at.value === 0
            ? `${inWords(steps, 'step')}. They are played on a phone of their own. It enters the rooms of the session, and whoever is there under the same name is removed.`
            : `${at} of ${inWords(steps, 'step')} played: ${
                differing.value ? `${differing} did other than before` : 'all as before'
              }${unplayed.value ? `, ${unplayed} could not be played` : ''}.`}
        </p>
      </div>
      <RowList shown={session} />
    </>
  );
}

const inWords = (count: number, what: string) => `${count.toLocaleString('en')} ${what}${count === 1 ? '' : 's'}`;
