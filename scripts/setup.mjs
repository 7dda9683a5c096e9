// Makes this folder ready: checks what the machine has, installs what Debian lacks (as root), fetches the npm
// packages, configures and builds the addon. Each step that finds its work done costs milliseconds and says nothing.
//
//   node scripts/setup.mjs [--tests]
//
// Only Node's own modules are used, because this runs before anything is installed. All that it says goes to standard
// error, so that a script that calls it keeps standard output for results.
import { execFile, spawn } from 'node:child_process';
import { createHash } from 'node:crypto';
import { existsSync, readFileSync, realpathSync, rmSync, statSync, writeFileSync } from 'node:fs';
import { availableParallelism } from 'node:os';
import { dirname, join } from 'node:path';
import { createInterface } from 'node:readline';
import { fileURLToPath, pathToFileURL } from 'node:url';

export const root = dirname(dirname(fileURLToPath(import.meta.url)));
export const buildFolder = join(root, 'build', 'release');

/** A failure that is explained by its message alone: printed without a stack. */
class SetupError extends Error {}

const say = (line) => process.stderr.write(`${line}\n`);

/** Runs a program and gives { ok, out }; a program that is not there is not ok. */
const ask = (program, args, input = '') => new Promise((done) => {
  const child = execFile(program, args, (error, stdout) => done({ ok: !error, out: stdout ?? '' }));
  child.stdin?.on('error', () => {});
  child.stdin?.end(input);
});

/** Runs a program to its end with its output on standard error. */
async function run(program, args, options = {}) {
  const status = await new Promise((done, reject) => {
    spawn(program, args, { cwd: root, stdio: ['ignore', 2, 2], ...options }).on('error', reject).on('close', done);
  });
  if (status !== 0) throw new SetupError(`${program} ${args.join(' ')} failed with status ${status}`);
}

// --- What the machine has ---------------------------------------------------------------------------------------

// What is needed: how a person calls it, the Debian package that brings it, and a test on what `probe` found.
const needs = [
  { what: 'a C++20 compiler', debian: 'g++', met: (has) => has.cxx20 },
  { what: 'CMake 3.25 or newer', debian: 'cmake', met: (has) => has.cmake },
  { what: 'ninja or make', debian: 'ninja-build', met: (has) => has.ninja || has.make },
  { what: 'libcrypto of OpenSSL 3, static', debian: 'libssl-dev', met: (has) => has.openssl && has['libcrypto.a'] },
  { what: 'libsodium, static', debian: 'libsodium-dev', met: (has) => has.sodium && has['libsodium.a'] },
  { what: 'GoogleTest', debian: 'libgtest-dev', met: (has) => has.gtest, testsOnly: true },
];

const headerProbe = `
#if __cplusplus >= 202002L && __has_include(<span>) && __has_include(<filesystem>)
cxx20
#endif
#if __has_include(<openssl/evp.h>)
#include <openssl/opensslv.h>
#if OPENSSL_VERSION_MAJOR >= 3
openssl
#endif
#endif
#if __has_include(<sodium.h>)
sodium
#endif
#if __has_include(<gtest/gtest.h>)
gtest
#endif
`;

/** Asks the compiler itself what it can find, in its own folders and below CMAKE_PREFIX_PATH, as the build will. */
async function probe() {
  const prefixes = (process.env.CMAKE_PREFIX_PATH ?? '').split(':').filter(Boolean);
  const has = {};
  const compilers = process.env.CXX ? [process.env.CXX] : ['c++', 'g++', 'clang++'];
  for (const compiler of compilers) {
    const { ok, out } = await ask(
      compiler, ['-std=c++20', ...prefixes.map((p) => `-I${p}/include`), '-E', '-P', '-x', 'c++', '-'], headerProbe);
    if (!ok) continue;
    for (const word of out.match(/^(?:cxx20|openssl|sodium|gtest)$/gm) ?? []) has[word] = true;
    await Promise.all(['libcrypto.a', 'libsodium.a'].map(async (library) => {
      // The bare name comes back when there is no such file.
      const { out: path } = await ask(compiler, [`-print-file-name=${library}`]);
      has[library] = path.trim() !== library || prefixes.some((p) => existsSync(`${p}/lib/${library}`));
    }));
    break;
  }
  const [cmake, ninja, make] = await Promise.all(['cmake', 'ninja', 'make'].map((tool) => ask(tool, ['--version'])));
  const [, major, minor] = /version (\d+)\.(\d+)/.exec(cmake.out) ?? [0, 0, 0];
  has.cmake = cmake.ok && (Number(major) > 3 || (Number(major) === 3 && Number(minor) >= 25));
  has.ninja = ninja.ok;
  has.make = make.ok;
  return has;
}

