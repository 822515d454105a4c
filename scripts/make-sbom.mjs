#!/usr/bin/env node
// Makes docs/sbom.spdx.json (SPDX 2.3) and docs/dependencies.md from what a build has really
// included and what npm has really installed.
//   make-sbom.mjs [--check] BUILD
// BUILD is a built folder with all that there is (build/engine), whose ninja knows every header that was read. --check only
// tells, by a line and exit status 1, whether both are as they would be made. Which licence a
// library has, and what that asks, stands below; one that does not stand there is told.
import { execFileSync } from 'node:child_process';
import { readFileSync, writeFileSync, existsSync, realpathSync } from 'node:fs';
import { resolve } from 'node:path';
import { fileURLToPath } from 'node:url';

const root = fileURLToPath(new URL('../', import.meta.url));

function fail(sentence, status = 1) {
  console.error(`make-sbom: ${sentence}`);
  process.exit(status);
}

// By Debian's packages of headers. One name for packages that come from one source.
const notice = 'its notice goes with copies of it';
const lgpl = 'name it and its licence; whoever gets the program may replace it, which linking it as a shared library allows';
const libraries = [
  ['Boost', /^libboost/, 'BSL-1.0', 'nothing of a program; its notice goes with copies of the source'],
  ['spdlog', /^libspdlog-dev$/, 'MIT', notice],
  ['fmt', /^libfmt-dev$/, 'MIT', notice],
  ['curl', /^libcurl4/, 'curl', notice],
  ['GdkPixbuf', /^libgdk-pixbuf/, 'LGPL-2.1-or-later', lgpl],
  ['GLib', /^libglib2/, 'LGPL-2.1-or-later', lgpl],
  ['libsystemd', /^libsystemd-dev$/, 'LGPL-2.1-or-later', lgpl],
  ['GStreamer', /^libgstreamer/, 'LGPL-2.0-or-later', lgpl],
  ['libnice', /^libnice-dev$/, 'LGPL-2.1-or-later OR MPL-1.1', lgpl],
  ['libsoup', /^libsoup-3/, 'LGPL-2.0-or-later', lgpl],
  ['GTK', /^libgtk-3-dev$/, 'LGPL-2.0-or-later', lgpl],
  ['Pango', /^libpango/, 'LGPL-2.0-or-later', lgpl],
  ['HarfBuzz', /^libharfbuzz-dev$/, 'MIT-Modern-Variant', notice],
  ['cairo', /^libcairo2-dev$/, 'LGPL-2.1-only OR MPL-1.1', lgpl],
  ['ATK', /^libatk1/, 'LGPL-2.0-or-later', lgpl],
  ['WebKitGTK', /^lib(webkit2|javascriptcore)gtk-4/, 'LGPL-2.1-or-later AND BSD-2-Clause', lgpl],
  ['OpenSSL', /^libssl-dev$/, 'Apache-2.0', notice],
  ['GoogleTest', /^libgtest-dev$/, 'BSD-3-Clause', notice],
  ['Google Benchmark', /^libbenchmark-dev$/, 'Apache-2.0', notice],
];
// The compiler's own, which every program has.
const compilers = /^(libc6-dev|libc6|linux-libc-dev|libstdc\+\+-\d+-dev|libgcc-\d+-dev|libclang.*|libc\+\+.*)$/;

// Folders of sources, and whether what they use comes to a host.
const rooms = {
  bridge: 'host', json: 'host', webview: 'host', 'platform (basics)': 'host', platform: 'host',
  recorder: 'host', simulation: 'host', engine: 'host', 'apps/simulator': 'program', 'apps/replay': 'program',
  'apps/broadcast': 'program', 'apps/protocol': 'program', 'apps/classroom': 'program', 'apps/sign': 'program', tests: 'tests', bench: 'tests',
};

