// The classroom page: the join screen, then the room.

import { render } from 'preact';
import { useLayoutEffect, useRef } from 'preact/hooks';
import { signal } from '@preact/signals';
import { Bridge } from 'vemo-client';
import { Icon } from '../icons';
import '../base.css';
import { Classroom, type Phase } from './classroom';
import { JoinForm, JoinScreen } from './join';
import { RoomScreen } from './room';
import { Notices } from './toasts';
import { ClassProvider, useClass, useClassroom } from './useClass';

type ScreenName = 'join' | 'room' | 'stopped';

function screenIn(phase: Phase): ScreenName {
  if (phase === 'stopped') return 'stopped';
  return phase === 'inside' || phase === 'leaving' ? 'room' : 'join';
}

const notices = { join: new Notices(), room: new Notices() };
const form = new JoinForm(location.search);

function Page() {
  const phase = useClass((classroom) => classroom.phase);
  const screen = screenIn(phase);
  useLayoutEffect(() => {
    document.body.dataset['phase'] = phase;
  }, [phase]);
  // Whoever works with the page goes on at the head of what it shows now.
  const shown = useRef(screen);
  useLayoutEffect(() => {
    if (shown.current !== screen && document.hasFocus()) document.querySelector('h1')?.focus();
    shown.current = screen;
  }, [screen]);

  if (screen === 'stopped') return <StoppedScreen />;
  if (screen === 'room') return <RoomScreen notices={notices.room} />;
  return <JoinScreen form={form} notices={notices.join} />;
}

function StoppedScreen() {
  const classroom = useClassroom();
  return (
    <main class="join">
      <div class="card stopped" role="alert">
        <Icon name="plug" />
        <h1 tabIndex={-1}>The connection has ended</h1>
        <p class="lead">
          If the simulator has stopped, start it again; then try to connect. You will have to enter the room
          anew.
        </p>
        <button class="primary" onClick={() => classroom.connect()}>
          <Icon name="refresh" />
          Try again
        </button>
      </div>
    </main>
  );
}

const changes = signal(0);
let told = false;
const classroom = new Classroom(new Bridge(), {
  // Many changes come at once; they are drawn together.
  changed() {
    if (told) return;
    told = true;
    queueMicrotask(() => {
      told = false;
      ++changes.value;
    });
  },
  notice: (text, tone) => {
    notices[screenIn(classroom.phase) === 'room' ? 'room' : 'join'].show(text, tone);
  },
});
render(
  <ClassProvider value={{ classroom, changes }}>
    <Page />
  </ClassProvider>,
  document.body,
);
