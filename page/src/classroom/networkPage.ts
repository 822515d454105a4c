// The network: speed test, statistics, and the controls for developers.

import type { JsonObject } from '../bridge';
import { h, setText } from '../dom';
import { qualityInWords } from '../words';
import { records, type Classroom } from './classroom';
import { button, choice, row, section, toggle } from './controls';
import type { DrawerPage } from './drawerPage';
import './networkPage.css';

const preferences = [
  [1, 'Smooth'],
  [2, 'Sharp'],
] as const;
const streamNames = ['camera', 'camera, small', 'screen'];

export function networkPage(classroom: Classroom): DrawerPage {
  const statistics = h('div', { class: 'statistics' });
  const streams = h('p', { class: 'hint' });
  const readStreams = async () => {
    const value = await classroom.attempt('getKOBUStats');
    const infos = records(value?.['RtcInfos']);
    const words = infos.map(
      ({ UserId, Resolution, StreamType }) =>
        `${String(UserId)}: ${String(StreamType)} ${String(Resolution)}`,
    );
    setText(streams, words.join(' · ') || 'No streams since the last look.');
  };
  return {
    element: h(
      'div',
      { class: 'stack' },
      speedTest(classroom),
      section(
        'When the network is poor',
        choice('Prefer', preferences, 1, (preference) =>
          classroom.attempt('setNetworkQosParam', { preference, controlMode: 0 }),
        ),
      ),
      section('Statistics', statistics, row(button('Streams now', readStreams)), streams),
      developer(classroom),
    ),
    update() {
      draw(statistics, classroom.statistics);
    },
  };
}

function speedTest(classroom: Classroom): HTMLElement {
  const bar = h('progress', { max: 1, value: 0 });
  const list = h('ul', { class: 'results' });
  const status = h('p', { class: 'hint', role: 'status' }, 'How good is the way to the servers?');
  let test = 0;
  const begin = () => {
    const mine = ++test;
    list.replaceChildren();
    bar.value = 0;
    setText(status, 'Measuring …');
    classroom.bridge.follow(
      'startSpeedTest',
      { sdkAppId: classroom.sdkAppId, userId: classroom.userId, userSig: classroom.userSig },
      ({ error, retval }) => {
        if (mine !== test) return false;
        if (!retval) {
          setText(status, `The test failed: ${error?.errmsg ?? ''}`);
          return false;
        }
        bar.max = Number(retval['totalCount']);
        bar.value = Number(retval['completedCount']);
        const result = records([retval['result']])[0] ?? {};
        list.append(
          h(
            'li',
            {},
            h('strong', {}, String(result['ip'])),
            ` ${qualityInWords(Number(result['quality']))}, ${Number(result['rtt'])} ms, ` +
              `lost ${percent(result['upLostRate'])} up, ${percent(result['downLostRate'])} down`,
          ),
        );
        const done = error?.errmsg === 'done';
        if (done) setText(status, 'Done.');
        return !done;
      },
    );
  };
  const end = async () => {
    ++test;
    if (await classroom.attempt('stopSpeedTest')) setText(status, 'Stopped.');
  };
  return section(
    'Speed test',
    row(button('Measure', begin), button('Stop', end)),
    bar,
    status,
    list,
  );
}

function percent(rate: unknown): string {
  return `${Math.round(Number(rate) * 100)} %`;
}

function draw(place: HTMLElement, statistics: JsonObject | undefined): void {
  if (!statistics) {
    setText(place, 'They come every two seconds.');
    return;
  }
  const line = (name: string, value: string) =>
    h('div', { class: 'figure' }, h('span', {}, name), h('b', {}, value));
  const kilobytes = (bytes: unknown) => `${Math.round(Number(bytes) / 1000)} kB`;
  const stream = (who: string, entry: JsonObject) => {
    const video = Number(entry['videoBitrate']);
    const size = `${String(entry['width'])}×${String(entry['height'])}, ${String(entry['frameRate'])} fps`;
    return line(
      `${who}, ${streamNames[Number(entry['streamType'])] ?? 'stream'}`,
      `${video ? `${size}, ${video} kbit/s` : 'no video'}, sound ${String(entry['audioBitrate'])} kbit/s`,
    );
  };
  place.replaceChildren(
    line('Delay', `${String(statistics['rtt'])} ms`),
    line('Lost', `${String(statistics['upLoss'])} % up, ${String(statistics['downLoss'])} % down`),
    line('Processor', `${String(statistics['appCpu'])} % of ${String(statistics['systemCpu'])} %`),
    line('Sent', kilobytes(statistics['sentBytes'])),
    line('Received', kilobytes(statistics['receivedBytes'])),
    ...records(statistics['localStatistics']).map((entry) => stream('You', entry)),
    ...records(statistics['remoteStatistics']).map((entry) => stream(String(entry['userId']), entry)),
  );
}

function developer(classroom: Classroom): HTMLElement {
  const api = h('input', { value: '{"api":"setNetwork","params":{"delayMs":150}}', 'aria-label': 'Experimental call' });
  return h(
    'details',
    { class: 'person' },
    h('summary', {}, 'For developers'),
    toggle('Debug view', false, (on) => classroom.attempt('showBugView', { showType: on ? 2 : 0 })),
    button('Debug view lower down', () =>
      classroom.attempt('setDebugViewMargin', {
        userId: classroom.userId,
        top: 0.1,
        left: 0,
        bottom: 0,
        right: 0,
      }),
    ),
    toggle('Engine logs to the console', false, (consoleEnable) =>
      classroom.attempt('setLogParams', { logLevel: 2, consoleEnable, compressEnable: true }),
    ),
    api,
    row(
      button('Call', () => classroom.attempt('callExperimentalAPI', { APIParams: api.value })),
      button('Restart the engine', () => classroom.restartEngine()),
    ),
  );
}