/** The libraries that the sources of each room include, however far below. */
function usedByRooms(build) {
  const outputs = new Map(); // of ninja's lines: what was made, the files that it was made of
  let present;
  for (const line of execFileSync('ninja', ['-C', build, '-t', 'deps'],
    { maxBuffer: 1 << 30, encoding: 'utf8' }).split('\n')) {
    const made = /^(\S+): #deps/.exec(line);
    if (made) outputs.set(made[1], (present = []));
    else if (line.startsWith('    ')) present.push(line.trim());
  }
  // What a precompiled header holds is included by whoever includes it.
  const included = (files) => files.flatMap((file) =>
    file.endsWith('.gch') ? (outputs.get(file) ?? [...outputs].find(([made]) => file.endsWith(`/${made}`))?.[1] ?? []) : [file]);

  const headers = new Map(Object.keys(rooms).map((room) => [room, new Set()]));
  for (const [made, files] of outputs) {
    const target = /(?:^|\/)CMakeFiles\/([^/]+)\.dir\//.exec(made)?.[1] ?? '';
    if (target.endsWith('_verify_interface_header_sets')) continue;
    const folder = target === 'vemo_basics' ? 'platform (basics)' : made;
    const room = Object.keys(rooms).filter((name) => folder === name || folder.startsWith(`${name}/`)).at(-1);
    if (!room) continue;
    for (const file of included(files)) {
      const path = resolve(build, file); // a compiler cache may have made it relative
      if (!path.startsWith(root)) headers.get(room).add(path);
    }
  }
  // bridge/ has no sources of its own; all that it includes, json/ does.
  headers.set('bridge', new Set([...headers.get('json')].filter((file) => file.includes('/boost/'))));

  const owners = ownersOf([...new Set([...headers.values()].flatMap((files) => [...files]))]);
  const used = new Map();
  for (const [room, files] of headers) {
    if (!files.size) fail(`${build} has no objects of ${room}; build all of it first`);
    const names = new Set();
    for (const file of files) {
      const owner = owners.get(file);
      if (!owner) fail(`${room} includes ${file}, which belongs to no package`);
      if (compilers.test(owner)) continue;
      const library = libraries.find(([, packages]) => packages.test(owner));
      if (!library) fail(`${room} includes ${file} of ${owner}, whose licence scripts/make-sbom.mjs does not know`);
      names.add(library[0]);
    }
    used.set(room, new Set([...names].sort())); // the order in which they were built is no matter
  }
  return used;
}

/** The Debian package of each file. */
function ownersOf(files) {
  const owners = new Map();
  const real = new Map(files.map((file) => [file, existsSync(file) ? realpathSync(file) : file]));
  const paths = [...new Set([...files, ...real.values()])];
  for (let i = 0; i < paths.length; i += 2000) {
    let said = '';
    try {
      said = execFileSync('dpkg-query', ['-S', ...paths.slice(i, i + 2000)],
        { maxBuffer: 1 << 28, encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] });
    } catch (problem) {
      said = String(problem.stdout ?? ''); // one of them is no package's
    }
    for (const line of said.split('\n')) {
      const [, names, path] = /^([^:]+(?::\w+)?(?:, [^:]+(?::\w+)?)*): (\/.*)$/.exec(line) ?? [];
      if (path) owners.set(path, names.split(',')[0].replace(/:\w+$/, ''));
    }
  }
  for (const [file, target] of real) if (!owners.has(file) && owners.has(target)) owners.set(file, owners.get(target));
  return owners;
}

