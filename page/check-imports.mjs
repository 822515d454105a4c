// Fails when files of src/ or client/src/ import one another in a circle, types included.
import { readdir, readFile } from 'node:fs/promises';
import { join, normalize } from 'node:path';

const here = new URL('.', import.meta.url).pathname;
const files = [];
for (const folder of ['src', 'client/src']) {
  for (const file of await readdir(join(here, folder), { recursive: true })) {
    if (/\.tsx?$/.test(file)) files.push(join(folder, file));
  }
}
const imports = new Map();
for (const file of files) {
  const text = await readFile(join(here, file), 'utf8');
  const named = [...text.matchAll(/from '(\.[^']*)'/g)].map(([, path]) => {
    const stem = normalize(join(file, '..', path)).replace(/\.js$/, '');
    return files.includes(`${stem}.tsx`) ? `${stem}.tsx` : `${stem}.ts`;
  });
  imports.set(file, named);
}

const done = new Set();
function visit(file, way) {
  const again = way.indexOf(file);
  if (again >= 0) {
    console.error(`check-imports: a circle: ${[...way.slice(again), file].join(' -> ')}`);
    process.exit(1);
  }
  if (done.has(file)) return;
  for (const next of imports.get(file) ?? []) visit(next, [...way, file]);
  done.add(file);
}
for (const file of files) visit(file, []);
