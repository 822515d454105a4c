// The native views of the phone, drawn above the page: each over the element of the page
// that names its user and view type (data-native-view="USER/TYPE"), except where the page puts
// something above the views (data-native-above). The page's client tells where they lie.

import { effect } from '@preact/signals';
import type { Box, Places } from '../../client/src/frames.js';
import { hueOf } from '../hue';
import type { Picture } from './frames';
import './nativeViews.css';
import type { PhoneModel } from './phoneModel';

// The simulator is asked what its views show: soon after something has happened, and seldom.
const soonMs = 100;
const seldomMs = 3000;
/** How often a picture that moves is another one. */
const tickMs = 10_000;

interface Shown {
  picture: Picture;
  canvas: HTMLCanvasElement;
  /** When the picture stopped moving; absent while it moves. */
  stoodStillAt?: number;
  /** What was painted last, in words that tell it from all else. */
  painted?: string;
}

/**
 * A view is painted when something about it has changed, and at each tick while its stream runs:
 * what a simulated camera sees is a person at rest, and a clock. Painting more often costs a
 * processor that rests much, and shows nothing more. Nothing is painted while nobody can see it.
 */
export class NativeViews {
  private readonly shown = new Map<string, Shown>();
  private readonly images = new Map<number, HTMLCanvasElement>();
  private readonly stopShowing: () => void;
  private readonly stopAsking: () => void;
  private asking = 0;
  private askAt = Infinity;
  private waiting = 0;
  private drawing = 0;

  /** Draws into `element` what `phone` shows above its page, until it is ended. */
  constructor(
    private readonly element: HTMLElement,
    private readonly phone: PhoneModel,
  ) {
    this.stopShowing = effect(() => {
      this.show(phone.pictures.value);
      phone.places.value;
      this.drawSoon();
    });
    this.stopAsking = effect(() => {
      phone.busy.value;
      this.askIn(soonMs);
    });
  }

  end(): void {
    clearTimeout(this.asking);
    clearTimeout(this.waiting);
    cancelAnimationFrame(this.drawing);
    this.stopShowing();
    this.stopAsking();
  }

  // Things may happen one after another all the time: the first decides.
  private askIn(ms: number): void {
    const at = performance.now() + ms;
    if (this.askAt <= at) return;
    this.askAt = at;
    clearTimeout(this.asking);
    this.asking = window.setTimeout(() => {
      const isIdle = this.shown.size === 0 && this.phone.places.peek().views.length === 0;
      if (!isIdle && !document.hidden) this.phone.send({ kind: 'pictures' });
      this.askAt = Infinity;
      this.askIn(seldomMs);
    }, ms);
  }

  private drawSoon(): void {
    clearTimeout(this.waiting);
    cancelAnimationFrame(this.drawing);
    this.drawing = requestAnimationFrame((time) => this.draw(time));
  }

  // A mute image is made when it is first shown.
  private imageOf(id: number): HTMLCanvasElement | undefined {
    const sent = this.phone.images.get(id);
    if (this.images.has(id) || !sent) return this.images.get(id);
    const { width, height, rgba } = sent;
    const canvas = Object.assign(document.createElement('canvas'), { width, height });
    const pixels = Uint8ClampedArray.from(rgba.match(/../g) ?? [], (byte) => parseInt(byte, 16));
    canvas.getContext('2d')?.putImageData(new ImageData(pixels, width, height), 0, 0);
    this.images.set(id, canvas);
    return canvas;
  }

  // Shows exactly these pictures.
  private show(pictures: readonly Picture[]): void {
    const used = new Set(pictures.map(({ muteImage }) => muteImage));
    for (const id of this.images.keys()) if (!used.has(id)) this.images.delete(id);
    const named = new Map(pictures.map((picture) => [`${picture.userId}/${picture.viewType}`, picture]));
    for (const [name, { canvas }] of this.shown) {
      if (named.has(name)) continue;
      canvas.remove();
      this.shown.delete(name);
    }
    for (const [name, picture] of named) {
      const known = this.shown.get(name);
      if (known) {
        known.picture = picture;
        continue;
      }
      const canvas = document.createElement('canvas');
      canvas.className = 'native-view';
      canvas.dataset['view'] = name;
      this.element.append(canvas);
      this.shown.set(name, { picture, canvas });
    }
  }

