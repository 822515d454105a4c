// The own camera, microphone and sound.

import { useEffect } from 'preact/hooks';
import { signal } from '@preact/signals';
import { Button, Choice, Row, Section, Slider, Toggle } from './controls';
import { DrawingChoice, PictureChoices, turns } from './pictureChoices';
import { useClass, useClassroom } from './useClass';
import { useKept } from './useKept';

// By height; all are 16 to 9.
const resolutions = [
  [180, '320 × 180'],
  [360, '640 × 360'],
  [720, '1280 × 720'],
] as const;
const qualities = [
  [1, 'Speech'],
  [2, 'Standard'],
  [3, 'Music'],
] as const;
const routes = [
  [0, 'Speaker'],
  [1, 'Earpiece'],
] as const;
const intervals = [
  [0, 'Never'],
  [200, 'Often'],
  [500, 'Twice a second'],
] as const;

export function DevicesPage() {
  return (
    <>
      <Section title="Camera">
        <CameraSettings />
      </Section>
      <Section title="Microphone and sound">
        <SoundSettings />
      </Section>
    </>
  );
}

function CameraSettings() {
  const classroom = useClassroom();
  const { bridge, media } = classroom;
  const runs = useClass((now) => now.media.camera.isRunning);
  const choices = useKept('camera', () => ({
    height: signal<number>(360),
    smallPicture: signal(false),
    preview: new DrawingChoice(),
    turnedForOthers: signal<number>(0),
    mirroredForOthers: signal(false),
  }));
  const { preview } = choices;

  const encode = (height: number) => {
    const width = (height / 9) * 16;
    return classroom.attempt(bridge.setVideoEncoderParam({ width, height, fps: 15, bitrate: 800 }));
  };
  const pauseImage = async () => {
    const imgUrl = new URL('camera-paused.png', location.href).href;
    if (await classroom.attempt(bridge.setVideoMuteImage({ imgUrl, fps: 5 })))
      classroom.notice('This picture is shown while your camera is paused.', 'good');
  };
  return (
    <>
      <Row>
        <Button title="Switch camera" disabled={!runs} press={() => media.switchCamera()} />
        <Button title="Turn off camera" disabled={!runs} press={() => media.camera.stop()} />
      </Row>
      <Choice title="Sent as" options={resolutions} value={choices.height} pick={encode} />
      <Toggle
        title="Send a small picture too"
        value={choices.smallPicture}
        pick={(enable) =>
          classroom.attempt(bridge.enableEncSmallVideoStream({
            enable,
            ...(enable ? { width: 160, height: 90, fps: 10, bitrate: 100 } : {}),
          }))
        }
      />
      <PictureChoices
        title="Own picture"
        choice={preview}
        draw={(drawing) => classroom.attempt(bridge.setLocalPreviewParams(drawing))}
      />
      <Choice
        title="Turned for others"
        options={turns}
        value={choices.turnedForOthers}
        pick={(encoderRotation) =>
          classroom.attempt(bridge.setLocalPreviewParams({ ...preview.drawing, encoderRotation }))
        }
      />
      <Toggle
        title="Mirrored for others"
        value={choices.mirroredForOthers}
        pick={(encoderMirror) =>
          classroom.attempt(bridge.setLocalPreviewParams({ ...preview.drawing, encoderMirror }))
        }
      />
      <Button title="Picture while paused" press={pauseImage} />
    </>
  );
}

function SoundSettings() {
  const classroom = useClassroom();
  const { bridge, media } = classroom;
  const runs = useClass((now) => now.media.microphone.isRunning);
  const choices = useKept('sound', () => ({
    quality: signal(media.audioQuality),
    capture: signal(100),
    playout: signal(100),
    route: signal<number>(0),
    interval: signal<number>(500),
  }));
  useEffect(() => {
    const read = async () => {
      const volumes = await classroom.attempt(bridge.getAudioVolume({ capture: true, playout: true }));
      if (volumes?.captureVolume !== undefined) choices.capture.value = volumes.captureVolume;
      if (volumes?.playoutVolume !== undefined) choices.playout.value = volumes.playoutVolume;
    };
    void read();
  }, []);

  const setQuality = (quality: number) => {
    media.audioQuality = quality;
    return media.microphone.state === 'off' ? undefined : media.microphone.start();
  };
  return (
    <>
      <Row>
        <Button title="Turn off microphone" disabled={!runs} press={() => media.microphone.stop()} />
      </Row>
      <Choice title="Quality" options={qualities} value={choices.quality} pick={setQuality} />
      <Slider
        title="Microphone volume"
        value={choices.capture}
        pick={(captureVolume) => classroom.attempt(bridge.setAudioVolume({ captureVolume }))}
      />
      <Slider
        title="Sound volume"
        value={choices.playout}
        pick={(playoutVolume) => classroom.attempt(bridge.setAudioVolume({ playoutVolume }))}
      />
      <Choice
        title="Heard from"
        options={routes}
        value={choices.route}
        pick={(route) => classroom.attempt(bridge.setAudioRoute({ route }))}
      />
      <Choice
        title="Show levels"
        options={intervals}
        value={choices.interval}
        pick={(interval) => classroom.attempt(bridge.enableAudioVolumeEvaluation({ interval }))}
      />
    </>
  );
}
