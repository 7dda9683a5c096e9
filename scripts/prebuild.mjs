// `npm run prebuild`: fills prebuilds/ with the binaries that are published. This machine's is built here and stripped;
// those of other platforms are taken in if they were built (npm run test:windows, test:arm64, test:musl).
//
//   CORVENDA_TRUST_FILE=FILE npm run prebuild    a release names its trust file; otherwise the keys are those for development
//   node scripts/prebuild.mjs --list             says what is there
//
// npm takes a script of this name for one that belongs before `npm run build`. What makes the binaries is therefore the
// script that npm runs before `prebuild` when that is asked for by its name; `prebuild` itself lists what is there.
import { copyFileSync, existsSync, mkdirSync, readFileSync, readdirSync, rmSync, statSync } from 'node:fs';
import { createRequire } from 'node:module';
import { availableParallelism } from 'node:os';
import { join, relative, resolve } from 'node:path';
import { parseArgs } from 'node:util';
import { buildFolder, command, root, run, setup, SetupError } from './setup.mjs';

export const prebuilds = join(root, 'prebuilds');
export const developmentTrust = join(root, 'trust', 'development.json');

const say = (line) => process.stderr.write(`prebuild: ${line}\n`);

/** What other platforms' builds leave, by the name under which it is published. */
const otherBuilds = {
  'win32-x64': ['build/windows-msvc', 'build/windows'],
  'linux-x64-musl': ['build/linux-musl'],
  'linux-arm64-gnu': ['build/linux-arm64'],
};

/** The licences of what is linked into a binary, where Debian's packages keep them. */
const licences = {
  'OpenSSL.txt': '/usr/share/common-licenses/Apache-2.0',
  'libsodium.txt': '/usr/share/doc/libsodium-dev/copyright',
};

const packKeysOf = (trustFile) => JSON.parse(readFileSync(trustFile, 'utf8')).packKeys;

/** The pieces of a trust file's release key. The other key, for tests, may be the same in all of them. */
export const releaseTablesOf = (trustFile) => packKeysOf(trustFile)['release-v1'].tables;

/** Whether pieces of keys, in hexadecimal, lie in a binary, as those do that it was built with. */
function holds(binary, pieces) {
  const bytes = readFileSync(binary);
  return pieces.every((hex) => bytes.includes(Buffer.from(hex, 'hex')));
}

/** Builds for this machine with the keys of a trust file, and gives the folder; for those of a release it is one of its own. */
function build(trust) {
  setup();
  if (trust === developmentTrust) return buildFolder;
  const folder = join(root, 'build', 'prebuild');
  run('cmake', ['--preset', 'release', '-B', folder, '-DBUILD_TESTING=OFF', `-DCORVENDA_TRUST_FILE=${trust}`]);
  run('cmake', ['--build', folder, '--parallel', String(availableParallelism())]);
  return folder;
}

/** Takes the two modules, the addon and what explains its answers, from a build folder. */
function take(folder, name, trust) {
  const { block, values } = packKeysOf(trust)['test-v1'];
  for (const [module, prebuild] of [['corvenda_semantic', name], ['corvenda_explain', `${name}.explain`]]) {
    const binary = join(folder, `${module}.node`);
    if (!holds(binary, [block, ...values, ...releaseTablesOf(trust)])) {
      throw new SetupError(`${relative(root, binary)} was built with other keys than ${trust}`);
    }
    const copy = join(prebuilds, `${prebuild}.node`);
    copyFileSync(binary, copy);
    if (name.startsWith('linux-x64')) run('strip', ['--strip-unneeded', copy]);
  }
}

/** Fills prebuilds/ anew. */
export function make(trust = resolve(process.env.CORVENDA_TRUST_FILE || developmentTrust)) {
  const folder = build(trust);
  rmSync(prebuilds, { recursive: true, force: true });
  mkdirSync(join(prebuilds, 'licences'), { recursive: true });
  for (const [name, text] of Object.entries(licences)) copyFileSync(text, join(prebuilds, 'licences', name));
  take(folder, createRequire(import.meta.url)('../lib/target.cjs')(process), trust);
  for (const [name, folders] of Object.entries(otherBuilds)) {
    const built = folders.map((place) => join(root, place)).find((place) => existsSync(join(place, 'corvenda_semantic.node')));
    if (built) take(built, name, trust);
    else say(`no ${name}, which was not built on this machine`);
  }
}

function list() {
  if (!existsSync(prebuilds)) return;
  for (const name of readdirSync(prebuilds).filter((entry) => entry.endsWith('.node')).sort()) {
    const binary = join(prebuilds, name);
    const keys = holds(binary, releaseTablesOf(developmentTrust)) ? 'the DEVELOPMENT keys, which are public: not for a release' : 'keys of its own';
    say(`${relative(root, binary)}, ${Math.ceil(statSync(binary).size / 1024)} KiB, with ${keys}`);
  }
}

if (process.argv[1] === import.meta.filename) {
  await command((args) => {
    const { values } = parseArgs({ args, options: { list: { type: 'boolean' } } });
    if (values.list) list();
    else make();
  });
}