  // Draws what is new, and again when the next frame of a stream is due.
  private draw(time: number): void {
    const { views, above } = this.phone.places.peek();
    let next = Infinity;
    for (const [name, shown] of this.shown) {
      const { picture, canvas } = shown;
      const place = views.find((view) => view.name === name);
      if (!place || place.box[2] < 2 || place.box[3] < 2) {
        canvas.style.display = 'none';
        delete shown.painted;
        continue;
      }
      const image = this.imageOf(picture.muteImage);
      const moves = picture.fps > 0 && !image;
      if (moves) delete shown.stoodStillAt;
      else shown.stoodStillAt ??= time;
      const tick = Math.floor((shown.stoodStillAt ?? time) / tickMs);
      const second = (tick * tickMs) / 1000;
      if (moves) next = (tick + 1) * tickMs;
      const painted = JSON.stringify([second, picture, place, above, devicePixelRatio, Boolean(image)]);
      if (painted === shown.painted) continue;
      shown.painted = painted;
      lay(canvas, place);
      paint(canvas, picture, image, second);
      for (const { box, radius } of above) cutOut(canvas, place.box, box, radius);
      canvas.dataset['kind'] = picture.muteImage ? 'muteImage' : 'live';
    }
    if (next < Infinity) this.waiting = window.setTimeout(() => this.drawSoon(), next - time);
  }
}

// Lays the view over its place, cut off where the place is scrolled out of sight.
function lay(canvas: HTMLCanvasElement, { box, radius, clip }: Places['views'][number]): void {
  const [left, top, across, down] = box;
  const style = canvas.style;
  style.display = 'block';
  style.transform = `translate(${left}px, ${top}px)`;
  style.width = `${across}px`;
  style.height = `${down}px`;
  style.borderRadius = radius;
  const cut = clip
    ? [
        clip[1] - top,
        left + across - clip[0] - clip[2],
        top + down - clip[1] - clip[3],
        clip[0] - left,
      ]
    : [];
  style.clipPath = cut.some((edge) => edge > 0)
    ? `inset(${cut.map((edge) => `${Math.max(0, edge)}px`).join(' ')})`
    : '';
  const scale = Math.min(devicePixelRatio, 2);
  const width = Math.round(across * scale);
  const height = Math.round(down * scale);
  if (canvas.width !== width) canvas.width = width;
  if (canvas.height !== height) canvas.height = height;
}

// Leaves the view in `box` open where something of the page lies above it.
function cutOut(canvas: HTMLCanvasElement, box: Box, above: Box, corner: number): void {
  const context = canvas.getContext('2d');
  if (!context) return;
  const [left, top, width, height] = above;
  context.save();
  context.setTransform(canvas.width / box[2], 0, 0, canvas.height / box[3], 0, 0);
  context.globalCompositeOperation = 'destination-out';
  context.beginPath();
  context.roundRect(left - box[0], top - box[1], width, height, Math.min(corner, height / 2));
  context.fill();
  context.restore();
}

// Turned, mirrored and fitted as the sender and the viewer have set it.
function paint(
  canvas: HTMLCanvasElement,
  picture: Picture,
  image: HTMLCanvasElement | undefined,
  second: number,
): void {
  const context = canvas.getContext('2d');
  if (!context) return;
  const { width, height } = canvas;
  context.save();
  context.fillStyle = '#0b0e14';
  context.fillRect(0, 0, width, height);

  const across = Math.max(picture.width, 16);
  const down = Math.max(picture.height, 16);
  const turns = (((picture.rotation + picture.drawing.rotation) % 4) + 4) % 4;
  const [shownAcross, shownDown] = turns % 2 ? [down, across] : [across, down];
  const byWidth = width / shownAcross;
  const byHeight = height / shownDown;
  const scale = picture.drawing.fillMode === 1 ? Math.min(byWidth, byHeight) : Math.max(byWidth, byHeight);

  context.translate(width / 2, height / 2);
  if (!image && isMirrored(picture)) context.scale(-1, 1);
  context.rotate((turns * Math.PI) / 2);
  context.scale(scale, scale);
  context.translate(-across / 2, -down / 2);
  context.beginPath();
  context.rect(0, 0, across, down);
  context.clip();
  if (image) context.drawImage(image, 0, 0, across, down);
  else if (picture.viewType === 2) paintScreen(context, picture, across, down, second);
  else paintPerson(context, picture, across, down, second);
  if (!image) paintLabel(context, picture, across, down, second);
  context.restore();
}

// Automatic mirroring shows the own front camera as a mirror does.
function isMirrored({ own, mirror, front, drawing }: Picture): boolean {
  const byViewer = drawing.mirrorType === 1 || (drawing.mirrorType === 0 && own && front);
  return mirror !== byViewer;
}

