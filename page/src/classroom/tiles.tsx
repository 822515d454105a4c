// The people in the room, a tile each, and a wide tile for a shared screen.

import { useLayoutEffect, useRef } from 'preact/hooks';
import { hueOf } from '../hue';
import { Icon, type IconName } from '../icons';
import { qualityInWords } from '../words';
import { cameraStream, screenStream } from './roomAccess';
import './tiles.css';
import { useClass } from './useClass';

const smallestTile = 8.5; // in rem
const pictureRatio = 16 / 10;
const screenRatio = 16 / 9;
const speakingVolume = 10;

export function Tiles() {
  const people = useClass((classroom) => [...classroom.people.keys()]);
  const screens = useClass((classroom) =>
    [...classroom.people.values()].filter(({ screen }) => screen).map(({ userId }) => userId),
  );
  const place = useRef<HTMLElement>(null);
  useLayoutEffect(() => {
    const element = place.current;
    if (!element) return;
    const layAgain = () => lay(element, people.length);
    layAgain();
    const observer = new ResizeObserver(layAgain);
    observer.observe(element);
    return () => observer.disconnect();
  }, [people, screens]);
  return (
    <section
      class="tiles"
      aria-label="Class"
      data-native-clip=""
      data-screen={screens.length > 0 ? 'yes' : 'no'}
      ref={place}
    >
      {screens.map((userId) => (
        <ScreenTile key={`${userId}/${screenStream}`} userId={userId} />
      ))}
      {people.map((userId) => (
        <PersonTile key={`${userId}/${cameraStream}`} userId={userId} />
      ))}
    </section>
  );
}

// Makes the tiles of `count` people as wide as they can be and still all fit; where they can't, they
// fill the width, and a row of them is not higher than what can be seen.
function lay(element: HTMLElement, count: number): void {
  const footer = element.querySelector<HTMLElement>('.tile:not(.screen) footer');
  const footerHeight = () => footer?.offsetHeight ?? 0;
  const before = footerHeight();
  layWith(before, element, count);
  // Narrower tiles have higher footers.
  if (footerHeight() > before) layWith(footerHeight(), element, count);
  // What has to be scrolled can be reached by keyboard.
  if (element.scrollHeight > element.clientHeight) element.tabIndex = 0;
  else element.removeAttribute('tabindex');
}

function layWith(footerHeight: number, element: HTMLElement, count: number): void {
  const { columnGap, paddingTop } = getComputedStyle(element);
  const gap = parseFloat(columnGap) || 0;
  const width = element.clientWidth - 2 * parseFloat(paddingTop);
  const height = element.clientHeight - 2 * parseFloat(paddingTop);
  const smallest = smallestTile * parseFloat(getComputedStyle(document.documentElement).fontSize);
  const most = Math.max(1, Math.min(count, Math.floor((width + gap) / (smallest + gap))));
  const filling = (width - gap * (most - 1)) / most;
  let best = Math.min(filling, Math.max(smallest, (height - footerHeight) * pictureRatio));
  for (let columns = 1; columns <= count; ++columns) {
    const rows = Math.ceil(count / columns);
    const byWidth = (width - gap * (columns - 1)) / columns;
    const byHeight = ((height - gap * (rows - 1)) / rows - footerHeight) * pictureRatio;
    best = Math.max(best, Math.min(byWidth, byHeight));
  }
  const { style } = element;
  style.setProperty('--tile', `${Math.floor(Math.min(best, width))}px`);
  style.setProperty('--screen', `${Math.floor((height - footerHeight) * screenRatio)}px`);
}

function PersonTile({ userId }: { userId: string }) {
  const person = useClass(({ people }) => ({ ...people.get(userId) }));
  const { own, audio = false, video = false, paused = false, volume = 0, quality = 0 } = person;
  const name = own ? `${userId} (you)` : userId;
  const microphone = audio ? 'on' : 'off';
  const camera = paused ? 'paused' : video ? 'on' : 'off';
  const network = `Network ${qualityInWords(quality)}`;
  return (
    <article
      class="tile"
      data-user={userId}
      data-speaking={volume > speakingVolume ? 'yes' : 'no'}
      aria-label={name}
    >
      <div class="picture" data-native-view={video ? `${userId}/${cameraStream}` : undefined}>
        <span class="avatar" style={`--hue: ${hueOf(userId)}`}>
          {initials(userId)}
        </span>
      </div>
      <footer>
        <Device name="Microphone" face={audio ? 'mic' : 'micOff'} state={microphone} />
        <Device name="Camera" face={camera === 'on' ? 'camera' : 'cameraOff'} state={camera} />
        <span class="name">{name}</span>
        <span
          class="level"
          role="meter"
          aria-label="Volume"
          aria-valuemin={0}
          aria-valuemax={100}
          aria-valuenow={volume}
        >
          <span class="level-bar" style={`--level: ${volume / 100}`} />
        </span>
        <span class="quality" role="img" data-quality={quality} title={network} aria-label={network}>
          <i />
          <i />
          <i />
          <i />
        </span>
      </footer>
    </article>
  );
}

function Device({ name, face, state }: { name: string; face: IconName; state: 'on' | 'off' | 'paused' }) {
  const words = `${name} ${state}`;
  return (
    <span class="state" role="img" data-state={state} title={words} aria-label={words}>
      <Icon name={face} />
    </span>
  );
}

function ScreenTile({ userId }: { userId: string }) {
  return (
    <article class="tile screen" data-screen-of={userId} aria-label={`Screen of ${userId}`}>
      <div class="picture" data-native-view={`${userId}/${screenStream}`} />
      <footer>
        <Icon name="screen" />
        <span class="name">{`${userId} shares a screen`}</span>
      </footer>
    </article>
  );
}

function initials(userId: string): string {
  const words = userId.split(/\s+/).filter(Boolean);
  return words
    .slice(0, 2)
    .map((word) => [...word][0] ?? '')
    .join('')
    .toUpperCase();
}
