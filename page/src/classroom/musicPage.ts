// Background music: one piece at a time, played by the engine.

import type { Commands } from 'vemo-client';
import { h, iconButton, setText } from '../dom';
import { inWords, type Classroom } from './classroom';
import { choice, row, section, slider, toggle } from './controls';
import type { DrawerPage } from './drawerPage';
import './musicPage.css';

const audioId = 1;
const pieces = [
  ['music/morning-bell.mp3', 'Morning bell'],
  ['music/quiet-reading.mp3', 'Quiet reading'],
  ['music/clean-up-song.mp3', 'Clean-up song'],
  ['music/lost.mp3', 'A lost recording'],
] as const;
const repeats = [
  [0, 'Once'],
  [1, 'Twice'],
  [9, 'Ten times'],
] as const;

export function musicPage(classroom: Classroom): DrawerPage {
  let path: string = pieces[0][0];
  let loopCount = 0;
  let publish = true;
  let state: 'stopped' | 'playing' | 'paused' = 'stopped';
  let play = 0; // counts, so that late answers of an earlier piece change nothing

  const status = h('p', { class: 'hint', role: 'status' }, 'Nothing is playing.');
  const seek = slider('', 0, (position) => classroom.attempt(classroom.bridge.setMusicInfo({ audioId, position })), 1);
  seek.element.classList.add('seek');
  seek.input.setAttribute('aria-label', 'Position');
  seek.input.addEventListener('input', () => seek.show(clock(Number(seek.input.value))));
  seek.input.addEventListener('pointerdown', () => (dragging = true));
  seek.input.addEventListener('change', () => (dragging = false));
  let dragging = false;
  const start = iconButton('play', 'Play', () => (state === 'paused' ? resume() : begin()));
  const hold = iconButton('pause', 'Pause', () => pause());
  const end = iconButton('stop', 'Stop', () => stop());

  const become = (next: typeof state, text: string) => {
    state = next;
    setText(status, text);
    start.hidden = state === 'playing';
    hold.hidden = state !== 'playing';
    end.disabled = seek.input.disabled = state === 'stopped';
  };
  const title = () => pieces.find(([key]) => key === path)?.[1] ?? path;

  const begin = async () => {
    const mine = ++play;
    const music = { audioId, path, loopCount, publish, onStart: true, onProgress: true, onComplete: true };
    try {
      for await (const answer of classroom.bridge.playMusic(music)) {
        if (mine !== play) return;
        answered(answer);
      }
    } catch (error) {
      if (mine !== play) return;
      const { words, detail } = inWords(error);
      become('stopped', `${words} (${detail})`);
    }
  };
  const answered = ({ state, progressMs = 0, durationMs = 0 }: Commands['playMusic']['result']) => {
    if (state === 'onStart') become('playing', `Playing “${title()}”.`);
    if (state === 'onComplete') become('stopped', `“${title()}” has ended.`);
    if (state === 'onProgress' && !dragging) {
      seek.input.max = String(durationMs);
      seek.input.value = String(progressMs);
      seek.show(`${clock(progressMs)} of ${clock(durationMs)}`);
    }
  };
  const pause = async () => {
    if (await classroom.attempt(classroom.bridge.pauseMusic({ audioId }))) become('paused', `“${title()}” is paused.`);
  };
  const resume = async () => {
    if (await classroom.attempt(classroom.bridge.resumeMusic({ audioId }))) become('playing', `Playing “${title()}”.`);
  };
  const stop = async () => {
    ++play;
    if (await classroom.attempt(classroom.bridge.stopMusic({ audioId }))) become('stopped', 'Stopped.');
  };
  become('stopped', 'Nothing is playing.');

  return {
    element: h(
      'div',
      { class: 'stack' },
      choice('Piece', pieces, pieces[0][0], (picked) => (path = picked)),
      choice('Play it', repeats, 0, (picked) => (loopCount = picked)),
      toggle('The others hear it', publish, (on) => (publish = on)),
      h('div', { class: 'player' }, row(start, hold, end), seek.element, status),
      section(
        'Volume',
        slider('All music', 100, (volume) => classroom.attempt(classroom.bridge.setMusicInfo({ volume }))).element,
        slider('This piece, here', 100, (playoutVolume) =>
          classroom.attempt(classroom.bridge.setMusicInfo({ audioId, playoutVolume })),
        ).element,
        slider('This piece, for others', 100, (publishVolume) =>
          classroom.attempt(classroom.bridge.setMusicInfo({ audioId, publishVolume })),
        ).element,
      ),
    ),
    update() {},
    leave() {
      ++play;
      become('stopped', 'Nothing is playing.');
    },
  };
}

function clock(ms: number): string {
  const seconds = Math.floor(ms / 1000);
  return `${Math.floor(seconds / 60)}:${String(seconds % 60).padStart(2, '0')}`;
}
