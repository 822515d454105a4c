// The room: who is here, and the controls.

import { h, icon, setData, setText, type IconName } from '../dom';
import { anchorRole, audienceRole, type Classroom } from './classroom';
import { Drawer } from './drawer';
import type { DeviceState } from './localMedia';
import './room.css';
import { Tiles } from './tiles';
import { Toasts } from './toasts';

const connectionWords = { good: 'Connected', lost: 'Connection lost', reconnecting: 'Reconnecting' };

export class RoomScreen {
  readonly element: HTMLElement;
  readonly toasts = new Toasts();
  private readonly tiles: Tiles;
  private readonly drawer: Drawer;
  private readonly title = h('h1', { tabIndex: -1 });
  private readonly count = h('span', { class: 'count' });
  private readonly connection = h('span', { class: 'pill', role: 'status' });
  private readonly microphone = control('Microphone', () => this.classroom.media.toggleMicrophone());
  private readonly camera = control('Camera', () => this.classroom.media.toggleCamera());
  private readonly screen = control('Share', () => this.drawer.toggle('share'));
  private readonly role = control('Role', () => this.switchRole());
  private readonly leave = control('Leave', () => this.classroom.leave());

  constructor(private readonly classroom: Classroom) {
    this.element = h('main', { class: 'room' });
    this.tiles = new Tiles(classroom);
    this.drawer = new Drawer(classroom, (page) => {
      setData(this.element, 'drawer', page ? 'open' : 'closed');
      this.screen.element.setAttribute('aria-expanded', String(page === 'share'));
    });
    this.leave.show('leave', 'Leave', 'Leave the room', 'danger');
    this.element.append(
      h(
        'header',
        { class: 'topbar' },
        h('img', { src: 'icon.svg', alt: '', width: 28, height: 28 }),
        this.title,
        this.count,
        this.connection,
        this.toasts.element,
      ),
      this.tiles.element,
      this.drawer.element,
      h(
        'nav',
        { class: 'controls', 'aria-label': 'Controls' },
        this.microphone.element,
        this.camera.element,
        this.screen.element,
        this.role.element,
        ...this.drawer.buttons,
        this.leave.element,
      ),
    );
  }

  update(): void {
    const { phase, roomId, role, people, connection, media, share } = this.classroom;
    const onStage = role === anchorRole;
    setText(this.title, `Room ${roomId}`);
    setText(this.count, `${people.size} ${people.size === 1 ? 'person' : 'people'}`);
    setText(this.connection, connectionWords[connection]);
    setData(this.connection, 'connection', connection);

    this.microphone.show(
      media.microphone === 'on' ? 'mic' : 'micOff',
      ...microphoneWords[media.microphone],
      deviceLook(media.microphone),
    );
    this.camera.show(
      media.camera === 'on' ? 'camera' : 'cameraOff',
      ...cameraWords[media.camera],
      deviceLook(media.camera),
    );
    if (share.state === 'off') this.screen.show('screen', 'Share', 'Share the screen', '');
    else this.screen.show('screen', 'Sharing', 'Sharing the screen', 'on');
    if (onStage) this.role.show('hand', 'Step down', 'Step down from the stage', '');
    else this.role.show('hand', 'Go on stage', 'Go on stage', '');
    for (const device of [this.microphone, this.camera, this.screen]) device.enable(onStage);
    this.leave.enable(phase === 'inside');
    this.tiles.update();
    this.drawer.update();
  }

  /** The room has been left. */
  leaveRoom(): void {
    this.drawer.leave();
  }

  private switchRole(): Promise<void> {
    const { role } = this.classroom;
    return this.classroom.switchRole(role === anchorRole ? audienceRole : anchorRole);
  }
}

// What a press of the control does: its caption, and the same in full.
const microphoneWords: Record<DeviceState, [string, string]> = {
  off: ['Microphone', 'Turn on the microphone'],
  starting: ['Starting …', 'Starting … the microphone'],
  on: ['Mute', 'Mute the microphone'],
  muted: ['Unmute', 'Unmute the microphone'],
};
const cameraWords: Record<DeviceState, [string, string]> = {
  off: ['Camera', 'Turn on the camera'],
  starting: ['Starting …', 'Starting … the camera'],
  on: ['Pause', 'Pause the camera'],
  muted: ['Resume', 'Resume the camera'],
};

function deviceLook(state: DeviceState): string {
  return state === 'on' || state === 'muted' ? state : '';
}

interface Control {
  element: HTMLButtonElement;
  /** `name` is what the button is called for readers of the page; it holds the caption. */
  show(picture: IconName, caption: string, name: string, look: string): void;
  enable(enabled: boolean): void;
}

/** A round button with a caption. */
function control(key: string, press: () => unknown): Control {
  const caption = h('span', { class: 'caption' });
  const face = h('span', { class: 'face' });
  const element = h('button', { class: 'control', 'data-control': key, onclick: press }, face, caption);
  let drawn = '';
  return {
    element,
    show(picture, text, name, look) {
      if (drawn !== picture) face.replaceChildren(icon(picture));
      drawn = picture;
      setText(caption, text);
      setData(element, 'look', look);
      element.setAttribute('aria-label', name);
      element.title = name;
    },
    enable(enabled) {
      element.disabled = !enabled;
    },
  };
}
