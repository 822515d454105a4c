// The people in the room, a tile each, and a wide tile for a shared screen.

import { h, icon, setData, type IconName } from '../dom';
import { hueOf } from '../hue';
import { qualityInWords } from '../words';
import type { Classroom } from './classroom';
import { cameraStream, screenStream, type Person } from './roomAccess';
import './tiles.css';

const smallestTile = 9.4; // in rem
const pictureRatio = 16 / 10;
const screenRatio = 16 / 9;

interface Tile {
  element: HTMLElement;
  update(): void;
}

export class Tiles {
  readonly element = h('section', { class: 'tiles', 'aria-label': 'Class', 'data-native-clip': '' });
  private readonly tiles = new Map<string, Tile>();

  constructor(private readonly classroom: Classroom) {
    new ResizeObserver(() => this.lay()).observe(this.element);
  }

  update(): void {
    const { people } = this.classroom;
    const wanted = new Map<string, () => Tile>();
    for (const person of people.values())
      if (person.screen) wanted.set(`${person.userId}/${screenStream}`, () => screenTile(person));
    for (const person of people.values())
      wanted.set(`${person.userId}/${cameraStream}`, () => personTile(person, this.classroom));

    for (const [name, tile] of this.tiles) {
      if (wanted.has(name)) continue;
      tile.element.remove();
      this.tiles.delete(name);
    }
    for (const [name, make] of wanted) {
      let tile = this.tiles.get(name);
      if (!tile) {
        tile = make();
        this.tiles.set(name, tile);
        if (name.endsWith(`/${screenStream}`)) this.element.prepend(tile.element);
        else this.element.append(tile.element);
      }
      tile.update();
    }
    setData(this.element, 'screen', [...people.values()].some(({ screen }) => screen) ? 'yes' : 'no');
    this.lay();
  }

  // Makes the tiles as wide as they can be and still all fit.
  private lay(): void {
    const count = this.classroom.people.size;
    const { columnGap, paddingTop } = getComputedStyle(this.element);
    const gap = parseFloat(columnGap) || 0;
    const width = this.element.clientWidth - 2 * parseFloat(paddingTop);
    const height = this.element.clientHeight - 2 * parseFloat(paddingTop);
    const footerHeight = this.element.querySelector<HTMLElement>('footer')?.offsetHeight ?? 0;
    let best = smallestTile * parseFloat(getComputedStyle(document.documentElement).fontSize);
    for (let columns = 1; columns <= count; ++columns) {
      const rows = Math.ceil(count / columns);
      const byWidth = (width - gap * (columns - 1)) / columns;
      const byHeight = ((height - gap * (rows - 1)) / rows - footerHeight) * pictureRatio;
      best = Math.max(best, Math.min(byWidth, byHeight));
    }
    const { style } = this.element;
    style.setProperty('--tile', `${Math.floor(Math.min(best, width))}px`);
    style.setProperty('--screen', `${Math.floor((height - footerHeight) * screenRatio)}px`);
    // What has to be scrolled can be reached by keyboard.
    if (this.element.scrollHeight > this.element.clientHeight) this.element.tabIndex = 0;
    else this.element.removeAttribute('tabindex');
  }
}

function personTile(first: Person, classroom: Classroom): Tile {
  const { userId, own } = first;
  const picture = h(
    'div',
    { class: 'picture' },
    h('span', { class: 'avatar', style: `--hue: ${hueOf(userId)}` }, initials(userId)),
  );
  const microphone = h('span', { class: 'state', role: 'img' });
  const camera = h('span', { class: 'state', role: 'img' });
  const level = h('span', { class: 'level-bar' });
  const meter = h(
    'span',
    { class: 'level', role: 'meter', 'aria-label': 'Volume', 'aria-valuemin': 0, 'aria-valuemax': 100 },
    level,
  );
  const quality = h('span', { class: 'quality', role: 'img' }, h('i'), h('i'), h('i'), h('i'));
  const name = own ? `${userId} (you)` : userId;
  const element = h(
    'article',
    { class: 'tile', 'data-user': userId, 'aria-label': name },
    picture,
    h('footer', {}, microphone, camera, h('span', { class: 'name' }, name), meter, quality),
  );
  const show = (state: HTMLElement, device: string, face: IconName, value: 'on' | 'off' | 'paused') => {
    if (state.dataset['state'] === value) return;
    setData(state, 'state', value);
    state.replaceChildren(icon(face));
    state.title = `${device} ${value}`;
    state.setAttribute('aria-label', state.title);
  };
  return {
    element,
    update() {
      const person = classroom.people.get(userId);
      if (!person) return;
      const { audio, video, paused } = person;
      show(microphone, 'Microphone', audio ? 'mic' : 'micOff', audio ? 'on' : 'off');
      show(
        camera,
        'Camera',
        video && !paused ? 'camera' : 'cameraOff',
        paused ? 'paused' : video ? 'on' : 'off',
      );
      setData(picture, 'nativeView', person.video ? `${userId}/${cameraStream}` : undefined);
      setData(element, 'speaking', person.volume > 10 ? 'yes' : 'no');
      level.style.width = `${person.volume}%`;
      meter.setAttribute('aria-valuenow', String(person.volume));
      setData(quality, 'quality', String(person.quality));
      const words = `Network ${qualityInWords(person.quality)}`;
      if (quality.title !== words) {
        quality.title = words;
        quality.setAttribute('aria-label', words);
      }
    },
  };
}

function screenTile({ userId }: Person): Tile {
  const element = h(
    'article',
    { class: 'tile screen', 'data-screen-of': userId, 'aria-label': `Screen of ${userId}` },
    h('div', { class: 'picture', 'data-native-view': `${userId}/${screenStream}` }),
    h('footer', {}, icon('screen'), h('span', { class: 'name' }, `${userId} shares a screen`)),
  );
  return { element, update() {} };
}

function initials(userId: string): string {
  const words = userId.split(/\s+/).filter(Boolean);
  return words
    .slice(0, 2)
    .map((word) => [...word][0] ?? '')
    .join('')
    .toUpperCase();
}
