// The room: who is here, and the controls.

import { h, icon, setData, setText, type IconName } from '../dom';
import { anchorRole, audienceRole, type Classroom } from './classroom';
import { Drawer } from './drawer';
import { Tiles } from './tiles';

const connectionWords = { good: 'Connected', lost: 'Connection lost', reconnecting: 'Reconnecting' };

export class RoomScreen {
  readonly element: HTMLElement;
  private readonly tiles: Tiles;
  private readonly drawer: Drawer;
  private readonly title = h('h1');
  private readonly count = h('span', { class: 'count' });
  private readonly connection = h('span', { class: 'pill', role: 'status' });
  private readonly microphone = control('Microphone', () => this.classroom.media.toggleMicrophone());
  private readonly camera = control('Camera', () => this.classroom.media.toggleCamera());
  private readonly screen = control('Share', () => this.drawer.toggle('share'));
  private readonly role = control('Role', () => this.switchRole());
  private readonly leave = control('Leave', () => this.classroom.leave());

  constructor(private readonly classroom: Classroom) {
    this.tiles = new Tiles(classroom);
    this.drawer = new Drawer(classroom);
    this.leave.show('leave', 'Leave', 'danger');
    this.element = h(
      'main',
      { class: 'room' },
      h(
        'header',
        { class: 'topbar' },
        h('img', { src: 'icon.svg', alt: '', width: 28, height: 28 }),
        h('div', { class: 'heading' }, this.title, this.count),
        this.connection,
      ),
      h('div', { class: 'stage' }, this.tiles.element, this.drawer.element),
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

    const { microphone, camera } = media;
    this.microphone.show(
      microphone === 'on' ? 'mic' : 'micOff',
      { off: 'Turn on', starting: 'Starting …', on: 'Mute', muted: 'Unmute' }[microphone],
      microphone === 'on' ? 'on' : microphone === 'muted' ? 'muted' : '',
    );
    this.camera.show(
      camera === 'on' ? 'camera' : 'cameraOff',
      { off: 'Camera', starting: 'Starting …', on: 'Pause', muted: 'Resume' }[camera],
      camera === 'on' ? 'on' : camera === 'muted' ? 'muted' : '',
    );
    this.screen.show('screen', share.state === 'off' ? 'Share' : 'Sharing', share.state === 'off' ? '' : 'on');
    this.role.show('hand', onStage ? 'Audience' : 'On stage', '');
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

interface Control {
  element: HTMLButtonElement;
  show(picture: IconName, caption: string, look: string): void;
  enable(enabled: boolean): void;
}

/** A round button with a caption, named for readers of the page. */
function control(name: string, press: () => unknown): Control {
  const caption = h('span', { class: 'caption' });
  const face = h('span', { class: 'face' });
  const element = h('button', { class: 'control', 'data-control': name, onclick: press }, face, caption);
  let drawn = '';
  return {
    element,
    show(picture, text, look) {
      if (drawn !== picture) face.replaceChildren(icon(picture));
      drawn = picture;
      setText(caption, text);
      setData(element, 'look', look);
      element.setAttribute('aria-label', `${name}: ${text}`);
    },
    enable(enabled) {
      element.disabled = !enabled;
    },
  };
}
