'use strict';
// Where a pack lies, and what to do if the native module can't open it there: it compares paths in ASCII only, and it
// reads files itself, so the archive of an Electron app is no folder to it.
const { createHash } = require('node:crypto');
const { mkdir, readFile, realpath, rename, rm, stat, writeFile } = require('node:fs/promises');
const { dirname, join, resolve } = require('node:path');
const { fileURLToPath } = require('node:url');
const semanticError = require('./semantic_error.cjs');

const notAscii = (path) => /[^\0-\x7f]/.test(path);
const inArchive = (path) => /\.asar[\\/]/.test(path);

/** The path that a caller means by a string or a file URL, independent of the current folder. */
function pathOf(place, option) {
  if (typeof place === 'string' && place !== '') return resolve(place);
  if (typeof place?.href === 'string' && place.href.startsWith('file:')) return fileURLToPath(place.href);
  throw semanticError('ERR_SEMANTIC_OPTIONS', `${option} must be a path or a file URL`, { type: TypeError });
}

/** Links resolved as far as there is something; what can't be resolved is the native module's to refuse. */
const realPathOf = (path) => realpath(path).catch(() => path);

/** Why the native module can't open a pack that is there, with what to do, or "" if paths are no hindrance. */
function hindranceOf({ packPath, allowedRoot }) {
  if (inArchive(packPath)) {
    return `${packPath} lies in an asar archive, which only Electron's own file functions can read; name a folder outside it ` +
      'in copyTo, and a copy is opened there, or keep packs out of the archive with asarUnpack';
  }
  const path = [packPath, allowedRoot].find(notAscii);
  if (path === undefined) return '';
  return `${path} has characters outside ASCII, and no path with such characters counts as inside a root; ` +
    'name a folder without them in copyTo, and a copy is opened there';
}

/** A copy of a file in `folder` under the name of its digest, made unless it is there. */
async function copyInto(folder, path) {
  const bytes = await readFile(path);
  const copy = join(folder, `${createHash('sha256').update(bytes).digest('hex')}.klrx`);
  const size = await stat(copy).then((found) => found.size, () => -1);
  if (size === bytes.length) return copy;
  await mkdir(folder, { recursive: true });
  const unfinished = `${copy}.${process.pid}.unfinished`;
  try {
    await writeFile(unfinished, bytes);
    await rename(unfinished, copy);
  } finally {
    await rm(unfinished, { force: true });
  }
  return copy;
}

/**
 * The options that name a pack to the native module: the file, links resolved, and its root, which is the folder of the
 * file if the caller names none; or a copy of both in `copyTo` if the file can't be opened where it lies.
 */
async function placeOf(packPath, root, copyTo) {
  const real = await realPathOf(packPath);
  const place = { packPath: real, allowedRoot: root === undefined ? dirname(real) : await realPathOf(root) };
  if (copyTo === undefined || hindranceOf(place) === '') return place;
  const copy = await copyInto(copyTo, packPath).catch((cause) => {
    throw semanticError('ERR_SEMANTIC_COPY', `no copy of the pack could be made: ${cause.message}`, { path: packPath, cause });
  });
  return { packPath: await realPathOf(copy), allowedRoot: await realPathOf(copyTo) };
}

module.exports = { hindranceOf, pathOf, placeOf };
