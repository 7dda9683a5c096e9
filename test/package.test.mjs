// The package as a user gets it: what is in the tarball, how the native module is found or missed, that both module
// formats and their types give the same twelve functions, and what the binary shows to the process that loads it.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { cpSync, existsSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join, resolve } from 'node:path';
import { after, before, describe, test } from 'node:test';
import { fileURLToPath } from 'node:url';
import * as tools from '../tools/index.mjs';
import { addon } from './support/addon.mjs';

const root = dirname(dirname(fileURLToPath(import.meta.url)));
const binary = [process.env.CORVENDA_TEST_BINARY, 'build/release/corvenda_semantic.node', 'build/debug/corvenda_semantic.node']
  .filter(Boolean).map((path) => resolve(root, path)).find(existsSync);
const target = `${process.platform}-${process.arch}`;
const manifest = JSON.parse(readFileSync(join(root, 'package.json'), 'utf8'));

// npm and the compiler run without the sanitizer runtime that may be preloaded into this process.
const { LD_PRELOAD, ...plainEnvironment } = process.env;
const run = (program, args, options = {}) =>
  execFileSync(program, args, { cwd: root, encoding: 'utf8', env: plainEnvironment, maxBuffer: 1 << 26, stdio: ['ignore', 'pipe', 'pipe'], ...options });

/** The functions and constants that a declaration file names, in its order. */
const declared = (path) =>
  Array.from(readFileSync(join(root, path), 'utf8').matchAll(/^export (?:function|const) (\w+)/gm), ([, name]) => name);

const functions = [
  'getSemanticInfo', 'inspectRulePack', 'inspectSemanticDelta', 'verifySemanticDeltaManifest', 'lookupBinaryIndex',
  'lookupBinaryIndexOverlay', 'evaluateWorkflowPolicy', 'extractSemanticFacets', 'resolveSceneIntent',
  'resolveSceneIntentBatch', 'resolveCelebrityBadgeBatch', 'warmSemanticRulePack',
];

test('the native module and the entry give the twelve functions in order', () => {
  assert.deepEqual(Object.keys(addon), functions);
  assert.ok(functions.every((name) => typeof addon[name] === 'function'));
  assert.deepEqual(declared('lib/index.d.cts'), functions);
});

test('the types of the tools name what is there', () => {
  assert.deepEqual(declared('lib/tools.d.mts').sort(), Object.keys(tools).sort());
});

test('the types hold for callers of both formats', () => {
  run(process.execPath, ['node_modules/typescript/bin/tsc', '-p', 'test/types']);
});

test('nothing runs at installation, and the lock file names no registry', () => {
  for (const name of ['preinstall', 'install', 'postinstall', 'prepare']) assert.ok(!(name in manifest.scripts), name);
  assert.doesNotMatch(readFileSync(join(root, 'package-lock.json'), 'utf8'), /"resolved"|https?:/);
});