/** Ends with what the machine has once everything that is needed is there, or with a message that says what to run. */
async function requireMachine(tests) {
  if (Number(process.versions.node.split('.')[0]) < 20) {
    throw new SetupError(`Node.js 20 or newer is needed; this is ${process.versions.node}`);
  }
  if (process.platform === 'win32') throw new SetupError('this script sets up Linux machines; see CONTRIBUTING.md');
  const missing = (has) => needs.filter((need) => (tests || !need.testsOnly) && !need.met(has));
  let has = await probe();
  let lacking = missing(has);
  if (lacking.length === 0) return has;

  const packages = lacking.map((need) => need.debian);
  const install = ['install', '-y', '--no-install-recommends', ...packages];
  say(`setup: this machine lacks ${lacking.map((need) => need.what).join(', ')}`);
  if (!(await ask('apt-get', ['--version'])).ok) {
    throw new SetupError(`install them and run this again (Debian calls them ${packages.join(' ')})`);
  }
  if (process.getuid() !== 0) {
    throw new SetupError(`run this command, then this script again:\n  sudo apt-get update && sudo apt-get ${install.join(' ')}`);
  }
  say(`setup: installing ${packages.join(' ')}`);
  const env = { ...process.env, DEBIAN_FRONTEND: 'noninteractive' };
  await run('apt-get', ['-q', 'update'], { env });
  await run('apt-get', ['-q', '-o', 'DPkg::Lock::Timeout=300', '-o', 'Dpkg::Use-Pty=0', ...install], { env });
  has = await probe();
  lacking = missing(has);
  if (lacking.length > 0) {
    throw new SetupError(`still missing after apt-get ${install.join(' ')}: ${lacking.map((need) => need.what).join(', ')}`);
  }
  return has;
}

// --- npm packages -----------------------------------------------------------------------------------------------

/** True if node_modules holds what the lock file names. Time stamps decide, and the versions where a stamp is older. */
function packagesAreCurrent() {
  const lock = join(root, 'package-lock.json');
  const installed = join(root, 'node_modules', '.package-lock.json');
  if (!existsSync(installed)) return false;
  if (!existsSync(lock) || statSync(installed).mtimeMs >= statSync(lock).mtimeMs) return true;
  const wanted = JSON.parse(readFileSync(lock, 'utf8')).packages;
  const present = JSON.parse(readFileSync(installed, 'utf8')).packages;
  return Object.entries(wanted).every(([path, { version, optional }]) =>
    path === '' || (present[path] ? present[path].version === version : optional));
}

async function installPackages() {
  if (packagesAreCurrent()) return;
  // A published package has no lock file: there the versions of package.json must do.
  const what = existsSync(join(root, 'package-lock.json')) ? ['ci'] : ['install', '--include=dev', '--no-package-lock'];
  const args = [...what, '--ignore-scripts', '--no-audit', '--no-fund', '--no-update-notifier'];
  say(`setup: npm ${what.join(' ')}`);
  const npm = process.env.npm_execpath;
  if (npm?.endsWith('npm-cli.js') && existsSync(npm)) await run(process.execPath, [npm, ...args]);
  else await run('npm', args);
}

// --- The build --------------------------------------------------------------------------------------------------

const samePlace = (a, b) => {
  try { return realpathSync(a) === realpathSync(b); } catch { return false; }
};

/** What a build folder's cache says of NAME, or undefined. */
const cached = (cache, name) => new RegExp(`^${name}:\\w+=(.*)$`, 'm').exec(cache)?.[1];

