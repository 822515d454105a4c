// Builds the package into dist/: modules, their types, and the script for a tag.
import { execFileSync } from 'node:child_process';
import { appendFile, copyFile, readdir, rm, writeFile } from 'node:fs/promises';
import { createRequire } from 'node:module';
import { fileURLToPath } from 'node:url';
import { build } from 'esbuild';

const here = fileURLToPath(new URL('.', import.meta.url));
const common = {
  absWorkingDir: here,
  bundle: true,
  target: 'es2017',
  sourcemap: true,
  logLevel: 'warning',
};

await rm(`${here}dist`, { recursive: true, force: true });
await build({
  ...common,
  entryPoints: ['src/index.ts', 'src/testing.ts'],
  format: 'esm',
  splitting: true,
  outdir: 'dist',
});
// For what still calls require, such as some runners of tests.
await build({
  ...common,
  entryPoints: ['src/index.ts', 'src/testing.ts'],
  format: 'cjs',
  outdir: 'dist/cjs',
});
await build({
  ...common,
  entryPoints: { 'vemo-client': 'src/index.ts' },
  format: 'iife',
  globalName: 'VemoClient',
  minify: true,
  outdir: 'dist',
});
const tsc = createRequire(import.meta.url).resolve('typescript/bin/tsc');
execFileSync(process.execPath, [tsc, '-p', here], { stdio: 'inherit' });
// What the script tag defines, for pages that are written in TypeScript all the same.
await appendFile(`${here}dist/index.d.ts`, 'export as namespace VemoClient;\n');
// A compiler takes types for those of the kind of module that the folder around them names.
for (const file of await readdir(`${here}dist`))
  if (file.endsWith('.d.ts')) await copyFile(`${here}dist/${file}`, `${here}dist/cjs/${file}`);
await writeFile(`${here}dist/cjs/package.json`, '{ "type": "commonjs" }\n');
