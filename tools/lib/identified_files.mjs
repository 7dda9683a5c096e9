// Files that work depends on for a long time: what they are, and whether they have stayed it.

import { createHash } from 'node:crypto';
import { createReadStream, statSync } from 'node:fs';
import { basename } from 'node:path';
import { no } from './command_line.mjs';
import { reasonOf } from './files.mjs';

const BLOCK = 1 << 20; // bytes

/**
 * @typedef {object} IdentifiedFile
 * @property {string} path
 * @property {string} name without folders
 * @property {number} bytes
 * @property {string} sha256 in hexadecimal digits
 * @property {string} state of the file on disk, which is another after any change
 */

/** @param {string} path */
function stateOf(path) {
  try {
    const { dev, ino, size, mtimeNs, ctimeNs } = statSync(path, { bigint: true });
    return [dev, ino, size, mtimeNs, ctimeNs].join(' ');
  } catch {
    return 'gone';
  }
}

/**
 * Reads a file as a stream.
 * @param {string} path
 * @param {(block: Buffer) => void} [look] is shown all that is read
 * @returns {Promise<IdentifiedFile>}
 */
export async function identifyFile(path, look = () => {}) {
  const state = stateOf(path);
  const hash = createHash('sha256');
  let bytes = 0;
  try {
    for await (const block of createReadStream(path, { highWaterMark: BLOCK })) {
      hash.update(block);
      bytes += block.length;
      look(block);
    }
  } catch (error) {
    throw no(`${path}: cannot be read: ${reasonOf(error)}`);
  }
  if (stateOf(path) !== state) throw no(`${path}: is being written`);
  return { path, name: basename(path), bytes, sha256: hash.digest('hex'), state };
}

/**
 * @param {IdentifiedFile[]} files
 * @returns {IdentifiedFile | undefined} one that is no longer what it was
 */
export const changedAmong = (files) => files.find(({ path, state }) => stateOf(path) !== state);
