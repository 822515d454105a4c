// The network: speed test, statistics, and the controls for developers.

import { signal } from '@preact/signals';
import type { KOBULocalStatistics, KOBURemoteStatistics, KOBUSpeedTestResult } from 'vemo-client';
import { qualityInWords } from '../words';
import { Button, Choice, Fold, Row, Section, Toggle } from './controls';
import './networkPage.css';
import { SpeedTest } from './speedTest';
import { useClass, useClassroom } from './useClass';
import { useKept } from './useKept';

const preferences = [
  [1, 'Smooth'],
  [2, 'Sharp'],
] as const;
const streamNames = ['camera', 'camera, small', 'screen'];

export function NetworkPage() {
  const classroom = useClassroom();
  const { bridge } = classroom;
  const preference = useKept('preference', () => signal<number>(1));
  return (
    <>
      <Section title="Speed test">
        <Measuring />
      </Section>
      <Section title="When the network is poor">
        <Choice
          title="Prefer"
          options={preferences}
          value={preference}
          pick={(preferred) =>
            classroom.attempt(bridge.setNetworkQosParam({ preference: preferred, controlMode: 0 }))
          }
        />
      </Section>
      <Section title="Statistics">
        <Statistics />
        <Streams />
      </Section>
      <Developer />
    </>
  );
}

function Measuring() {
  const classroom = useClassroom();
  const test = useKept('speed test', () => new SpeedTest(classroom));
  return (
    <>
      <Row>
        <Button title="Measure" press={() => test.begin()} />
        <Button title="Stop" press={() => test.end()} />
      </Row>
      <progress max={test.total} value={test.completed} aria-label="Progress of the speed test" />
      <p class="hint" role="status">
        {test.status}
      </p>
      <ul class="results">
        {test.results.value.map((result, index) => (
          <Result key={index} {...result} />
        ))}
      </ul>
    </>
  );
}

function Result({ ip, quality, rtt, upLostRate, downLostRate }: KOBUSpeedTestResult) {
  const lost = `lost ${percent(upLostRate)} up, ${percent(downLostRate)} down`;
  return (
    <li>
      <strong>{ip ?? 'A server'}</strong>
      {` ${qualityInWords(quality)}, ${rtt} ms, ${lost}`}
    </li>
  );
}

function percent(rate: number): string {
  return `${Math.round(rate * 100)} %`;
}

function Statistics() {
  const statistics = useClass((classroom) => classroom.statistics);
  if (!statistics) return <div class="statistics">They come again and again while you are in a room.</div>;
  const kilobytes = (bytes: number) => `${Math.round(bytes / 1000)} kB`;
  return (
    <div class="statistics">
      <Figure name="Delay" value={`${statistics.rtt} ms`} />
      <Figure name="Lost" value={`${statistics.upLoss} % up, ${statistics.downLoss} % down`} />
      <Figure name="Processor" value={`${statistics.appCpu} % of ${statistics.systemCpu} %`} />
      <Figure name="Sent" value={kilobytes(statistics.sentBytes)} />
      <Figure name="Received" value={kilobytes(statistics.receivedBytes)} />
      {statistics.localStatistics.map((stream) => (
        <StreamFigure who="You" stream={stream} />
      ))}
      {statistics.remoteStatistics.map((stream) => (
        <StreamFigure who={stream.userId ?? 'Somebody'} stream={stream} />
      ))}
    </div>
  );
}

function Figure({ name, value }: { name: string; value: string }) {
  return (
    <div class="figure">
      <span>{name}</span>
      <b>{value}</b>
    </div>
  );
}

function StreamFigure({ who, stream }: { who: string; stream: KOBULocalStatistics | KOBURemoteStatistics }) {
  const { width, height, frameRate, videoBitrate, audioBitrate, streamType } = stream;
  const video = videoBitrate ? `${width}×${height}, ${frameRate} fps, ${videoBitrate} kbit/s` : 'no video';
  return (
    <Figure
      name={`${who}, ${streamNames[streamType] ?? 'stream'}`}
      value={`${video}, sound ${audioBitrate} kbit/s`}
    />
  );
}

function Streams() {
  const classroom = useClassroom();
  const { bridge } = classroom;
  const seen = useKept('streams', () => signal(''));
  const look = async () => {
    const infos = (await classroom.attempt(bridge.getKOBUStats()))?.RtcInfos;
    const words =
      infos && infos !== '[]'
        ? infos.map(({ UserId, Resolution, StreamType }) => `${UserId}: ${StreamType} ${Resolution}`)
        : [];
    seen.value = words.join(' · ') || 'No streams since the last look.';
  };
  return (
    <>
      <Row>
        <Button title="Streams now" press={look} />
      </Row>
      <p class="hint">{seen}</p>
    </>
  );
}

function Developer() {
  const classroom = useClassroom();
  const { bridge } = classroom;
  const { debugView, console, call } = useKept('developer', () => ({
    debugView: signal(false),
    console: signal(false),
    call: signal('{"api":"setNetwork","params":{"delayMs":150}}'),
  }));
  const lowerDebugView = () =>
    classroom.attempt(bridge.setDebugViewMargin({
      userId: classroom.userId,
      top: 40,
      left: 0,
      bottom: 0,
      right: 0,
    }));
  return (
    <Fold title="For developers" name="developer">
      <Toggle
        title="Debug view"
        value={debugView}
        pick={(on) => classroom.attempt(bridge.showBugView({ showType: on ? 2 : 0 }))}
      />
      <Button title="Debug view lower down" press={lowerDebugView} />
      <Toggle
        title="Engine logs to the console"
        value={console}
        pick={(consoleEnable) =>
          classroom.attempt(bridge.setLogParams({ logLevel: 2, consoleEnable, compressEnable: true }))
        }
      />
      <input
        value={call}
        onInput={({ currentTarget }) => (call.value = currentTarget.value)}
        aria-label="Experimental call"
      />
      <Row>
        <Button
          title="Call"
          press={() => classroom.attempt(bridge.callExperimentalAPI({ APIParams: call.value }))}
        />
        <Button title="Restart the engine" press={() => classroom.restartEngine()} />
      </Row>
    </Fold>
  );
}
