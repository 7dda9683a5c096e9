// Makes this folder ready: installs the npm packages of a checkout, then configures and builds the addon. In a checkout,
// as root on Debian, it installs what the machine lacks; everywhere else it says what to install. If all is done already,
// it takes about a second.
//
//   node scripts/setup.mjs [--tests]
//
// Only Node's own modules are used, because this runs before anything is installed. All that it says goes to standard
// error, so that a script that calls it keeps standard output for results.
import { spawnSync } from 'node:child_process';
import { existsSync, realpathSync, rmSync, statSync } from 'node:fs';
import { createRequire } from 'node:module';
import { availableParallelism } from 'node:os';
import { basename, dirname, join, sep } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';

export const root = dirname(dirname(fileURLToPath(import.meta.url)));
export const buildFolder = join(root, 'build', 'release');

// npm never publishes a lock file: where there is one, this is a checkout and no published package.
const isCheckout = existsSync(join(root, 'package-lock.json'));

// Debian's names of what a build needs: programs, for whoever lacks them (CMake takes other compilers too), and libraries.
const programs = { 'c++': 'g++', cmake: 'cmake', make: 'ninja-build' };
const libraries = ['libssl-dev', 'libsodium-dev'];
const testLibraries = ['libgtest-dev'];

/** A failure that is explained by its message alone: printed without a stack. */
export class SetupError extends Error {}

const say = (line) => process.stderr.write(`${line}\n`);

/** @param {NodeJS.ErrnoException} error */
const codeOf = (error) => error.code;

/** Runs a program to its end and gives { ok, out, err }, with what it printed. A program that is not there is not ok. */
export function ask(program, args, env) {
  const { status, error, stdout, stderr } = spawnSync(
    program, args, { cwd: root, encoding: 'utf8', maxBuffer: 1 << 28, env: { ...process.env, ...env } });
  return { ok: status === 0, out: stdout ?? '', err: error ? `${program} can't be run: ${codeOf(error)}\n` : stderr };
}