function paintPerson(
  context: CanvasRenderingContext2D,
  { userId }: Picture,
  across: number,
  down: number,
  second: number,
): void {
  const hue = hueOf(userId);
  const sky = context.createLinearGradient(0, 0, across, down);
  sky.addColorStop(0, `hsl(${hue} 42% 34%)`);
  sky.addColorStop(1, `hsl(${(hue + 40) % 360} 46% 20%)`);
  context.fillStyle = sky;
  context.fillRect(0, 0, across, down);

  const unit = Math.min(across, down);
  context.fillStyle = `hsl(${hue} 60% 60% / 0.14)`;
  for (let ring = 0; ring < 4; ++ring) {
    const at = ((hue / 360 + ring / 4) % 1) * across * 1.4 - across * 0.2;
    context.beginPath();
    context.arc(at, down * (0.25 + 0.17 * ring), unit * (0.16 + 0.05 * ring), 0, 2 * Math.PI);
    context.fill();
  }

  // Head and shoulders, turning a little.
  const sway = Math.sin(second * 0.4 + hue) * unit * 0.008;
  const nod = Math.sin(second * 0.7 + hue) * unit * 0.004;
  const middle = across / 2 + sway;
  context.fillStyle = `hsl(${(hue + 200) % 360} 38% 52%)`;
  context.beginPath();
  context.ellipse(across / 2, down * 1.05, unit * 0.36, unit * 0.36, 0, 0, 2 * Math.PI);
  context.fill();
  context.fillStyle = `hsl(${22 + (hue % 14)} ${38 + (hue % 20)}% ${48 + ((hue * 7) % 34)}%)`;
  context.beginPath();
  context.ellipse(middle, down * 0.47 + nod, unit * 0.155, unit * 0.195, 0, 0, 2 * Math.PI);
  context.fill();
  context.fillStyle = `hsl(${18 + ((hue * 3) % 22)} 30% ${14 + ((hue * 5) % 18)}%)`;
  context.beginPath();
  context.ellipse(middle, down * 0.36 + nod, unit * 0.165, unit * 0.115, 0, Math.PI, 2 * Math.PI);
  context.fill();
  const blink = (second / 5 + hue) % 3 === 0 ? 0.2 : 1;
  context.fillStyle = '#23252f';
  for (const side of [-1, 1]) {
    context.beginPath();
    context.ellipse(
      middle + side * unit * 0.055,
      down * 0.46 + nod,
      unit * 0.014,
      unit * 0.02 * blink,
      0,
      0,
      2 * Math.PI,
    );
    context.fill();
  }
  context.strokeStyle = '#23252f';
  context.lineWidth = unit * 0.01;
  context.lineCap = 'round';
  context.beginPath();
  context.arc(middle, down * 0.52 + nod, unit * 0.05, 0.25 * Math.PI, 0.75 * Math.PI);
  context.stroke();
}

function paintScreen(
  context: CanvasRenderingContext2D,
  { userId }: Picture,
  across: number,
  down: number,
  second: number,
): void {
  const hue = hueOf(userId);
  context.fillStyle = '#f6f7fb';
  context.fillRect(0, 0, across, down);
  context.fillStyle = `hsl(${hue} 55% 52%)`;
  context.fillRect(0, 0, across, down * 0.1);
  const lines = 7;
  const written = (second * 3) % (lines * 8);
  for (let line = 0; line < lines; ++line) {
    const full = across * (0.3 + 0.42 * (((line * 37) % 10) / 10));
    const part = Math.min(1, Math.max(0, (written - line * 6) / 6));
    context.fillStyle = '#ccd2e0';
    context.fillRect(across * 0.08, down * (0.2 + line * 0.1), full * part, down * 0.035);
  }
  for (let bar = 0; bar < 5; ++bar) {
    const tall = down * (0.15 + 0.2 * (1 + Math.sin(second + bar * 1.4)));
    context.fillStyle = `hsl(${(hue + bar * 22) % 360} 60% 60%)`;
    context.fillRect(across * (0.66 + bar * 0.052), down * 0.88 - tall, across * 0.036, tall);
  }
}

// A part of the picture itself: it turns and mirrors with it, which makes both visible.
function paintLabel(
  context: CanvasRenderingContext2D,
  picture: Picture,
  across: number,
  down: number,
  second: number,
): void {
  const unit = Math.min(across, down) * (picture.viewType === 2 ? 0.6 : 1);
  const kind = picture.viewType === 2 ? 'screen' : picture.front ? 'front' : 'back';
  context.font = `500 ${unit * 0.055}px system-ui, sans-serif`;
  context.textAlign = 'center';
  context.textBaseline = 'alphabetic';
  context.fillStyle = picture.viewType === 2 ? '#6b7285' : 'rgb(255 255 255 / 0.75)';
  context.fillText(
    `${kind} ${picture.width}×${picture.height} · ${picture.fps} fps · ${clock(second)}`,
    across / 2,
    down - unit * 0.05,
  );
}

function clock(second: number): string {
  const digits = String(second % 60).padStart(2, '0');
  return `${Math.floor(second / 60)}:${digits}`;
}
