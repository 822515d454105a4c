// The page for testers shows what really happens: its scenario is written, its commands are run
// one after another, and what they say is compared with what stands below them.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { delimiter, dirname, join } from 'node:path';
import { test } from 'node:test';

const page = readFileSync(new URL('../../docs/tester.md', import.meta.url), 'utf8');
const replay = process.env.VEMO_REPLAY;
const folder = mkdtempSync(join(tmpdir(), 'tester-'));

/** Each command of a block with what is shown below it. */
function commandsOf(block) {
  const commands = [];
  for (const line of block.split('\n')) {
    if (line.startsWith('$ ')) commands.push({ command: line.slice(2), shown: [] });
    else commands.at(-1).shown.push(line);
  }
  return commands;
}

test('the page for testers shows what happens', () => {
  try {
    let ran = 0;
    for (const [, before, kind, block] of page.matchAll(/([^\n]*)\n\n```(\w+)\n([^]*?)\n```/g)) {
      if (kind === 'jsonl') {
        const [, name] = before.match(/`(\S+\.jsonl)`:$/);
        writeFileSync(join(folder, name), `${block}\n`);
        continue;
      }
      for (const { command, shown } of commandsOf(block)) {
        const { stdout, stderr } = spawnSync('bash', ['-c', command], {
          cwd: folder,
          encoding: 'utf8',
          env: { ...process.env, PATH: dirname(replay) + delimiter + process.env.PATH },
        });
        assert.equal((stderr + stdout).trimEnd(), shown.join('\n'), command);
        ran += 1;
      }
    }
    assert.ok(ran > 10, `${ran} commands were found`);
  } finally {
    rmSync(folder, { recursive: true });
  }
});
