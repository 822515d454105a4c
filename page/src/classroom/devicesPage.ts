// The own camera, microphone and sound.

import { h } from '../dom';
import type { Classroom } from './classroom';
import { button, choice, row, section, slider, toggle } from './controls';
import type { DrawerPage } from './drawerPage';
import { pictureChoices, turns, type Drawing } from './pictureChoices';

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

export function devicesPage(classroom: Classroom): DrawerPage {
  const { media } = classroom;
  const preview: Drawing = { mode: 0, mirror: 0, rotation: 0 };
  const draw = (change: Partial<Drawing>) =>
    classroom.attempt(classroom.bridge.setLocalPreviewParams(Object.assign(preview, change)));
  const encode = (height: number) => {
    const width = (height / 9) * 16;
    return classroom.attempt(classroom.bridge.setVideoEncoderParam({ width, height, fps: 15, bitrate: 800 }));
  };
  const pauseImage = async () => {
    const imgUrl = new URL('camera-paused.png', location.href).href;
    if (await classroom.attempt(classroom.bridge.setVideoMuteImage({ imgUrl, fps: 5 })))
      classroom.notice('This picture is shown while your camera is paused.', 'good');
  };

  const stopCamera = button('Turn off camera', () => media.stopCamera());
  const flip = button('Switch camera', () => media.switchCamera());
  const stopMicrophone = button('Turn off microphone', () => media.stopMicrophone());
  const capture = slider('Microphone volume', 100, (captureVolume) =>
    classroom.attempt(classroom.bridge.setAudioVolume({ captureVolume })),
  );
  const playout = slider('Sound volume', 100, (playoutVolume) =>
    classroom.attempt(classroom.bridge.setAudioVolume({ playoutVolume })),
  );
  const readVolumes = async () => {
    const volumes = await classroom.attempt(classroom.bridge.getAudioVolume({ capture: true, playout: true }));
    if (!volumes) return;
    for (const [made, volume] of [
      [capture, volumes.captureVolume],
      [playout, volumes.playoutVolume],
    ] as const) {
      made.input.value = String(volume);
      made.show(String(volume));
    }
  };
  void readVolumes();

  return {
    element: h(
      'div',
      { class: 'stack' },
      section(
        'Camera',
        row(flip, stopCamera),
        choice('Sent as', resolutions, 360, encode),
        toggle('Send a small picture too', false, (enable) =>
          classroom.attempt(classroom.bridge.enableEncSmallVideoStream({
            enable,
            ...(enable ? { width: 160, height: 90, fps: 10, bitrate: 100 } : {}),
          })),
        ),
        ...pictureChoices('Own picture', draw),
        choice('Turned for others', turns, 0, (encoderRotation) =>
          classroom.attempt(classroom.bridge.setLocalPreviewParams({ ...preview, encoderRotation })),
        ),
        toggle('Mirrored for others', false, (encoderMirror) =>
          classroom.attempt(classroom.bridge.setLocalPreviewParams({ ...preview, encoderMirror })),
        ),
        button('Picture while paused', pauseImage),
      ),
      section(
        'Microphone and sound',
        row(stopMicrophone),
        choice('Quality', qualities, media.audioQuality, (quality) => {
          media.audioQuality = quality;
          return media.microphone === 'off' ? undefined : media.startMicrophone();
        }),
        capture.element,
        playout.element,
        choice('Heard from', routes, 0, (route) => classroom.attempt(classroom.bridge.setAudioRoute({ route }))),
        choice('Show levels', intervals, 500, (interval) =>
          classroom.attempt(classroom.bridge.enableAudioVolumeEvaluation({ interval })),
        ),
      ),
    ),
    update() {
      flip.disabled = stopCamera.disabled = media.camera === 'off' || media.camera === 'starting';
      stopMicrophone.disabled = media.microphone === 'off' || media.microphone === 'starting';
    },
  };
}
