// Starts and controls sharing the own screen.

import { h, setText } from '../dom';
import type { Classroom } from './classroom';
import { button } from './controls';
import type { DrawerPage } from './drawerPage';

const stateWords = {
  off: 'You are not sharing anything.',
  starting: 'Starting …',
  on: 'The others see your screen.',
  paused: 'Sharing is paused.',
};

export function sharePage({ share }: Classroom): DrawerPage {
  const state = h('p', { class: 'hint' });
  const application = button('Share this application', () => share.shareApplication());
  const screen = button('Share the whole screen', () => share.shareScreen());
  const pause = button('Pause', () => (share.state === 'paused' ? share.resume() : share.pause()));
  const stop = button('Stop sharing', () => share.stop());
  return {
    element: h('div', { class: 'stack' }, state, application, screen, pause, stop),
    update() {
      const idle = share.state === 'off';
      setText(state, stateWords[share.state]);
      application.hidden = !idle || !share.canShareApplication;
      screen.hidden = !idle || !share.canShareScreen;
      pause.hidden = stop.hidden = idle || share.state === 'starting';
      setText(pause, share.state === 'paused' ? 'Resume' : 'Pause');
    },
  };
}