/** npm's packages, as {name, version, license, bundled}; those of other systems are left out. */
function npmPackages() {
  const lock = JSON.parse(readFileSync(`${root}page/package-lock.json`, 'utf8'));
  const bundled = new Set();
  for (const bundle of ['shell', 'classroom']) {
    const file = `${root}page/dist/${bundle}.js.map`;
    if (!existsSync(file)) fail('the page is not built; scripts/build-page builds it');
    for (const source of JSON.parse(readFileSync(file, 'utf8')).sources) {
      const name = /node_modules\/((?:@[^/]+\/)?[^/]+)\/(?!.*node_modules)/.exec(source)?.[1];
      if (name) bundled.add(name);
    }
  }
  return Object.entries(lock.packages)
    .filter(([path, { optional }]) => path && !optional)
    .map(([path, { version, license }]) => {
      const name = path.replace(/^.*node_modules\//, '');
      if (!license) fail(`page/package-lock.json tells no licence of ${name}`);
      return { name, version, license, bundled: bundled.has(name) };
    });
}

function spdx(used, npm, created) {
  const id = (text) => `SPDXRef-${text.replace(/[^A-Za-z0-9.]+/g, '-')}`;
  const { version } = JSON.parse(readFileSync(`${root}page/package.json`, 'utf8'));
  const packages = [{ SPDXID: id('vemo'), name: 'vemo', versionInfo: version, downloadLocation: 'NOASSERTION',
    filesAnalyzed: false, licenseConcluded: 'NONE', licenseDeclared: 'NONE',
    comment: 'No licence has been chosen yet.' }];
  const relationships = [['SPDXRef-DOCUMENT', 'DESCRIBES', id('vemo')]];
  const add = (name, licence, more) => packages.push({ SPDXID: id(name), name, downloadLocation: 'NOASSERTION',
    filesAnalyzed: false, licenseConcluded: licence, licenseDeclared: licence, ...more });
  const purl = (text) => ({ externalRefs: [{ referenceCategory: 'PACKAGE-MANAGER', referenceType: 'purl', referenceLocator: text }] });

  for (const [room, names] of used) {
    const name = `vemo ${room}`;
    add(name, 'NONE', { versionInfo: version });
    relationships.push([id('vemo'), 'CONTAINS', id(name)]);
    for (const library of names) {
      relationships.push(rooms[room] === 'tests' ? [id(library), 'TEST_DEPENDENCY_OF', id(name)]
        : [id(name), 'DEPENDS_ON', id(library)]);
    }
  }
  for (const [name, , licence] of libraries) {
    if ([...used.values()].some((names) => names.has(name)))
      add(name, licence, { supplier: 'Organization: Debian', comment: 'The version is that of the system.' });
  }
  add('vemo page', 'NONE', { versionInfo: version });
  relationships.push([id('vemo'), 'CONTAINS', id('vemo page')]);
  for (const { name, version: its, license, bundled } of npm) {
    const ref = `npm ${name} ${its}`;
    add(ref, license, { name, versionInfo: its, ...purl(`pkg:npm/${name.replace('@', '%40')}@${its}`) });
    relationships.push(bundled ? [id('vemo page'), 'CONTAINS', id(ref)] : [id(ref), 'DEV_TOOL_OF', id('vemo page')]);
  }
  return `${JSON.stringify({
    spdxVersion: 'SPDX-2.3', dataLicense: 'CC0-1.0', SPDXID: 'SPDXRef-DOCUMENT', name: `vemo-${version}`,
    documentNamespace: `https://vemo.invalid/sbom/${version}`,
    creationInfo: { created, creators: ['Tool: scripts/make-sbom.mjs'] },
    packages,
    relationships: relationships.map(([spdxElementId, relationshipType, relatedSpdxElement]) =>
      ({ spdxElementId, relationshipType, relatedSpdxElement })),
  }, null, 1)}\n`;
}

function table(heads, rows) {
  return [heads, heads.map(() => '---'), ...rows].map((cells) => `| ${cells.join(' | ')} |`.replaceAll('|  |', '| |')).join('\n');
}

function dependencies(used, npm) {
  const [host, program, tests] = ['host', 'program', 'tests'].map((kind) =>
    [...used].filter(([room]) => rooms[room] === kind));
  const inUse = libraries.filter(([name]) => [...used.values()].some((names) => names.has(name)));
  const row = ([room, names]) => [`\`${room}\``, [...names].sort().join(', ')];
  const all = (list) => list.map(({ name, version, license }) => `${name} ${version} (${license})`).join(', ');
  return `# What comes from others

Made by \`scripts/make-sbom.mjs build/engine\` from the headers that the build has read and from npm's lock
file; [sbom.spdx.json](sbom.spdx.json) says the same for programs. The C++ libraries are the system's own
and linked as shared libraries; their versions are the system's. Beside them there are the compiler's
library and the C library.

## What a room brings into a host

A host has what the rooms that it links include. \`testing\` is headers alone: it brings what its
\`bridge\`, \`json\` and \`platform (basics)\` bring, and its contracts GoogleTest into the host's tests.

${table(['room', 'libraries'], host.map(row))}

What the programs' own sources include; those of their rooms come with them:

${table(['program', 'libraries'], program.map(row))}

Only tests and benchmarks:

${table(['folder', 'libraries'], tests.map(row))}

## What a licence asks of a host

${table(['library', 'licence', 'what it asks'], inUse.map(([name, , licence, asks]) => [name, licence, asks]))}

Libraries that these use in their turn, such as the one that curl reaches servers with, are the system's
choice. So are the plugins of GStreamer that \`engine\` uses, Janus (GPL-3.0), the media server, and coturn
(BSD-3-Clause), a relay, programs of their own that it reaches over the network.

## The pages

Bundled into the simulator's pages, whose notices go with copies of them: ${all(npm.filter(({ bundled }) => bundled))}.
\`vemo-client\`, which pages of one's own use, has nothing of others.

Tools that build and test the pages, and reach no page: ${all(npm.filter(({ bundled }) => !bundled))}.
`;
}

const words = process.argv.slice(2);
const check = words[0] === '--check';
if (check) words.shift();
if (words.length !== 1) fail('usage: make-sbom.mjs [--check] BUILD', 2);
const build = resolve(words[0]);
if (!existsSync(`${build}/build.ninja`)) fail(`${words[0]} is no folder that ninja builds in`, 2);

const used = usedByRooms(build);
const npm = npmPackages();
const jsonFile = `${root}docs/sbom.spdx.json`;
const textFile = `${root}docs/dependencies.md`;
const read = (file) => (existsSync(file) ? readFileSync(file, 'utf8') : '');
const before = /"created": "([^"]+)"/.exec(read(jsonFile))?.[1];
const now = `${new Date().toISOString().slice(0, 19)}Z`;
const isFresh = read(jsonFile) === spdx(used, npm, before) && read(textFile) === dependencies(used, npm);
if (check && !isFresh) fail('docs/sbom.spdx.json or docs/dependencies.md is not what is used now; scripts/make-sbom.mjs build/engine');
if (!check && !isFresh) {
  writeFileSync(jsonFile, spdx(used, npm, now));
  writeFileSync(textFile, dependencies(used, npm));
}
