// Plays an example of each command and each event, so that the reference shows what really
// comes back.
import { spawnSync } from 'node:child_process';

const view = 'view';
const device = {
  device: { views: { 'teacher/0': view, 'student/0': view, 'student/2': view } },
};
const engine = { command: 'initSDK' };
const enter = {
  appScene: 0,
  sdkAppId: 1400000001,
  userId: 'teacher',
  userSig: 'signature',
  roomId: 7,
};
const room = [
  engine,
  { command: 'enterRoom', params: enter },
  { event: 'onEnterRoom', args: [120] },
];
const setUp = { none: [device], engine: [device, ...room], room: [device, ...room] };

const camera = { width: 640, height: 360, fps: 15, bitrate: 600 };
const screen = { width: 1280, height: 720, fps: 10, bitrate: 1200 };
const started = 'VEMOScreenKit_Started_Notify';

/**
 * What an example needs beside the required parameters and the guard: `before` instead of the
 * usual steps, `params`, and in `after` what makes the engine, the user or a download answer.
 */
const commands = {
  setLogParams: { params: { logLevel: 2, consoleEnable: true } },
  uninitSDK: { before: [device, ...room] },
  enterRoom: {
    before: [device, engine],
    params: enter,
    after: [{ event: 'onEnterRoom', args: [120] }],
  },
  exitRoom: { after: [{ event: 'onExitRoom', args: [0] }] },
  setDebugViewMargin: { params: { userId: 'student', top: 8, left: 8 } },
  setNetworkQosParam: { params: { preference: 1, controlMode: 0 } },
  setVideoEncoderParam: { params: camera },
  startLocalPreview: { params: { frontCamera: true } },
  switchCamera: { params: { frontCamera: false } },
  setLocalPreviewParams: { params: { fillMode: 1, encoderMirror: true } },
  enableEncSmallVideoStream: { params: { enable: true, width: 160, height: 90, bitrate: 100 } },
  startLocalAudio: { params: { quality: 1 } },
  setRemotePreviewParams: { params: { userId: 'student', fillMode: 1 } },
  setRemoteSubStreamPreviewParams: { params: { userId: 'student', fillMode: 1 } },
  playMusic: {
    params: {
      audioId: 1,
      path: '/music/song.mp3',
      publish: true,
      onStart: true,
      onProgress: true,
      onComplete: true,
    },
    after: [
      { music: 1, on: 'start', code: 0 },
      { music: 1, on: 'progress', progressMs: 1000, durationMs: 180000 },
      { music: 1, on: 'complete', code: 0 },
    ],
  },
  setMusicInfo: { params: { audioId: 1, position: 30000, playoutVolume: 60 } },
  startSpeedTest: {
    after: [1, 2].map((completed) => ({
      speedTest: {
        ip: `192.0.2.${completed}`,
        quality: completed,
        upLostRate: 0,
        downLostRate: 0.01,
        rtt: 30,
      },
      completed,
      total: 2,
    })),
  },
  setVideoMuteImage: { after: [{ downloaded: true }] },
  getKOBUStats: {
    before: [
      device,
      ...room,
      {
        event: 'onStatistics',
        args: [
          {
            localStatistics: [{ width: 640, height: 360, videoBitrate: 600 }],
            remoteStatistics: [{ userId: 'student', audioBitrate: 48 }],
          },
        ],
      },
    ],
  },
  registReport: { params: { reportfunc: 'onNativeReport' } },
  setAudioVolume: { params: { captureVolume: 80, playoutVolume: 60 } },
  getAudioVolume: { params: { capture: true, playout: true } },
  launchScreenKit: { after: [{ notify: started }] },
  startScreenCapture: {
    params: { screenCaptureMode: 1, ...screen },
    after: [{ event: 'onScreenCaptureStarted', args: [], thread: 'main' }],
  },
};

/**
 * The arguments with which the engine tells an event, in order, by their names; those of any other
 * event are the fields of its payload, save "userId", which is the own user.
 */
const events = {
  onError: { errCode: -3308, errMsg: 'no answer: no connection', extInfo: {} },
  onWarning: { warningCode: 1104, warningMsg: 'screen capture started twice', extInfo: {} },
  onEnterRoom: { result: 120 },
  onExitRoom: { reason: 0 },
  onSwitchRole: { errCode: 0, errMsg: 'switched' },
  onRemoteUserEnterRoom: { userId: 'student' },
  onRemoteUserLeaveRoom: { userId: 'student', reason: 0 },
  onAudioRouteChanged: { route: 1, fromRoute: 0 },
  onUserAudioAvailable: { userId: 'student', available: true },
  onUserVideoAvailable: { userId: 'student', available: true },
  onUserSubStreamAvailable: { userId: 'student', available: true },
  onNetworkQuality: {
    localQuality: { quality: 1 },
    remoteQuality: [{ userId: 'student', quality: 2 }],
  },
  onStatistics: {
    statistics: {
      appCpu: 5,
      systemCpu: 20,
      rtt: 30,
      sentBytes: 120000,
      receivedBytes: 96000,
      localStatistics: [{ width: 640, height: 360, frameRate: 15, videoBitrate: 600 }],
      remoteStatistics: [
        { userId: 'student', packetLoss: 1, audioSampleRate: 48000, audioBitrate: 48 },
      ],
    },
  },
  onUserVoiceVolume: {
    userVolumes: [{ volume: 40 }, { userId: 'student', volume: 25 }],
    totalVolume: 60,
  },
  onFirstVideoFrame: { userId: 'student', streamType: 0, width: 640, height: 360 },
  onFirstAudioFrame: { userId: 'student' },
  onScreenCaptureStarted: {},
};

const pageFunction = 'onNativeEvent';

