// The classroom page: the join screen, then the room.

import { Bridge } from 'vemo-client';
import { h, icon } from '../dom';
import '../base.css';
import { Classroom } from './classroom';
import { JoinScreen } from './join';
import { RoomScreen } from './room';

function start(): void {
  let drawn = false;
  const classroom = new Classroom(new Bridge(), {
    // Many changes come at once; they are drawn together.
    changed() {
      if (drawn) return;
      drawn = true;
      queueMicrotask(() => {
        drawn = false;
        draw();
      });
    },
    notice: (text, tone) => (isInRoom() ? room : join).toasts.show(text, tone),
  });

  const isInRoom = () => classroom.phase === 'inside' || classroom.phase === 'leaving';
  const join = new JoinScreen(classroom);
  const room = new RoomScreen(classroom);
  const retry = h('button', { class: 'primary', onclick: () => classroom.connect() });
  retry.append(icon('refresh'), 'Try again');
  const stopped = h(
    'main',
    { class: 'join' },
    h(
      'div',
      { class: 'card stopped', role: 'alert' },
      icon('plug'),
      h('h1', { tabIndex: -1 }, 'The simulator has stopped'),
      h('p', { class: 'lead' }, 'Start it again, then try to connect. You will have to enter the room anew.'),
      retry,
    ),
  );

  let wasInRoom = false;
  const draw = () => {
    const { phase } = classroom;
    const inRoom = isInRoom();
    if (wasInRoom && !inRoom) room.leaveRoom();
    wasInRoom = inRoom;
    const screen = phase === 'stopped' ? stopped : inRoom ? room.element : join.element;
    const shownBefore = document.body.firstElementChild;
    if (shownBefore !== screen) document.body.replaceChildren(screen);
    document.body.dataset['phase'] = phase;
    if (inRoom) room.update();
    else join.update();
    // Whoever works with the page goes on at the head of what it shows now.
    if (shownBefore && shownBefore !== screen && document.hasFocus())
      screen.querySelector('h1')?.focus();
  };
  draw();
}

try {
  start();
} catch (error) {
  document.body.append(
    h('main', { class: 'join' }, h('div', { class: 'card', role: 'alert' }, h('h1', {}, String(error)))),
  );
}
