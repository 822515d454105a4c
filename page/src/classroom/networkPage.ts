// The network: speed test, statistics, and the controls for developers.

import type { KOBULocalStatistics, KOBURemoteStatistics, KOBUSpeedTestResult, KOBUStatistics } from 'vemo-client';
import { h, setText } from '../dom';
import { qualityInWords } from '../words';
import { inWords, type Classroom } from './classroom';
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
    const infos = (await classroom.attempt(classroom.bridge.getKOBUStats()))?.RtcInfos;
    const words =
      infos && infos !== '[]'
        ? infos.map(({ UserId, Resolution, StreamType }) => `${UserId}: ${StreamType} ${Resolution}`)
        : [];
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
          classroom.attempt(classroom.bridge.setNetworkQosParam({ preference, controlMode: 0 })),
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
  const begin = async () => {
    const mine = ++test;
    list.replaceChildren();
    bar.value = 0;
    setText(status, 'Measuring …');
    const { bridge, sdkAppId, userId, userSig } = classroom;
    try {
      for await (const answer of bridge.startSpeedTest({ sdkAppId, userId, userSig })) {
        if (mine !== test) return;
        bar.max = answer.totalCount;
        bar.value = answer.completedCount;
        if (answer.result) list.append(resultLine(answer.result));
      }
      if (mine === test) setText(status, 'Done.');
    } catch (error) {
      if (mine === test) setText(status, `The test failed: ${inWords(error).detail}`);
    }
  };
  const end = async () => {
    ++test;
    if (await classroom.attempt(classroom.bridge.stopSpeedTest())) setText(status, 'Stopped.');
  };
  return section(
    'Speed test',
    row(button('Measure', begin), button('Stop', end)),
    bar,
    status,
    list,
  );
}

function resultLine({ ip, quality, rtt, upLostRate, downLostRate }: KOBUSpeedTestResult): HTMLElement {
  const lost = `lost ${percent(upLostRate)} up, ${percent(downLostRate)} down`;
  return h(
    'li',
    {},
    h('strong', {}, ip ?? 'A server'),
    ` ${qualityInWords(quality)}, ${rtt} ms, ${lost}`,
  );
}

function percent(rate: number): string {
  return `${Math.round(rate * 100)} %`;
}

function draw(place: HTMLElement, statistics: KOBUStatistics | undefined): void {
  if (!statistics) {
    setText(place, 'They come every two seconds.');
    return;
  }
  const line = (name: string, value: string) =>
    h('div', { class: 'figure' }, h('span', {}, name), h('b', {}, value));
  const kilobytes = (bytes: number) => `${Math.round(bytes / 1000)} kB`;
  const stream = (who: string, entry: KOBULocalStatistics | KOBURemoteStatistics) => {
    const { width, height, frameRate, videoBitrate, audioBitrate, streamType } = entry;
    const video = videoBitrate
      ? `${width}×${height}, ${frameRate} fps, ${videoBitrate} kbit/s`
      : 'no video';
    return line(
      `${who}, ${streamNames[streamType] ?? 'stream'}`,
      `${video}, sound ${audioBitrate} kbit/s`,
    );
  };
  place.replaceChildren(
    line('Delay', `${statistics.rtt} ms`),
    line('Lost', `${statistics.upLoss} % up, ${statistics.downLoss} % down`),
    line('Processor', `${statistics.appCpu} % of ${statistics.systemCpu} %`),
    line('Sent', kilobytes(statistics.sentBytes)),
    line('Received', kilobytes(statistics.receivedBytes)),
    ...statistics.localStatistics.map((entry) => stream('You', entry)),
    ...statistics.remoteStatistics.map((entry) => stream(entry.userId ?? 'Somebody', entry)),
  );
}

function developer(classroom: Classroom): HTMLElement {
  const api = h('input', { value: '{"api":"setNetwork","params":{"delayMs":150}}', 'aria-label': 'Experimental call' });
  return h(
    'details',
    { class: 'person' },
    h('summary', {}, 'For developers'),
    toggle('Debug view', false, (on) => classroom.attempt(classroom.bridge.showBugView({ showType: on ? 2 : 0 }))),
    button('Debug view lower down', () =>
      classroom.attempt(classroom.bridge.setDebugViewMargin({
        userId: classroom.userId,
        top: 0.1,
        left: 0,
        bottom: 0,
        right: 0,
      })),
    ),
    toggle('Engine logs to the console', false, (consoleEnable) =>
      classroom.attempt(classroom.bridge.setLogParams({ logLevel: 2, consoleEnable, compressEnable: true })),
    ),
    api,
    row(
      button('Call', () => classroom.attempt(classroom.bridge.callExperimentalAPI({ APIParams: api.value }))),
      button('Restart the engine', () => classroom.restartEngine()),
    ),
  );
}
