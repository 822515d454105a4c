// The room: who is here, and the controls.

import { useState } from 'preact/hooks';
import { Icon, type IconName } from '../icons';
import { roles } from '../roles';
import { Drawer, pageFaces, pageTitles, useDrawer, type DrawerState, type PageName } from './drawer';
import type { DeviceState } from './localMedia';
import './room.css';
import { Tiles } from './tiles';
import { Toasts, type Notices } from './toasts';
import { useClass, useClassroom } from './useClass';
import { KeptProvider, type KeptState } from './useKept';

export function RoomScreen({ notices }: { notices: Notices }) {
  const [kept] = useState<KeptState>(() => new Map());
  const drawer = useDrawer();
  return (
    <KeptProvider value={kept}>
      <main class="room" data-drawer={drawer.open ? 'open' : 'closed'}>
        <header class="topbar">
          <img src="icon.svg" alt="" width={28} height={28} />
          <Title />
          <Count />
          <Connection />
          <Toasts notices={notices} />
        </header>
        <Tiles />
        {drawer.open && <Drawer page={drawer.open} close={drawer.close} />}
        <Controls drawer={drawer} />
      </main>
    </KeptProvider>
  );
}

function Title() {
  return <h1 tabIndex={-1}>Room {useClass(({ roomId }) => roomId)}</h1>;
}

function Count() {
  const count = useClass(({ people }) => people.size);
  return <span class="count">{`${count} ${count === 1 ? 'person' : 'people'}`}</span>;
}

const connectionWords = { good: 'Connected', lost: 'Connection lost', reconnecting: 'Reconnecting' };

function Connection() {
  const connection = useClass((classroom) => classroom.connection);
  return (
    <span class="pill" role="status" data-connection={connection}>
      {connectionWords[connection]}
    </span>
  );
}

function Controls({ drawer }: { drawer: DrawerState }) {
  return (
    <nav class="controls" aria-label="Controls">
      <MediaControls drawer={drawer} />
      <RoleControl />
      {(Object.keys(pageFaces) as (keyof typeof pageFaces)[]).map((page) => (
        <PageControl key={page} page={page} drawer={drawer} />
      ))}
      <LeaveControl />
    </nav>
  );
}

// What a press of the control does: its caption, and the same in full where that is more.
type Words = readonly [caption: string, name?: string];
const microphoneWords: Record<DeviceState, Words> = {
  off: ['Microphone', 'Turn on the microphone'],
  starting: ['Starting …', 'Starting … the microphone'],
  on: ['Mute', 'Mute the microphone'],
  muted: ['Unmute', 'Unmute the microphone'],
};
const cameraWords: Record<DeviceState, Words> = {
  off: ['Camera', 'Turn on the camera'],
  starting: ['Starting …', 'Starting … the camera'],
  on: ['Pause', 'Pause the camera'],
  muted: ['Resume', 'Resume the camera'],
};

function deviceLook(state: DeviceState): string {
  return state === 'on' || state === 'muted' ? state : '';
}

function MediaControls({ drawer }: { drawer: DrawerState }) {
  const { media } = useClassroom();
  const microphone = useClass((classroom) => classroom.media.microphone.state);
  const camera = useClass((classroom) => classroom.media.camera.state);
  const sharing = useClass(({ share }) => share.state !== 'off');
  const disabled = useClass(({ role }) => role !== roles.stage);
  return (
    <>
      <Control
        data-control="Microphone"
        face={microphone === 'on' ? 'mic' : 'micOff'}
        words={microphoneWords[microphone]}
        look={deviceLook(microphone)}
        disabled={disabled}
        press={() => media.microphone.toggle()}
      />
      <Control
        data-control="Camera"
        face={camera === 'on' ? 'camera' : 'cameraOff'}
        words={cameraWords[camera]}
        look={deviceLook(camera)}
        disabled={disabled}
        press={() => media.camera.toggle()}
      />
      <Control
        data-control="Share"
        face="screen"
        words={sharing ? ['Sharing', 'Sharing the screen'] : ['Share', 'Share the screen']}
        look={sharing ? 'on' : ''}
        disabled={disabled}
        aria-expanded={drawer.open === 'share'}
        press={() => drawer.toggle('share')}
      />
    </>
  );
}

function RoleControl() {
  const classroom = useClassroom();
  const onStage = useClass(({ role }) => role === roles.stage);
  return (
    <Control
      data-control="Role"
      face="hand"
      words={[onStage ? 'Go to the audience' : 'Go on stage']}
      press={() => classroom.switchRole(onStage ? roles.audience : roles.stage)}
    />
  );
}

function PageControl({ page, drawer }: { page: keyof typeof pageFaces; drawer: DrawerState }) {
  const isOpen = drawer.open === page;
  return (
    <Control
      data-page={page}
      face={pageFaces[page]}
      words={[pageTitles[page]]}
      look={isOpen ? 'open' : ''}
      aria-expanded={isOpen}
      press={() => drawer.toggle(page)}
    />
  );
}

function LeaveControl() {
  const classroom = useClassroom();
  const leaving = useClass(({ phase }) => phase !== 'inside');
  return (
    <Control
      data-control="Leave"
      face="leave"
      words={['Leave', 'Leave the room']}
      look="danger"
      disabled={leaving}
      press={() => classroom.leave()}
    />
  );
}

interface ControlProps {
  face: IconName;
  words: Words;
  press: () => unknown;
  look?: string;
  disabled?: boolean;
  'data-control'?: string;
  'data-page'?: PageName;
  'aria-expanded'?: boolean;
}

/** A round button with a caption. */
function Control({ face, words: [caption, name = caption], press, look = '', ...attributes }: ControlProps) {
  const label = { title: name, 'aria-label': name };
  return (
    <button type="button" class="control" data-look={look} onClick={press} {...label} {...attributes}>
      <span class="face">
        <Icon name={face} />
      </span>
      <span class="caption">{caption}</span>
    </button>
  );
}
