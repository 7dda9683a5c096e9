// The package as users have it: installed from its tarball by npm, without scripts, beside the tools that they build with.
// `npm run test:package` prepares the two folders.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { chmodSync, copyFileSync, cpSync, existsSync, mkdirSync, readdirSync, readFileSync, rmSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname, join } from 'node:path';
import { before, test } from 'node:test';
import { pathToFileURL } from 'node:url';
import { outputOf, stepsOf } from '../support/documents.mjs';

const root = join(import.meta.dirname, '..', '..');
const tarball = process.env.CORVENDA_TARBALL;
const folderOf = (name) => join(dirname(tarball), name);
const [empty, project] = [folderOf('empty'), folderOf('project')];
const fromProject = createRequire(join(project, 'package.json'));
const run = (program, args, options) =>
  execFileSync(program, args, { cwd: project, encoding: 'utf8', stdio: ['ignore', 'pipe', 'pipe'], ...options });
const node = (...args) => run(process.execPath, args);
/** The program that npx would run in the project. */
const npx = (name, ...args) => run(join(project, 'node_modules/.bin', name), args);
const write = (folder, files) => {
  for (const [name, text] of Object.entries(files)) writeFileSync(join(folder, name), text);
};

/** Follows a document to the letter in a folder where the package is installed. */
function follow(document, folder) {
  for (const name of readdirSync(folder)) if (/\.(?:klrx|manifest\.json)$/.test(name)) rmSync(join(folder, name)); // of another document
  const steps = stepsOf(readFileSync(join(empty, 'node_modules/corvenda-semantic', document), 'utf8'));
  for (const { kind, file, text, output } of steps) {
    if (kind === 'json' && file) writeFileSync(join(folder, file), text);
    if (kind === 'js' && output) assert.equal(outputOf(folder, text), output, text);
    for (const [line] of kind === 'sh' ? text.matchAll(/^npx .*$/gm) : []) run('sh', ['-c', line], { cwd: folder });
  }
}

// What an application does with the package: one of the twelve functions, and a lexicon.
const asking = (semantic, lexicon) => `
${semantic}
${lexicon}
async function main() {
  console.log(resolveSceneIntent({ packPath: 'mine.klrx', allowedRoot: '.', raw: '青岛海边' }).sceneKey);
  const lexicon = await openLexicon({ pack: 'mine.klrx' });
  console.log((await lexicon.resolve(['New York café vlog']))[0].locationMeta.fullLabel);
}
main();
`;
const answer = 'outdoor\nUnited States · New York\n';
const modules = asking("import { resolveSceneIntent } from 'corvenda-semantic';", "import { openLexicon } from 'corvenda-semantic/lexicon';");
const commonjs = asking("const { resolveSceneIntent } = require('corvenda-semantic');",
  "const { openLexicon } = require('corvenda-semantic/lexicon');");
// The native functions alone, where they are part of the bundle.
const functions = `
const { resolveSceneIntent } = require('corvenda-semantic');
console.log(resolveSceneIntent({ packPath: 'mine.klrx', allowedRoot: '.', raw: '青岛海边' }).sceneKey);
`;

before(() => {
  // The page on functions signs with the development key, which a binary of a release doesn't trust.
  for (const document of process.env.CORVENDA_TRUST_FILE ? ['README.md'] : ['docs/api.md', 'README.md']) follow(document, empty);
  copyFileSync(join(empty, 'mine.klrx'), join(project, 'mine.klrx'));
});

test('an empty folder: the documents hold, and nothing comes along but what the package needs', () => {
  const { devDependencies } = JSON.parse(readFileSync(join(root, 'package.json'), 'utf8'));
  assert.deepEqual(Object.keys(devDependencies).filter((name) => existsSync(join(empty, 'node_modules', name))), []);
  assert.match(run('sh', ['-c', 'npx klrx inspect mine.klrx'], { cwd: empty }), /^mine\.klrx: sound\n/);
  assert.match(run('sh', ['-c', 'npx klrx explain mine.klrx 青岛海边'], { cwd: empty }), /outdoor/);
  write(empty, { 'app.cjs': commonjs, 'app.mjs': modules,
    'worker.cjs': "new (require('node:worker_threads').Worker)('./app.cjs');" });
  for (const file of ['app.cjs', 'app.mjs', 'worker.cjs']) {
    assert.equal(run(process.execPath, [file], { cwd: empty }), answer, file);
  }
});

test('TypeScript: every way of resolving modules, strictly, with and without the types of a browser', () => {
  const common = { strict: true, target: 'es2022', types: [], rootDir: '.', outDir: 'ts' };
  const main = asking("import { resolveSceneIntent } from 'corvenda-semantic';", "import { openLexicon } from 'corvenda-semantic/lexicon';")
    .replace('locationMeta', 'locationMeta!').replace(/^main/m, 'declare const console: { log(text: string): void };\nmain');
  const typed = `import { buildPack } from 'corvenda-semantic/tools';\nexport const build: typeof buildPack = buildPack;\n`;
  write(project, { 'app.cts': main, 'app.mts': main, 'app.ts': main.replace(/^declare.*\n/m, ''), 'tools.ts': typed });
  for (const [options, files] of [
    [{ module: 'nodenext', lib: ['es2022'], exactOptionalPropertyTypes: true }, ['app.cts', 'app.mts']],
    [{ module: 'esnext', moduleResolution: 'bundler', lib: ['es2022', 'dom'] }, ['app.ts', 'tools.ts']],
    [{ module: 'commonjs', moduleResolution: 'node10', lib: ['es2022', 'dom'] }, ['app.ts', 'tools.ts']],
  ]) {
    write(project, { 'tsconfig.json': JSON.stringify({ compilerOptions: { ...common, ...options }, files }) });
    npx('tsc', '-p', '.');
  }
  assert.deepEqual([node('ts/app.cjs'), node('ts/app.mjs')], [answer, answer]);
});

