// What the package's types allow and what they don't; compiled by types.test.mjs.

import { Bridge, type MayStayOpen, type Success } from 'vemo-client';
import { PlayedScenario } from 'vemo-client/testing';

const bridge = new Bridge({ transport: new PlayedScenario('').transport, timeout: 1000 });

const version: Promise<{ version: string }> = bridge.getSDKVersion();
const made: Promise<Success> = bridge.initSDK({}, { timeout: 5 });
const entered: MayStayOpen<{ userId: string; elapsed: number }> = bridge.enterRoom({ appScene: 1 });
bridge.on('onEnterRoom', ({ elapsed }) => elapsed.toFixed());
bridge.once('onNativeReport', ({ event }) => event.length);
for await (const { completedCount } of bridge.startSpeedTest({ sdkAppId: 1, userId: '', userSig: '' }))
  completedCount.toFixed();
console.log(version, made, entered);

// @ts-expect-error: a required parameter is missing
void bridge.enterRoom({});
// @ts-expect-error: a parameter is misspelt
void bridge.setAudioRoute({ rout: 1 });
// @ts-expect-error: a parameter has another type
void bridge.setAudioRoute({ route: '1' });
// @ts-expect-error: no such command
void bridge.enterRom({ appScene: 1 });
// @ts-expect-error: no such event
bridge.on('onNothing', () => {});
// @ts-expect-error: no such field of the payload
bridge.on('onEnterRoom', ({ elapse }) => elapse);
