// Builds the client, and bundles the pages into dist/, which the simulator serves.
import { build } from 'esbuild';
import { cp, mkdir, rm } from 'node:fs/promises';

import './client/build.mjs';

const here = new URL('.', import.meta.url);
const dist = new URL('dist/', here);

await rm(dist, { recursive: true, force: true });
await mkdir(dist);
await build({
  absWorkingDir: here.pathname,
  entryPoints: {
    shell: 'src/shell/main.tsx',
    classroom: 'src/classroom/main.tsx',
    places: 'src/host/places.ts',
  },
  bundle: true,
  format: 'esm',
  jsx: 'automatic',
  jsxImportSource: 'preact',
  target: 'es2021',
  sourcemap: true,
  minify: true,
  outdir: 'dist',
  logLevel: 'warning',
});
for (const file of ['index.html', 'classroom.html', 'icon.svg', 'camera-paused.png', 'page.json']) {
  await cp(new URL(file, here), new URL(file, dist));
}
await cp(new URL('client/dist/vemo-client.js', here), new URL('vemo-client.js', dist));
