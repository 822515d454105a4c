#!/usr/bin/env node
// Makes the reference of the page's protocol: docs/reference/*.md, page/client/src/protocol.ts and
// page/src/shell/tools/protocol.json, from what vemo-protocol prints, with answers that
// vemo-replay plays.
//
//   make-reference.mjs PROTOCOL REPLAY           write the files
//   make-reference.mjs PROTOCOL REPLAY --check   compare with the files that are there
//
// PROTOCOL and REPLAY are the two programs. It ends with 1 when a file differs, and when a
// command or an event is held by no scenario or its example is not answered, naming it.
import { execFileSync } from 'node:child_process';
import { existsSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { data } from './reference/data.mjs';
import { broadcastNotifications, engineCodes } from './reference/headers.mjs';
import { playExamples } from './reference/examples.mjs';
import { pages } from './reference/pages.mjs';
import { readScenarios } from './reference/scenarios.mjs';
import { types } from './reference/types.mjs';

const [protocolProgram, replayProgram, option] = process.argv.slice(2);
if (!replayProgram || (option !== undefined && option !== '--check')) {
  console.error('Usage: make-reference.mjs PROTOCOL REPLAY [--check]');
  process.exit(2);
}

const root = fileURLToPath(new URL('..', import.meta.url));
const folder = 'docs/reference';
const protocol = JSON.parse(execFileSync(protocolProgram, { encoding: 'utf8' }));

const header = (name) => readFileSync(join(root, 'bridge', name), 'utf8');
const codes = engineCodes(header('EngineCodes.h'));
const notifications = broadcastNotifications(header('ScreenKitNotifications.h'));
const examples = playExamples(protocol, replayProgram);
const scenarios = readScenarios(join(root, 'tests/scenarios'), protocol);
const troubles = [...examples.troubles, ...scenarios.troubles];

const files = new Map([
  ...pages(protocol, examples, scenarios, codes).map(([name, text]) => [`${folder}/${name}`, text]),
  ['page/client/src/protocol.ts', types(protocol, codes)],
  ['page/src/shell/tools/protocol.json', data(protocol, examples, codes, notifications)],
]);
const stale = readdirSync(join(root, folder))
  .filter((name) => name.endsWith('.md') && !files.has(`${folder}/${name}`))
  .map((name) => `${folder}/${name}`);

if (option === '--check') {
  for (const [file, text] of files) {
    const path = join(root, file);
    if (!existsSync(path)) troubles.push(`${file} is missing`);
    else if (readFileSync(path, 'utf8') !== text) troubles.push(`${file} is not up to date`);
  }
  troubles.push(...stale.map((file) => `${file} belongs to nothing any more`));
} else if (troubles.length === 0) {
  for (const [file, text] of files) writeFileSync(join(root, file), text);
  for (const file of stale) rmSync(join(root, file));
}

for (const trouble of troubles) console.error(`make-reference: ${trouble}`);
if (troubles.length > 0) {
  if (option === '--check') {
    console.error('The reference is made anew by: cmake --build build/dev --target reference');
  }
  process.exitCode = 1;
}
