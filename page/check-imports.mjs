// Fails when files of src/ import one another in a circle, types included.
import { readdir, readFile } from 'node:fs/promises';
import { join, normalize } from 'node:path';

const source = new URL('src', import.meta.url).pathname;
const files = (await readdir(source, { recursive: true })).filter((file) => /\.tsx?$/.test(file));
const imports = new Map();
for (const file of files) {
  const text = await readFile(join(source, file), 'utf8');
  const named = [...text.matchAll(/from '(\.[^']*)'/g)].map(([, path]) => {
    const stem = normalize(join(file, '..', path));
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
