// What only Windows has: how the module binds to its host, spellings of paths, the ticks of the file system.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import { copyFileSync, existsSync, mkdirSync, readFileSync, utimesSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join, parse } from 'node:path';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { thrownBy } from './support/outcome.mjs';
import { packBytes, root, writeAt, writeFile } from './support/packs.mjs';
import { readModule } from './support/pe_file.mjs';
import { noLongPaths, noPe, noWindowsPaths } from './support/platform.mjs';

const binary = Object.keys(createRequire(import.meta.url).cache).find((path) => path.endsWith('.node'));
const unhooked = process.env.CORVENDA_TEST_UNHOOKED;
const noControl = noPe || (!unhooked && 'no module without the hook was built');

test('the module shows two entry points, and needs the system and, with a delay, Node-API of node.exe', { skip: noPe }, () => {
  const { imports, delayed, exports } = readModule(readFileSync(binary));
  assert.deepEqual(exports, ['napi_register_module_v1', 'node_api_module_get_api_version_v1']);
  const system = /^(?:kernel32|advapi32|bcrypt|msvcrt|ucrtbase|api-ms-win-crt-\w+-l1-1-0)\.dll$/;
  assert.deepEqual(Object.keys(imports).filter((name) => !system.test(name)), []);
  assert.ok(imports['bcrypt.dll'].includes('BCryptDecrypt'), 'what is there is found');
  assert.deepEqual(Object.keys(delayed), ['node.exe']);
  assert.deepEqual(delayed['node.exe'].filter((name) => !/^(?:napi|node_api)_/.test(name)), []);
  const console = /Console|^(?:Message|Get(?:Desktop|Window))/;
  assert.deepEqual(Object.values(imports).flat().filter((name) => console.test(name)), []);
});

test('a host of another name: the module binds to it, and without its hook would not', { skip: noControl }, () => {
  const other = join(root, 'other.exe');
  copyFileSync(process.execPath, other);
  const load = (module) => {
    const script = `console.log(require(${JSON.stringify(module)}).getSemanticInfo().module)`;
    const { status, stdout } = spawnSync(other, ['-e', script], { encoding: 'utf8' });
    return [status, stdout];
  };
  assert.deepEqual(load(binary), [0, 'CorvendaSemantic\n']);
  const moduleNotFound = 0xc06d007e; // by the delay-load helper
  assert.deepEqual(load(unhooked), [moduleNotFound, '']);
});

const folder = join(root, 'Packs in here');
mkdirSync(folder);
const pack = writeFile(packBytes(), 'Packs in here/Name.klrx');
const below = folder.slice(root.length + 1);
const slashed = (path) => path.replaceAll('\\', '/');
const ask = (packPath, allowedRoot = folder) => thrownBy(() => addon.inspectRulePack({ packPath, allowedRoot }));
const drive = parse(root).root;

/** The name of eight characters and three that a file system may give each file besides its own. */
function shortNameOf(path) {
  return execFileSync('cmd', ['/d', '/c', `for %A in ("${path}") do @echo %~sA`], { encoding: 'utf8', windowsVerbatimArguments: true }).trim();
}

test('spellings of one path', { skip: noWindowsPaths }, (t) => {
  const before = process.cwd();
  t.after(() => process.chdir(before));
  process.chdir(root);
  const short = shortNameOf(pack);
  const good = [
    ['as it is', pack], ['slashes', slashed(pack), slashed(folder)], ['other case', pack.toUpperCase(), folder.toLowerCase()],
    ['other case in the drive', pack[0].toLowerCase() + pack.slice(1), folder[0].toUpperCase() + folder.slice(1)],
    ['literal', `\\\\?\\${pack}`], ['a literal root', pack, `\\\\?\\${folder}`], ['a separator after the root', pack, `${folder}\\`],
    ['without a drive', pack.slice(2), folder.slice(2)], ['of the drive\'s folder', `${drive[0]}:${below}\\Name.klrx`],
    ['relative', `${below}\\Name.klrx`, below], ['dots', `${folder}\\.\\..\\${below}\\Name.klrx`],
    ['dots after what is missing', `${folder}\\no\\..\\Name.klrx`], ['a dot at the end', `${pack}.`], ['a blank at the end', `${pack} `],
    ...(short === pack ? [] : [['a short name', short]]),
  ];
  for (const [what, path, allowedRoot] of good) assert.equal(ask(path, allowedRoot), 'no error', what);
  const refused = {
    'path is outside the approved root': [
      ['the root of the drive has nothing inside', pack, drive], ['a sibling that continues the name', `${folder}2\\a.klrx`],
      ['another drive', `Y:${pack.slice(2)}`], ['a share', '\\\\?\\UNC\\.\\no\\a.klrx'],
    ],
    'extension is invalid': [
      ['the true case counts', (writeFile(packBytes(), 'Packs in here/upper.KLRX'), join(folder, 'upper.klrx'))],
    ],
    'file stat is invalid': [
      ['no such file', join(folder, 'no.klrx')], ['what can be no name', join(folder, 'a?<>|.klrx')],
      ['a file as a folder', join(pack, 'a.klrx')], ['no such drive', 'Y:\\a\\b.klrx', 'Y:\\a'],
      ['relative to what is missing', 'no\\a.klrx', 'no'], ['the same with slashes', 'no/a.klrx', 'no'],
    ],
  };
  for (const [end, rows] of Object.entries(refused)) {
    for (const [what, ...paths] of rows) assert.equal(ask(...paths), `Error: semantic rule-pack ${end}`, what);
  }
  // Windows can't tell where a device lies; Wine can.
  for (const device of ['NUL', '\\\\.\\NUL']) assert.match(ask(device), /cannot be canonicalized|outside the approved root/);
  // They are one key of the cache: nothing is read of the file, which holds no pack any more.
  const { length } = readFileSync(pack);
  writeAt(pack, packBytes());
  assert.equal(ask(pack), 'no error');
  writeAt(pack, Buffer.alloc(length));
  for (const [what, path, allowedRoot] of good) assert.equal(ask(path, allowedRoot), 'no error', what);
});

test('a path of more than 260 characters', { skip: noLongPaths }, () => {
  const long = join(root, 'x'.repeat(100), 'y'.repeat(100), 'z'.repeat(100));
  mkdirSync(long, { recursive: true });
  const path = join(long, 'a.klrx');
  writeAt(path, packBytes());
  assert.ok(existsSync(path));
  assert.equal(ask(path, root), 'no error');
});

test('a change is seen by the ticks of the file system, not by whole seconds', { skip: noWindowsPaths }, () => {
  const path = writeFile(packBytes());
  const [first, second] = [1_000_000_000.25, 1_000_000_000.251];
  utimesSync(path, first, first);
  assert.equal(ask(path, root), 'no error');
  writeAt(path, Buffer.alloc(readFileSync(path).length), first);
  assert.equal(ask(path, root), 'no error', 'the same time');
  utimesSync(path, second, second);
  assert.equal(ask(path, root), 'Error: semantic rule-pack magic is invalid');
});
