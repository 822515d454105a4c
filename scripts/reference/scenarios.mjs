// Which scenarios hold a command or an event to something.
import { readFileSync, readdirSync } from 'node:fs';
import { join, relative } from 'node:path';

const most = 5; // are named
const special = 10; // names at most are held by a scenario that is about one of them

/**
 * Reads the scenarios in `root`. Gives `of(name)`: the most telling scenarios (`chosen`, paths
 * under the root without the ending), how many more there are, and the `folder` where most
 * are; `common`: those that hold many names, and are left out of all that; and what is wrong:
 * names that none holds.
 * Scenarios that play bad input to every command alike are left out: they tell nothing special.
 */
export function readScenarios(root, protocol) {
  const files = filesIn(root)
    .sort()
    .filter((file) => !relative(root, file).split('/').includes('bad_input'))
    .map((file) => ({ path: relative(root, file).replace(/\.jsonl$/, ''), held: heldIn(file) }));
  const isCommon = ({ held }) => held.size > special;
  const of = (name) => {
    const holding = files.filter((file) => file.held.has(name) && !isCommon(file));
    const folder = mostFrequent(holding.map(({ path }) => path.split('/')[0]));
    const elsewhere = ({ path }) => (path.startsWith(`${folder}/`) ? 0 : 1);
    const found = holding
      .sort(
        (a, b) =>
          rank(a, name) - rank(b, name) ||
          elsewhere(a) - elsewhere(b) ||
          a.held.size - b.held.size ||
          (a.path < b.path ? -1 : 1),
      )
      .map(({ path }) => path);
    return { chosen: found.slice(0, most), more: Math.max(0, found.length - most), folder };
  };
  const troubles = [...protocol.commands, ...protocol.events]
    .filter(({ name }) => !files.some(({ held }) => held.has(name)))
    .map(({ name }) => `${name}: no scenario in tests/scenarios holds it to anything`);
  return { of, common: files.filter(isCommon).map(({ path }) => path), troubles };
}

function mostFrequent(values) {
  const count = (value) => values.filter((one) => one === value).length;
  return [...new Set(values)].sort((a, b) => count(b) - count(a))[0];
}

function filesIn(folder) {
  return readdirSync(folder, { withFileTypes: true }).flatMap((entry) => {
    const path = join(folder, entry.name);
    if (entry.isDirectory()) return filesIn(path);
    return entry.name.endsWith('.jsonl') ? [path] : [];
  });
}

/** Those named for it come first, then those that name it. */
function rank({ path }, name) {
  const parts = path.split('/');
  if (parts.some((part) => part === name || part.startsWith(`${name}_`))) return 0;
  return parts.some((part) => part.split('_').includes(name)) ? 1 : 2;
}

/** The names that a scenario holds: those of its steps that have an `expect`, and of its rows. */
function heldIn(file) {
  const held = new Set();
  let table;
  for (const line of readFileSync(file, 'utf8').split('\n')) {
    if (line.trim() === '' || line.startsWith('#')) continue;
    const step = JSON.parse(line);
    if (Array.isArray(step)) held.add(table);
    table = step.rows ?? table;
    if (!Array.isArray(step.expect)) continue;
    for (const name of [step.command, step.event, actionOf(step.message)]) {
      if (name) held.add(name);
    }
    // The screen extension's event is no step of its own: it is held where it is expected.
    for (const effect of step.expect) {
      if (effect.record?.actionName === 'onScreenKitEvent') held.add('onScreenKitEvent');
    }
  }
  return held;
}

function actionOf(message) {
  try {
    return JSON.parse(message).head.action;
  } catch {
    return undefined; // no message, or one that is none on purpose
  }
}
