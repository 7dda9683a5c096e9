// The package as a user gets it: what is in the tarball, how the native module is found or missed, that both module
// formats and their types give the same twelve functions, and what the binary shows to the process that loads it.
import assert from 'node:assert/strict';
import { execFileSync } from 'node:child_process';
import { existsSync, mkdirSync, readFileSync, rmSync, symlinkSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname, join, resolve } from 'node:path';
import { test } from 'node:test';
import { fileURLToPath } from 'node:url';
import ts from 'typescript';
import { addon } from './support/addon.mjs';
import { root as folder } from './support/packs.mjs';
import { noElf, noNpm } from './support/platform.mjs';

const root = dirname(dirname(fileURLToPath(import.meta.url)));
const installed = join(folder, 'node_modules/corvenda-semantic');
const target = createRequire(import.meta.url)('../lib/target.cjs')(process);
const places = [`prebuilds/${target}.node`,
  ...['release', 'debug'].map((preset) => `build/${preset}/corvenda_semantic.node`)];
const binary = [process.env.CORVENDA_TEST_BINARY, ...places].filter(Boolean)
  .map((path) => resolve(root, path)).find(existsSync);
const published = existsSync(join(root, places[0])) ? join(root, places[0]) : binary;
const read = (path) => readFileSync(join(root, path), 'utf8');
const { LD_PRELOAD, ...env } = process.env; // npm, the compiler and nm run without a sanitizer's runtime
const run = (program, args, options) =>
  execFileSync(program, args, { cwd: root, encoding: 'utf8', env, stdio: 'pipe', ...options });
const runModule = (code) =>
  run(process.execPath, ['--input-type=module', '-e', code], { cwd: folder, env: process.env });
