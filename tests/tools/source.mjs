// Loads a source of the pages as a module of Node.
import { createRequire } from 'node:module';
import { fileURLToPath } from 'node:url';

const page = new URL('../../page/', import.meta.url);
const { build } = createRequire(new URL('package.json', page))('esbuild');

/** What the source at `path`, within page/src/, exports. */
export async function source(path) {
  const { outputFiles } = await build({
    entryPoints: [fileURLToPath(new URL(`src/${path}`, page))],
    bundle: true,
    format: 'esm',
    target: 'es2021',
    write: false,
  });
  return import(`data:text/javascript;base64,${Buffer.from(outputFiles[0].contents).toString('base64')}`);
}
