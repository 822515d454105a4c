// How the others are heard and seen here.

import { h } from '../dom';
import type { Classroom } from './classroom';
import { button, choice, row, section, slider, toggle } from './controls';
import type { DrawerPage } from './drawerPage';
import { fills, pictureChoices, type Drawing } from './pictureChoices';
import { cameraStream, type Person } from './roomAccess';

const streams = [
  [0, 'Full picture'],
  [1, 'Small picture'],
] as const;

export function peoplePage(classroom: Classroom): DrawerPage {
  const list = h('div', { class: 'stack' });
  const empty = h('p', { class: 'hint' }, 'Nobody else is here yet.');
  const known = new Map<string, HTMLElement>();
  const all = section(
    'Everybody',
    toggle('Silence all', false, (mute) => classroom.attempt(classroom.bridge.muteAllRemoteAudio({ mute }))),
    toggle('Hide all cameras', false, (mute) =>
      classroom.attempt(classroom.bridge.muteAllRemoteVideoStreams({ mute })),
    ),
    row(
      button('Close all views', () => classroom.attempt(classroom.bridge.stopAllRemoteView())),
      button('Open them again', () => classroom.showEverybody()),
    ),
  );
  return {
    element: h('div', { class: 'stack' }, all, empty, list),
    update() {
      const others = [...classroom.people.values()].filter(({ own }) => !own);
      empty.hidden = others.length > 0;
      for (const [userId, card] of known) {
        if (classroom.people.has(userId)) continue;
        card.remove();
        known.delete(userId);
      }
      for (const person of others) {
        if (known.has(person.userId)) continue;
        const card = personCard(classroom, person);
        known.set(person.userId, card);
        list.append(card);
      }
    },
  };
}

function personCard(classroom: Classroom, { userId, playVolume }: Person): HTMLElement {
  const draw = (drawing: Drawing) =>
    classroom.attempt(classroom.bridge.setRemotePreviewParams({ userId, streamType: cameraStream, ...drawing }));
  return h(
    'details',
    { class: 'person', 'data-person': userId },
    h('summary', {}, userId),
    toggle('Silence', false, (mute) => classroom.attempt(classroom.bridge.muteRemoteAudio({ userId, mute }))),
    toggle('Hide the camera', false, (mute) =>
      classroom.attempt(classroom.bridge.muteRemoteVideoStream({ userId, mute })),
    ),
    slider('Volume', playVolume, (volume) =>
      classroom.attempt(classroom.bridge.setRemoteAudioVolume({ userId, volume })),
    ).element,
    choice('Stream', streams, 0, (type) =>
      classroom.attempt(classroom.bridge.setRemoteVideoStreamType({ userId, type })),
    ),
    ...pictureChoices('Picture', draw),
    choice('Shared screen', fills, 0, (mode) =>
      classroom.attempt(classroom.bridge.setRemoteSubStreamPreviewParams({ userId, mode })),
    ),
  );
}
