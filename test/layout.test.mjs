// The floor plan: a folder of the core includes itself and the folders above it in this list, never one below, and only
// the addon knows Node-API. CONTRIBUTING.md tells what each folder is for.
import assert from 'node:assert/strict';
import { readdirSync, readFileSync } from 'node:fs';
import { dirname, join, relative } from 'node:path';
import test from 'node:test';

const source = join(import.meta.dirname, '..', 'src');
const resolvers = ['scene', 'location', 'celebrity', 'facet', 'lookup', 'delta', 'workflow'];
const ground = ['base', 'text', 'pack', 'rows', 'cache'];
const mayInclude = {
  ...Object.fromEntries(ground.map((folder, i) => [folder, ground.slice(0, i)])),
  ...Object.fromEntries(resolvers.map((folder) => [folder, ground])),
  batch: [...ground, 'scene', 'location'],
};
/** Made from the trust file at configure time. */
const generated = 'trust_table.h';

const sources = readdirSync(source, { recursive: true, withFileTypes: true })
  .filter((entry) => entry.isFile() && /\.(?:h|cpp)$/.test(entry.name))
  .map((entry) => relative(source, join(entry.parentPath, entry.name)).replaceAll('\\', '/'));
const includes = (file, pattern) =>
  [...readFileSync(join(source, file), 'utf8').matchAll(pattern)].map((match) => match[1]);

test('no include runs upwards', () => {
  assert.deepEqual([...new Set(sources.map((file) => file.split('/')[0]))].sort(), ['addon', 'core']);
  const upwards = sources.filter((file) => file.startsWith('core/')).flatMap((file) => {
    const folder = file.split('/')[1];
    return includes(file, /^#include "([^"]+)"/gm)
      .filter((name) => name !== generated && dirname(name) !== folder && !mayInclude[folder]?.includes(dirname(name)))
      .map((name) => `${file} includes ${name}`);
  });
  assert.deepEqual(upwards, []);
});

test('the core knows no JavaScript value', () => {
  const system = /^#include <((?:napi|node_api|js_native_api)[^>]*)>/gm;
  const knowing = sources.filter((file) => includes(file, system).length > 0);
  assert.ok(knowing.length > 0);
  assert.deepEqual(knowing.filter((file) => !file.startsWith('addon/')), []);
});

test('neither module knows the other', () => {
  const rooms = ['addon/exports', 'addon/explain'];
  const knowing = sources.flatMap((file) => includes(file, /^#include "([^"]+)"/gm)
    .filter((name) => rooms.includes(dirname(name)) && dirname(name) !== dirname(file)).map((name) => `${file} includes ${name}`));
  assert.deepEqual(rooms.filter((room) => !sources.some((file) => dirname(file) === room)), []);
  assert.deepEqual(knowing, []);
});

// A header for what differs between platforms, and a source file for each of them, which CMake chooses.
test('only files of a platform use what a platform has', () => {
  const standard = sources.filter((file) => !/_(?:posix|openssl|win|cng)\.cpp$/.test(file));
  const foreign = standard.flatMap((file) => includes(file, /^#include <([^>]+\.h)>/gm)
    .filter((name) => !['intrin.h', 'napi.h', 'node_api.h', 'sodium.h'].includes(name)).map((name) => `${file} includes ${name}`));
  assert.deepEqual(foreign, []);
  // What only GCC and clang understand stands beside what Microsoft's compiler does.
  const gnu = /__(?:asm|attribute|builtin|extension|int128)/;
  const text = (file) => readFileSync(join(source, file), 'utf8');
  assert.deepEqual(standard.filter((file) => gnu.test(text(file)) && !text(file).includes('_MSC_VER')), []);
  assert.deepEqual(standard.filter((file) => /_WIN32|__linux__|__APPLE__/.test(text(file))), []);
});