const recipes = stepsOf(readFileSync(join(root, 'docs/bundlers.md'), 'utf8'));
const commands = recipes.filter(({ kind }) => kind === 'sh').map(({ text }) => text.trim());
function writeConfig(name) {
  write(project, { [name]: recipes.find(({ file }) => file === name).text });
  return join(project, name);
}

test('esbuild: both recipes, and what a loader that gives names is told', () => {
  write(project, { 'app.mjs': modules, 'app.cjs': functions });
  const [external, copied] = commands;
  run('sh', ['-c', external]);
  assert.equal(node('dist/app.mjs'), answer);
  run('sh', ['-c', copied]);
  cpSync(join(project, 'dist'), folderOf('alone'), { recursive: true });
  assert.equal(run(process.execPath, [join(folderOf('alone'), 'app.cjs')], { cwd: project }), 'outdoor\n', 'with nothing beside it');
  run('sh', ['-c', copied.replace('copy', 'file').replace('dist', 'named')]);
  const { stderr } = spawnSync(process.execPath, ['named/app.cjs'], { cwd: project, encoding: 'utf8' });
  assert.match(stderr, /linux-x64-gnu\.node: a bundler put the name of a file here \(.*\) in place of the native module/);
});

test('webpack: both recipes', async () => {
  const webpack = fromProject('webpack');
  for (const [name, app, expected] of [['webpack.config.cjs', modules, answer], ['webpack.loader.cjs', functions, 'outdoor\n']]) {
    write(project, { 'app.mjs': app, 'app.cjs': app });
    const config = fromProject(writeConfig(name));
    const output = { ...config.output, path: join(project, 'packed', name) };
    const stats = await new Promise((resolve, reject) =>
      webpack({ ...config, context: project, output }, (error, result) => (error ? reject(error) : resolve(result))));
    assert.deepEqual(stats.toJson({ errors: true }).errors, [], name);
    assert.equal(node(join('packed', name, 'app.cjs')), expected, name);
  }
});

test('Rollup and Vite', async () => {
  write(project, { 'app.mjs': modules });
  const importFrom = (name) => import(pathToFileURL(fromProject.resolve(name)));
  const { rollup } = await importFrom('rollup');
  const { default: config } = await import(pathToFileURL(writeConfig('rollup.config.mjs')));
  process.chdir(project);
  const bundle = await rollup(config);
  await bundle.write(config.output);
  assert.equal(node('dist/app.mjs'), answer);

  const vite = await import(pathToFileURL(join(project, 'node_modules/vite/dist/node/index.js')));
  await vite.build({ root: project, logLevel: 'error', configFile: writeConfig('vite.config.mjs') });
  assert.equal(node(join('dist', readdirSync(join(project, 'dist')).find((name) => /^app\.m?js$/.test(name)))), answer);
});
test('an asar archive: the patterns take the binary out, and it loads there', async () => {
  const asar = fromProject('@electron/asar');
  const app = folderOf('app.asar');
  const [{ text }] = recipes.filter(({ kind }) => kind === 'json');
  const unpack = `{${JSON.parse(text).asarUnpack.join(',')}}`;
  await asar.createPackageWithOptions(empty, app, { unpack });
  const packed = asar.listPackage(app).filter((path) => path.startsWith('/node_modules/corvenda-semantic/prebuilds/'));
  assert.ok(packed.length > 0);
  const inside = join(`${app}.unpacked`, 'node_modules/corvenda-semantic');
  assert.ok(existsSync(join(inside, 'lib/lexicon_worker.cjs')));
  assert.match(node('-p', `require(${JSON.stringify(join(inside, 'prebuilds/linux-x64-gnu.node'))}).getSemanticInfo().module`), /Corvenda/);
});

test('publint and attw have nothing to say', () => {
  npx('publint', '--strict', tarball);
  run(join(project, 'node_modules/.bin/attw'), [tarball], { cwd: root }); // .attw.json allows tools to be a module alone
});

test('setup inside a dependency builds the addon, and puts nothing beside it', () => {
  const folder = folderOf('dependency');
  cpSync(empty, folder, { recursive: true });
  const installed = join(folder, 'node_modules/corvenda-semantic');
  const programs = join(folder, 'programs');
  mkdirSync(programs);
  const program = (name, script) => {
    writeFileSync(join(programs, name), `#!/bin/sh\necho ${name} "$@" >> ${programs}/log\n${script}\n`);
    chmodSync(join(programs, name), 0o755);
  };
  const setup = () => spawnSync('npm', ['--prefix', installed, 'run', 'setup'],
    { cwd: folder, encoding: 'utf8', env: { ...process.env, PATH: `${programs}:${process.env.PATH}` } });
  program('apt-get', 'exit 1');
  program('dpkg-query', 'exit 0');
  program('cmake', 'exit 1');
  assert.match(setup().stderr, /Run this command, then this script again:\n {2}(?:sudo )?apt-get update/);
  program('cmake', `mkdir -p build/release; cp prebuilds/linux-x64-gnu.node build/release/corvenda_semantic.node`);
  assert.equal(setup().status, 0);
  assert.doesNotMatch(readFileSync(join(programs, 'log'), 'utf8'), /^(?:apt-get|npm)/m);
  // Binaries of other platforms stay.
  const own = readdirSync(join(installed, 'prebuilds')).filter((name) => name.startsWith('linux-x64-gnu'));
  assert.deepEqual([existsSync(join(installed, 'node_modules')), own], [false, []]);
  assert.equal(run(process.execPath, ['app.cjs'], { cwd: folder }), answer, 'what was built is loaded');
});