async function configure(has, tests) {
  const cacheFile = join(buildFolder, 'CMakeCache.txt');
  const stampFile = join(buildFolder, '.setup-stamp');
  const cache = existsSync(cacheFile) ? readFileSync(cacheFile, 'utf8') : '';
  // A folder that a moved checkout left behind, or whose build program is gone, can't be configured again.
  const usable = cache !== '' && samePlace(cached(cache, 'CMAKE_HOME_DIRECTORY') ?? '', root)
    && samePlace(cached(cache, 'CMAKE_CACHEFILE_DIR') ?? '', buildFolder)
    && existsSync(cached(cache, 'CMAKE_MAKE_PROGRAM') ?? '');
  if (!usable && existsSync(buildFolder)) {
    say('setup: build/release belongs to another place or program; starting it afresh');
    rmSync(buildFolder, { recursive: true, force: true });
  }
  // Tests stay configured once they are: the demo then builds the addon alone.
  const withTests = tests || (usable && cached(cache, 'BUILD_TESTING') === 'ON' && has.gtest);
  const presets = createHash('sha256').update(readFileSync(join(root, 'CMakePresets.json'))).digest('hex');
  const stamp = JSON.stringify({ presets, withTests, cxx: process.env.CXX, prefix: process.env.CMAKE_PREFIX_PATH });
  const files = ['build.ninja', 'Makefile'].some((name) => existsSync(join(buildFolder, name)));
  // From here on the build itself notices when a CMake file changes; the presets are all that it does not watch.
  if (usable && files && existsSync(stampFile) && readFileSync(stampFile, 'utf8') === stamp) return;

  const args = ['--preset', 'release', `-DBUILD_TESTING=${withTests ? 'ON' : 'OFF'}`];
  const fresh = [...args, ...(has.ninja ? ['-G', 'Ninja'] : [])];
  say('setup: configuring build/release');
  try {
    await run('cmake', usable ? args : fresh);
  } catch (error) {
    if (!usable) throw error;
    say('setup: that did not work; once more in an empty build/release');
    rmSync(buildFolder, { recursive: true, force: true });
    await run('cmake', fresh);
  }
  writeFileSync(stampFile, stamp);
}

/** Builds, showing how far it is: one line that changes on a terminal, a line every few seconds elsewhere. */
async function build(tests) {
  const jobs = String(availableParallelism());
  const args = ['--build', buildFolder, '--parallel', jobs, ...(tests ? [] : ['--target', 'corvenda_semantic'])];
  const child = spawn('cmake', args, { cwd: root, stdio: ['ignore', 'pipe', 'pipe'] });
  const terminal = process.stderr.isTTY;
  let shownAt = 0;
  let lineIsOpen = false;
  const show = (line) => {
    if (/^(?:ninja: (?:no work|Entering)|.*(?:Re-checking globbed|Built target|Consolidate compiler)|$)/.test(line)) return;
    const progress = /^\[\s*\d+(?:%|\/\d+)\]/.test(line);
    if (progress && terminal) {
      process.stderr.write(`\r\x1b[2K${line.slice(0, (process.stderr.columns ?? 80) - 1)}`);
      lineIsOpen = true;
    } else if (!progress || Date.now() - shownAt > 3000) {
      if (lineIsOpen) process.stderr.write('\n');
      lineIsOpen = false;
      if (progress) shownAt = Date.now();
      say(line);
    }
  };
  for (const stream of [child.stdout, child.stderr]) createInterface({ input: stream }).on('line', show);
  const status = await new Promise((done, reject) => child.on('error', reject).on('close', done));
  if (lineIsOpen) process.stderr.write('\r\x1b[2K');
  if (status !== 0) throw new SetupError(`the build failed; to see it again: cmake --build "${buildFolder}"`);
}

/**
 * Does whatever is left to do until the addon is built.
 *
 * @param {{ tests?: boolean }} [options] `tests`: build the tests too (default: the addon alone)
 */
export async function setup({ tests = false } = {}) {
  const has = await requireMachine(tests);
  await installPackages();
  await configure(has, tests);
  await build(tests);
}

/** Runs `main` as a command: a SetupError is told in its own words and ends with status 1. */
export async function command(main) {
  try {
    await main(process.argv.slice(2));
  } catch (error) {
    if (!(error instanceof SetupError)) throw error;
    say(`setup: ${error.message}`);
    process.exitCode = 1;
  }
}

if (process.argv[1] && import.meta.url === pathToFileURL(realpathSync(process.argv[1])).href) {
  await command(async (args) => {
    if (args.some((arg) => arg !== '--tests')) throw new SetupError('usage: node scripts/setup.mjs [--tests]');
    await setup({ tests: args.includes('--tests') });
    say('setup: ready (build/release/corvenda_semantic.node)');
  });
}