/** Runs a program to its end, with its output on standard error; a SetupError if it fails. */
export function run(program, args, env) {
  const { status, error } = spawnSync(
    program, args, { cwd: root, stdio: ['ignore', 2, 2], env: { ...process.env, ...env } });
  if (status === 0) return;
  const line = [program, ...args].join(' ').slice(0, 80);
  throw new SetupError(`${line} ${error ? `can't be run: ${codeOf(error)}` : `failed with status ${status}`}`);
}

/**
 * Installs Debian packages; those that are there are left alone.
 *
 * @param {string[]} names
 * @param {string} reason what failed without them, for whoever has to install them by hand
 * @returns {boolean} whether one was missing
 * @throws {SetupError} that says what to install, if this is no Debian, not root, or a published package, which
 *   doesn't change the machine of whoever depends on it
 */
export function installDebianPackages(names, reason) {
  if (!ask('dpkg-query', ['--version']).ok) {
    const list = names.join(' ');
    throw new SetupError(`${reason}Install what is missing and run this again. Debian calls what is needed ${list}.`);
  }
  const present = ask('dpkg-query', ['-W', '-f', '${Package} ${db:Status-Status}\n', ...names]).out;
  const missing = names.filter((name) => !present.split('\n').includes(`${name} installed`));
  if (missing.length === 0) return false;
  const install = ['install', '-y', '--no-install-recommends', ...missing];
  const isRoot = process.getuid?.() === 0;
  if (!isRoot || !isCheckout) {
    const sudo = isRoot ? '' : 'sudo ';
    const line = `${sudo}apt-get update && ${sudo}apt-get ${install.join(' ')}`;
    throw new SetupError(`${reason}Run this command, then this script again:\n  ${line}`);
  }
  say(`setup: installing ${missing.join(' ')}`);
  const env = { DEBIAN_FRONTEND: 'noninteractive' };
  run('apt-get', ['-q', 'update'], env);
  run('apt-get', ['-q', '-o', 'DPkg::Lock::Timeout=300', '-o', 'Dpkg::Use-Pty=0', ...install], env);
  return true;
}

/** Installs what the lock file names. A published package came with what it needs. */
export function installNodeModules() {
  const [wanted, present] = ['package-lock.json', 'node_modules/.package-lock.json']
    .map((path) => statSync(join(root, path), { throwIfNoEntry: false })?.mtimeMs ?? 0);
  if (!isCheckout || present >= wanted) return;
  say('setup: npm ci');
  run('npm', ['ci', '--ignore-scripts', '--no-audit', '--no-fund', '--no-update-notifier']);
}

function configure(tests) {
  const args = ['--preset', isCheckout ? 'release' : 'package', `-DBUILD_TESTING=${tests ? 'ON' : 'OFF'}`];
  // CMake asks for a generator when a folder is configured for the first time; later the folder stays with its own.
  const generator = () => process.env.CMAKE_GENERATOR ?? (ask('ninja', ['--version']).ok ? 'Ninja' : '');
  const plain = () => ask('cmake', args, { CMAKE_GENERATOR: generator() });
  // Forgets a compiler or a place that is no more.
  const fresh = () => ask('cmake', ['--fresh', ...args], { CMAKE_GENERATOR: generator() });
  let result = plain();
  if (!result.ok) result = fresh();
  if (!result.ok) {
    const lacking = Object.keys(programs).filter((program) => !ask(program, ['--version']).ok);
    const names = [...lacking.map((program) => programs[program]), ...libraries, ...(tests ? testLibraries : [])];
    if (installDebianPackages(names, `${result.err}\n`)) result = fresh();
  }
  if (!result.ok) throw new SetupError(`build/release can't be configured:\n${result.err}`);
  process.stderr.write(result.err); // warnings, and whose keys these are
}

/** Fetches what is needed and configures `build/release`, without building. */
export function prepare({ tests = false } = {}) {
  const { node } = process.versions;
  if (Number.parseInt(node, 10) < 20) throw new SetupError(`Node.js 20 or newer is needed; this is ${node}`);
  if (process.platform !== 'linux') throw new SetupError('docs/platforms.md tells how the addon is built for other systems than Linux');
  installNodeModules();
  configure(tests);
}

/** Removes the published binaries of this platform if what was built here is newer: the loader takes the published ones. */
function dropOlderPrebuild() {
  const { mtimeMs } = statSync(join(buildFolder, 'corvenda_semantic.node'));
  const name = createRequire(import.meta.url)('../lib/target.cjs')(process);
  for (const prebuild of [`prebuilds/${name}.node`, `prebuilds/${name}.explain.node`]) {
    if ((statSync(join(root, prebuild), { throwIfNoEntry: false })?.mtimeMs ?? Infinity) >= mtimeMs) continue;
    rmSync(join(root, prebuild));
    say(`setup: removed ${prebuild}, which is older than the build`);
  }
}

/**
 * Does whatever is left to do until the addon is built.
 *
 * @param {{ tests?: boolean }} [options] `tests`: build the tests too (default: the addon alone)
 */
export function setup({ tests = false } = {}) {
  prepare({ tests });
  const target = tests ? [] : ['--target', 'corvenda_semantic', 'corvenda_explain'];
  run('cmake', ['--build', buildFolder, '--parallel', String(availableParallelism()), ...target]);
  dropOlderPrebuild();
}

/** Runs `main` as a command: a SetupError prints its message alone and ends with status 1. */
export async function command(main) {
  try {
    await main(process.argv.slice(2));
  } catch (error) {
    if (!(error instanceof SetupError)) throw error;
    say(`${basename(process.argv[1], '.mjs')}: ${error.message}`);
    process.exitCode = 1;
  }
}

if (process.argv[1] && import.meta.url === pathToFileURL(realpathSync(process.argv[1])).href) {
  await command((args) => {
    if (args.some((arg) => arg !== '--tests')) throw new SetupError('usage: node scripts/setup.mjs [--tests]');
    setup({ tests: args.includes('--tests') });
    say('setup: ready (build/release/corvenda_semantic.node)');
    if (root.includes(`${sep}node_modules${sep}`)) {
      say('setup: npm ci removes it. To have it built again each time, add to the scripts of your own package.json:');
      say('  "postinstall": "npm --prefix node_modules/corvenda-semantic run setup"');
    }
  });
}
