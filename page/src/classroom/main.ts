// The classroom page: the join screen, then the room.

import { Bridge } from '../bridge';
import { h, icon } from '../dom';
import './classroom.css';
import { Classroom } from './classroom';
import { JoinScreen } from './join';
import { RoomScreen } from './room';
import { Toasts } from './toasts';

function start(): void {
  const toasts = new Toasts();
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
    notice: (text, tone) => toasts.show(text, tone),
  });

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
      h('h1', {}, 'The simulator has stopped'),
      h('p', { class: 'lead' }, 'Start it again, then try to connect. You will have to enter the room anew.'),
      retry,
    ),
  );

  let wasInRoom = false;
  const draw = () => {
    const { phase } = classroom;
    const inRoom = phase === 'inside' || phase === 'leaving';
    if (wasInRoom && !inRoom) room.leaveRoom();
    wasInRoom = inRoom;
    const screen = phase === 'stopped' ? stopped : inRoom ? room.element : join.element;
    if (screen.parentElement !== document.body) {
      document.body.replaceChildren(screen, toasts.element);
    }
    document.body.dataset['phase'] = phase;
    if (inRoom) room.update();
    else join.update();
  };
  classroom.connect();
}

try {
  start();
} catch (error) {
  document.body.append(
    h('main', { class: 'join' }, h('div', { class: 'card', role: 'alert' }, h('h1', {}, String(error)))),
  );
}
