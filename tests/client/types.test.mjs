// The package's types, as a project sees them that has installed it.

import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { copyFileSync, mkdirSync, mkdtempSync, rmSync, symlinkSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';

const page = fileURLToPath(new URL('../../page', import.meta.url));
const compiler = join(page, 'node_modules/typescript/bin/tsc');

for (const resolution of ['bundler', 'nodenext']) {
  test(`they say what the protocol says (${resolution})`, () => {
    const project = mkdtempSync(join(tmpdir(), 'vemo-'));
    mkdirSync(join(project, 'node_modules'));
    symlinkSync(join(page, 'client'), join(project, 'node_modules/vemo-client'));
    copyFileSync(new URL('usage.mts', import.meta.url), join(project, 'usage.mts'));
    const module = resolution === 'bundler' ? 'esnext' : 'nodenext';
    const options = ['--noEmit', '--strict', '--target', 'es2022', '--lib', 'es2022,dom'];
    const { status, stdout } = spawnSync(
      process.execPath,
      [compiler, ...options, '--module', module, '--moduleResolution', resolution, 'usage.mts'],
      { cwd: project, encoding: 'utf8' },
    );
    rmSync(project, { recursive: true });
    assert.equal(stdout, '');
    assert.equal(status, 0);
  });
}
