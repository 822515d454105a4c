// How the others are heard and seen here.

import { signal } from '@preact/signals';
import { Button, Choice, Fold, Row, Section, Slider, Toggle } from './controls';
import { DrawingChoice, fills, PictureChoices } from './pictureChoices';
import { cameraStream } from './roomAccess';
import { useClass, useClassroom } from './useClass';
import { useKept } from './useKept';

const streams = [
  [0, 'Full picture'],
  [1, 'Small picture'],
] as const;

export function PeoplePage() {
  const classroom = useClassroom();
  const { bridge } = classroom;
  const others = useClass(({ people }) =>
    [...people.values()].filter(({ own }) => !own).map(({ userId }) => userId),
  );
  const { silent, hidden } = useKept('everybody', () => ({ silent: signal(false), hidden: signal(false) }));
  return (
    <>
      <Section title="Everybody">
        <Toggle
          title="Silence all"
          value={silent}
          pick={(mute) => classroom.attempt(bridge.muteAllRemoteAudio({ mute }))}
        />
        <Toggle
          title="Hide all cameras"
          value={hidden}
          pick={(mute) => classroom.attempt(bridge.muteAllRemoteVideoStreams({ mute }))}
        />
        <Row>
          <Button title="Close all views" press={() => classroom.attempt(bridge.stopAllRemoteView())} />
          <Button title="Open all views" press={() => classroom.showEverybody()} />
        </Row>
      </Section>
      {others.length === 0 && <p class="hint">Nobody else is here yet.</p>}
      {others.map((userId) => (
        <PersonCard key={userId} userId={userId} />
      ))}
    </>
  );
}

function PersonCard({ userId }: { userId: string }) {
  const classroom = useClassroom();
  const { bridge } = classroom;
  const choices = useKept(`person ${userId}`, () => ({
    silent: signal(false),
    hidden: signal(false),
    volume: signal(classroom.people.get(userId)?.playVolume ?? 100),
    stream: signal<number>(0),
    picture: new DrawingChoice(),
    screen: signal<number>(0),
  }));
  return (
    <Fold title={userId} name={`person ${userId}`} data-person={userId}>
      <Toggle
        title="Silence"
        value={choices.silent}
        pick={(mute) => classroom.attempt(bridge.muteRemoteAudio({ userId, mute }))}
      />
      <Toggle
        title="Hide the camera"
        value={choices.hidden}
        pick={(mute) => classroom.attempt(bridge.muteRemoteVideoStream({ userId, mute }))}
      />
      <Slider
        title="Volume"
        value={choices.volume}
        pick={(volume) => classroom.attempt(bridge.setRemoteAudioVolume({ userId, volume }))}
      />
      <Choice
        title="Stream"
        options={streams}
        value={choices.stream}
        pick={(type) => classroom.attempt(bridge.setRemoteVideoStreamType({ userId, type }))}
      />
      <PictureChoices
        title="Picture"
        choice={choices.picture}
        draw={(drawing) =>
          classroom.attempt(bridge.setRemotePreviewParams({ userId, streamType: cameraStream, ...drawing }))
        }
      />
      <Choice
        title="Shared screen"
        options={fills}
        value={choices.screen}
        pick={(mode) => classroom.attempt(bridge.setRemoteSubStreamPreviewParams({ userId, mode }))}
      />
    </Fold>
  );
}