describe('the installed package', () => {
  let folder;
  let installed;
  before(() => {
    folder = mkdtempSync(join(tmpdir(), 'corvenda-package-'));
    installed = join(folder, 'node_modules/corvenda-semantic');
    mkdirSync(installed, { recursive: true });
    const [{ filename }] = JSON.parse(run('npm', ['pack', '--json', '--ignore-scripts', '--pack-destination', folder]));
    run('tar', ['-xzf', join(folder, filename), '-C', installed, '--strip-components=1']);
  });
  after(() => rmSync(folder, { recursive: true, force: true }));

  test('holds every file that package.json names, and nothing of the work on it', () => {
    const files = run('find', ['.', '-type', 'f'], { cwd: installed }).trim().split('\n').map((path) => path.slice(2));
    const named = [manifest.main, manifest.types, manifest.bin.klrx, ...JSON.stringify(manifest.exports).match(/\.\/[^"]+\.\w+/g)];
    for (const path of named) assert.ok(files.includes(path.replace('./', '')), path);
    for (const path of ['LICENSE', 'README.md', 'lib/load.cjs', 'scripts/setup.mjs', 'CMakeLists.txt']) assert.ok(files.includes(path), path);
    assert.deepEqual(files.filter((path) => /^(?:test|bench|fuzz|vectors|build|node_modules|\.ci)\/|\.(?:gyp|pem|klrx)$/.test(path)), []);
  });

  // One copy of the binary at a time, in each place where the loader looks; both formats must share its functions.
  const program = `
    import * as named from 'corvenda-semantic';
    import { createRequire } from 'node:module';
    const required = createRequire(import.meta.url)('corvenda-semantic');
    const same = Object.keys(required).every((name) => named[name] === required[name] && named.default[name] === required[name]);
    console.log(JSON.stringify({ same, names: Object.keys(required), info: named.getSemanticInfo().ok }));`;
  for (const place of ['build/release/corvenda_semantic.node', 'build/debug/corvenda_semantic.node', `prebuilds/${target}.node`]) {
    test(`runs in both formats with the binary at ${place}`, () => {
      mkdirSync(dirname(join(installed, place)), { recursive: true });
      cpSync(binary, join(installed, place));
      const options = { cwd: folder, env: process.env };
      const said = JSON.parse(run(process.execPath, ['--input-type=module', '-e', program], options));
      assert.deepEqual(said, { same: true, names: functions, info: true });
      rmSync(join(installed, place));
    });
  }

  test('the example of the README prints what it says', () => {
    const [, code, , output] = /```js\n(.*?)```\n\n(```\n)(.*?)```/s.exec(readFileSync(join(root, 'README.md'), 'utf8'));
    const lexicons = readdirSync(join(root, 'sample/lexicon')).map((name) => join(root, 'sample/lexicon', name));
    mkdirSync(join(folder, 'build/demo'), { recursive: true });
    mkdirSync(join(installed, 'prebuilds'), { recursive: true });
    cpSync(binary, join(installed, `prebuilds/${target}.node`));
    run(process.execPath, [join(installed, 'tools/klrx.mjs'), 'build', ...lexicons, '--out', join(folder, 'build/demo/sample.klrx')]);
    const options = { cwd: folder, env: process.env };
    assert.equal(run(process.execPath, ['--input-type=module', '-e', code], options), output);
    rmSync(join(installed, 'prebuilds'), { recursive: true });
  });

  test('says what was tried, why each failed, and what to run', () => {
    mkdirSync(join(installed, 'build/debug'), { recursive: true });
    writeFileSync(join(installed, 'build/debug/corvenda_semantic.node'), 'no library');
    assert.throws(() => run(process.execPath, ['-e', 'require("corvenda-semantic")'], { cwd: folder }), ({ stderr }) => {
      const lines = stderr.slice(stderr.indexOf('Error: ')).split('\n').slice(0, 7);
      assert.equal(lines[0], `Error: corvenda-semantic: the native module could not be loaded (${target}, Node.js ${process.versions.node})`);
      assert.equal(lines[1], `Tried, in ${installed}:`);
      assert.equal(lines[2], '  build/release/corvenda_semantic.node: not there');
      assert.match(lines[3], /^ {2}build\/debug\/corvenda_semantic\.node: .*(?:too short|invalid ELF|not a mach-o)/);
      assert.equal(lines[4], `  prebuilds/${target}.node: not there`);
      assert.equal(lines[5], 'Build it here with this command:');
      assert.equal(lines[6], `  npm --prefix "${installed}" run setup`);
      return true;
    });
    rmSync(join(installed, 'build'), { recursive: true });
  });
});

// The host exports an OpenSSL and a uv of its own. A symbol left open here would be bound to it without a word, and one
// shown here could take the place of another addon's.
describe('the binary', { skip: process.platform !== 'linux' && 'ELF only' }, () => {
  const symbols = (...options) => run('nm', ['-D', ...options, binary]).trim().split('\n').map((line) => line.trim().split(/\s+/));

  test('shows its two entry points and nothing else', () => {
    const shown = symbols('--defined-only').map((words) => words.at(-1)).sort();
    assert.deepEqual(shown, ['napi_register_module_v1', 'node_api_module_get_api_version_v1']);
  });

  test('leaves open only Node-API and the symbols of the C and C++ libraries', () => {
    const open = symbols('--undefined-only').map((words) => words.at(-1));
    assert.ok(open.some((name) => name.startsWith('napi_')));
    const foreign = /^(?:_ZNK?(?:2v8|4node)|uv_|(?:EVP|OPENSSL|CRYPTO|BIO|SSL|ERR|RAND|SHA\d+|AES|ED25519|OSSL)_|(?:sodium|crypto)_)/;
    assert.deepEqual(open.filter((name) => foreign.test(name)), []);
    // The runtime of a sanitizer stands in front of the C library, and takes the versions off its names.
    const system = /@(?:GLIBC|GLIBCXX|CXXABI|GCC)_|^(?:napi_|node_api_)|^(?:_ITM_\w+|__gmon_start__)$/;
    if (!process.env.CORVENDA_TEST_SANITIZED) assert.deepEqual(open.filter((name) => !system.test(name)), []);
  });

  test('is never unloaded', () => assert.match(run('readelf', ['-d', binary]), /NODELETE/));
});