/** GitHub's anchor of a heading. */
const anchorOf = (heading) => heading.toLowerCase().replace(/[^\p{L}\p{N}_ -]/gu, '').replaceAll(' ', '-');
/** Links of a document in the package to what is not in it. The page on performance leads to the benchmarks, which stay out. */
function brokenLinks(path) {
  const links = Array.from(readFileSync(join(installed, path), 'utf8').matchAll(/\]\((?!https?:)([^)#]*)(?:#([^)]*))?\)/g));
  const isBroken = ([, to, anchor]) => {
    const target = to === '' ? join(installed, path) : join(installed, dirname(path), to);
    if (!existsSync(target)) return path !== 'docs/performance.md';
    return anchor && !readFileSync(target, 'utf8').match(/^#+ .*$/gm).map((line) => anchorOf(line.replace(/^#+ /, ''))).includes(anchor);
  };
  return links.filter(isBroken).map(([link]) => `${path}: ${link}`);
}
function put(place, content) {
  mkdirSync(dirname(join(installed, place)), { recursive: true });
  writeFileSync(join(installed, place), content);
}

test('types that name the functions in order, and say what everything in them is', () => {
  const declared = (path) => Array.from(read(path).matchAll(/^export (?:function|const) (\w+)/gm), ([, name]) => name);
  assert.deepEqual(declared('lib/index.d.cts'), Object.keys(addon).filter((name) => typeof addon[name] === 'function'));
  const silent = [];
  for (const path of ['lib/index.d.cts', 'lib/lexicon.d.cts']) {
    const source = ts.createSourceFile(path, read(path), ts.ScriptTarget.Latest, true);
    const visit = (node) => {
      const counts = ts.isTypeElement(node) || ts.isInterfaceDeclaration(node) || ts.isTypeAliasDeclaration(node) ||
        ts.isFunctionDeclaration(node);
      if (counts && !ts.getJSDocCommentsAndTags(node).length) silent.push(`${path}: ${node.getText().split('\n')[0]}`);
      ts.forEachChild(node, visit);
    };
    visit(source);
  }
  assert.deepEqual(silent, []);
});

test('the tarball holds what package.json names and nothing of the work on it; both formats find the binary', { skip: noNpm }, () => {
  mkdirSync(installed, { recursive: true });
  const packed = run('npm', ['pack', '--json', '--silent', '--pack-destination', folder]);
  const [{ filename, files }] = JSON.parse(packed);
  run(process.execPath, ['node_modules/typescript/bin/tsc', '-p', 'test/types']); // packing has made the tools' types
  run('tar', ['-xzf', join(folder, filename), '-C', installed, '--strip-components=1']);
  const { exports, main, types, bin, scripts, dependencies } = JSON.parse(read('package.json'));
  for (const name of Object.keys(dependencies)) {
    symlinkSync(join(root, 'node_modules', name), join(folder, 'node_modules', name));
  }
  const named = JSON.stringify([exports, main, types, `./${bin.klrx}`]).match(/\.\/[^"]+\.\w+/g);
  const missing = [...named, 'LICENSE', 'lib/load.cjs', 'scripts/setup.mjs', 'CMakeLists.txt']
    .filter((path) => !existsSync(join(installed, path)));
  const work = /^(?:test|bench|fuzz|vectors|build|node_modules|\.ci)\/|\.(?:gyp|pem|klrx)$/;
  assert.deepEqual([missing, files.filter(({ path }) => work.test(path))], [[], []]);
  const unasked = Object.keys(scripts).filter((name) => /^(?:pre|post)?install$|^prepare$/.test(name));
  assert.deepEqual(unasked, [], 'nothing runs by itself');
  assert.doesNotMatch(read('package-lock.json'), /"resolved"/);
  assert.deepEqual(files.map(({ path }) => path).filter((path) => path.endsWith('.md')).flatMap(brokenLinks), []);

  for (const place of places) {
    put(place, readFileSync(binary));
    assert.equal(runModule(`import * as named from 'corvenda-semantic';
      const required = (await import('node:module')).createRequire(import.meta.url)('corvenda-semantic');
      const same = (name) => named[name] === required[name] && named.default[name] === required[name];
      console.log(Object.keys(required).filter(same).join());`), `${Object.keys(addon)}\n`, place);
    rmSync(join(installed, place));
  }
  put(places[2], 'no library');
  assert.throws(() => runModule('import "corvenda-semantic"'), ({ stderr }) => {
    const lines = stderr.slice(stderr.indexOf('Error: ')).split('\n').slice(0, 9);
    assert.match(lines.splice(4, 1)[0], /^ {2}build\/debug\/corvenda_semantic\.node: .*(?:too short|ELF|mach-o)/);
    return assert.deepEqual(lines, [
      `Error: corvenda-semantic: the native module could not be loaded (${target}, Node.js ${process.versions.node})`,
      `Tried, in ${installed}:`, `  ${places[0]}: not there`, `  ${places[1]}: not there`,
      'Build it here with this command:', `  npm --prefix "${installed}" run setup`,
      'npm ci removes what was built there. To have it built again each time, add to the scripts of your own package.json:',
      '  "postinstall": "npm --prefix node_modules/corvenda-semantic run setup"']) ?? true;
  });
  const other = join(folder, 'musl.cjs'); // on the other C library of Linux, another binary is looked for
  writeFileSync(other, "require('detect-libc').familySync = () => 'musl';");
  assert.throws(() => run(process.execPath, ['-r', other, '-e', 'require("corvenda-semantic")'], { cwd: folder }),
    new RegExp(`prebuilds/${target.replace('-gnu', '-musl')}\\.node: `));
});

// The host exports an OpenSSL and a uv of its own: an open symbol would be bound to it without a word, and one shown
// here could take the place of another addon's. A sanitizer's runtime takes the versions off the C library's names.
test('the binary shows two entry points, needs Node-API and the system, and stays loaded', { skip: noElf }, () => {
  const symbols = (option) =>
    run('nm', ['-D', option, binary]).trim().split('\n').map((line) => line.split(/\s+/).at(-1)).sort();
  assert.deepEqual(symbols('--defined-only'), ['napi_register_module_v1', 'node_api_module_get_api_version_v1']);
  const system = process.env.CORVENDA_TEST_SANITIZED
    ? /^(?!_ZNK?(?:2v8|4node)|uv_|(?:EVP|OPENSSL|CRYPTO|BIO|SSL|ERR|RAND|SHA\d+|AES|ED25519|OSSL|sodium|crypto)_)/
    : /@(?:GLIBC|GLIBCXX|CXXABI|GCC)_|^(?:napi_|node_api_)|^(?:_ITM_\w+|__gmon_start__)$/;
  assert.deepEqual(symbols('--undefined-only').filter((name) => !system.test(name)), []);
  assert.match(run('readelf', ['-d', binary]), /NODELETE/);
});

test('the published binary runs on the systems that README names', { skip: noElf }, () => {
  const [, glibc, libstdcxx] = /`GLIBC_([\d.]+)`, `GLIBCXX_([\d.]+)`/.exec(read('README.md'));
  const floors = { GLIBC: glibc, GLIBCXX: libstdcxx, CXXABI: '1.3.13', GCC: '3.0' };
  const versions = new Set(run('nm', ['-D', '--undefined-only', published]).match(/@(?:GLIBC|GLIBCXX|CXXABI|GCC)_[\d.]+/g));
  const newer = [...versions].filter((version) => {
    const [, name, number] = /@(\w+)_([\d.]+)/.exec(version);
    return number.localeCompare(floors[name], 'en', { numeric: true }) > 0;
  });
  assert.deepEqual([versions.size > 3, newer], [true, []]);
});

test('no pack key stands in one piece in the binary', () => {
  const bytes = readFileSync(binary);
  const { packKeys } = JSON.parse(read('trust/development.json'));
  const { block, values } = packKeys['test-v1'];
  const [one, two] = packKeys['release-v1'].tables;
  const release = Buffer.from(one, 'hex').map((byte, i) => byte ^ Buffer.from(two, 'hex')[i]).toString('hex');
  const holds = (hex) => bytes.includes(Buffer.from(hex, 'hex'));
  assert.deepEqual([block, ...values, one, two].map(holds), [true, true, true, true, true], 'the pieces are there');
  assert.deepEqual([values.join(''), block + values[0], release].map(holds), [false, false, false]);
});
