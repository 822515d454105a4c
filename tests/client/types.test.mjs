// The package's types, as a project sees them that has installed it.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { copyFileSync, mkdirSync, mkdtempSync, rmSync, symlinkSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { afterEach, beforeEach, test } from 'node:test';
import { fileURLToPath } from 'node:url';

const page = fileURLToPath(new URL('../../page', import.meta.url));
const compiler = join(page, 'node_modules/typescript/bin/tsc');

let project;

beforeEach(() => {
  project = mkdtempSync(join(tmpdir(), 'vemo-'));
  mkdirSync(join(project, 'node_modules'));
  symlinkSync(join(page, 'client'), join(project, 'node_modules/vemo-client'));
});
afterEach(() => rmSync(project, { recursive: true }));

function compile(file, options) {
  const { status, stdout } = spawnSync(process.execPath, [compiler, '--noEmit', '--strict', ...options, file], {
    cwd: project,
    encoding: 'utf8',
  });
  assert.equal(stdout, '');
  assert.equal(status, 0);
}

for (const resolution of ['bundler', 'nodenext']) {
  test(`they say what the protocol says (${resolution})`, () => {
    copyFileSync(new URL('usage.mts', import.meta.url), join(project, 'usage.mts'));
    const module = resolution === 'bundler' ? 'esnext' : 'nodenext';
    const options = ['--target', 'es2022', '--lib', 'es2022,dom'];
    compile('usage.mts', [...options, '--module', module, '--moduleResolution', resolution]);
  });
}

test('they serve a project with an older target that finds modules as Node once did', () => {
  writeFileSync(
    join(project, 'old.ts'),
    `import { Bridge } from 'vemo-client';
     import { PlayedScenario } from 'vemo-client/testing';
     export const bridge = new Bridge({ transport: new PlayedScenario('').transport });
     export const answers: { next(): Promise<unknown> } = bridge.startSpeedTest({ sdkAppId: 1, userId: '', userSig: '' });`,
  );
  compile('old.ts', ['--target', 'es2017', '--lib', 'es2017,dom', '--module', 'esnext', '--moduleResolution', 'node10']);
});

test('they serve a project whose modules call require', () => {
  writeFileSync(join(project, 'package.json'), '{}');
  writeFileSync(
    join(project, 'usage.ts'),
    `import { Bridge, BridgeError } from 'vemo-client';
     import { PlayedScenario } from 'vemo-client/testing';
     export const bridge = new Bridge({ transport: new PlayedScenario('').transport });
     export const isRefused = (error: unknown) => error instanceof BridgeError && error.code === -1314;
     // @ts-expect-error: a parameter is misspelt
     void bridge.setAudioRoute({ rout: 1 });`,
  );
  compile('usage.ts', ['--target', 'es2022', '--lib', 'es2022,dom', '--module', 'node16']);
});

test('what calls require gets the package, too', () => {
  writeFileSync(
    join(project, 'old.cjs'),
    `const { Bridge, BridgeError } = require('vemo-client');
     const { PlayedScenario } = require('vemo-client/testing');
     const scenario = new PlayedScenario('{"command":"initSDK","expect":[{"effect":"reply","error":{"module":"JS","errcode":-2,"errmsg":"x"}}]}');
     new Bridge({ transport: scenario.transport }).initSDK().catch((error) => {
       console.log(require.resolve('vemo-client').endsWith('cjs/index.js'), error instanceof BridgeError, error.code);
     });`,
  );
  const { stdout, stderr } = spawnSync(process.execPath, ['old.cjs'], { cwd: project, encoding: 'utf8' });
  assert.equal(stdout, 'true true -2\n', stderr);
});