/** What a page does from beginning to end, and what happens then. */
const lesson = [
  { about: 'The engine is made.', command: 'initSDK' },
  {
    about: 'The page says which of its functions hears of which event.',
    command: 'registCallBacks',
    params: {
      callbacks: ['onEnterRoom', 'onExitRoom'].map((sdkcbName) => ({
        sdkcbName,
        jsRecvcbName: pageFunction,
      })),
    },
  },
  {
    about: 'It enters a room. The answer comes when the engine is in; the event tells the same.',
    command: 'enterRoom',
    params: enter,
    after: [{ event: 'onEnterRoom', args: [120] }],
  },
  {
    about:
      'The camera starts, and is seen where the application has a view for the own user. Had the user not permitted it, the answer would have the code -1314.',
    command: 'startLocalPreview',
    params: { frontCamera: true },
  },
  {
    about: 'It leaves the room.',
    command: 'exitRoom',
    after: [{ event: 'onExitRoom', args: [0] }],
  },
];

/**
 * Gives for each command its message and the page's answers, and for each event the script
 * that the page gets, each as text, and the `arguments` of the engine's events; the lesson, step by
 * step, with the same; and names those for which nothing came back.
 */
export function playExamples(protocol, replayProgram) {
  const troubles = [];
  const play = (name, steps) => {
    const input = steps.map((step) => JSON.stringify(step)).join('\n');
    const run = spawnSync(replayProgram, ['-'], { input, encoding: 'utf8' });
    if (run.status !== 0) {
      troubles.push(`${name}: its example can't be played: ${run.error ?? run.stderr.trim()}`);
      return [];
    }
    return run.stdout
      .split('\n')
      .filter(Boolean)
      .map((line) => JSON.parse(line));
  };
  const told = Object.fromEntries(
    protocol.events.filter(isOfEngine).map((event) => [event.name, argumentsOf(event)]),
  );
  return {
    commands: new Map(
      protocol.commands.map((command) => {
        const example = commandExample(command, play);
        if (example.answers.length === 0)
          troubles.push(`${command.name}: its example has no answer`);
        return [command.name, example];
      }),
    ),
    events: new Map(
      protocol.events.map((event) => {
        const script = eventExample(event, play);
        if (!script) troubles.push(`${event.name}: its example does not reach the page`);
        return [event.name, script];
      }),
    ),
    arguments: told,
    lesson: lessonExample(play),
    troubles,
  };
}

function lessonExample(play) {
  const steps = [device];
  const parts = lesson.map(({ about, command, params, after = [] }, i) => {
    const message = {
      head: { module: 'kobu', action: command },
      ...(params ? { params } : {}),
      cbid: `${i + 1}`,
    };
    const first = steps.push({ message: JSON.stringify(message) });
    const last = steps.push(...after);
    return { about, message, first, last };
  });
  const effects = play('the lesson', steps);
  return parts.map(({ about, message, first, last }) => {
    const own = effects.filter(({ step }) => step >= first && step <= last);
    const ofKind = (kind) => own.filter(({ effect }) => effect === kind);
    return {
      about,
      message,
      answers: ofKind('reply').map((reply) => answerOf(message, reply)),
      scripts: ofKind('script'),
    };
  });
}

function answerOf(message, { error, retval }) {
  return {
    head: { ...message.head, cbid: message.cbid },
    ...(error ? { error: { ...error, errmsg: error.errmsg ?? '' } } : {}),
    ...(retval ? { retval } : {}),
  };
}

function commandExample(command, play) {
  const { before, params, after } = commands[command.name] ?? {};
  const given = params ?? requiredParams(command);
  const message = {
    head: { module: 'kobu', action: command.name },
    ...(Object.keys(given).length > 0 ? { params: given } : {}),
    cbid: '7',
  };
  const steps = [
    ...(before ?? setUp[command.guard]),
    { message: JSON.stringify(message), as: 'example' },
    ...(after ?? []),
  ];
  const answers = play(command.name, steps)
    .filter(({ effect, item }) => effect === 'reply' && item === 'example')
    .map((reply) => answerOf(message, reply));
  return { message, answers };
}

/** The example of each required parameter. */
function requiredParams(command) {
  return Object.fromEntries(
    command.params
      .filter(({ required, example }) => required || example !== undefined)
      .map((param) => [param.name, exampleOf(param)]),
  );
}

function exampleOf(field) {
  if (field.example !== undefined) return field.example;
  if (field.type === 'list' && field.members) {
    return [Object.fromEntries(field.members.map((member) => [member.name, exampleOf(member)]))];
  }
  return { boolean: true, integer: 1, number: 1, text: 'text', list: [], object: {} }[field.type];
}

/** All but what the broadcast extension tells. */
const isOfEngine = ({ name }) => name !== 'onScreenKitEvent';

function argumentsOf({ name, payload }) {
  const others = payload.filter((field) => field.name !== 'userId');
  return events[name] ?? Object.fromEntries(others.map((field) => [field.name, exampleOf(field)]));
}

function eventExample(event, play) {
  const happens = isOfEngine(event)
    ? { event: event.name, args: Object.values(argumentsOf(event)) }
    : { notify: started };
  const steps = [
    ...setUp.room,
    {
      command: 'registCallBacks',
      params: { callbacks: [{ sdkcbName: event.name, jsRecvcbName: pageFunction }] },
    },
    // Only of such a switch do the payload's roles tell.
    ...(event.name === 'onSwitchRole'
      ? [{ command: 'switchRole', params: { role: 21 }, nativecb: 'page.done' }]
      : []),
    happens,
  ];
  const script = play(event.name, steps).find(({ effect }) => effect === 'script');
  return script && { function: script.function, argument: script.argument };
}
