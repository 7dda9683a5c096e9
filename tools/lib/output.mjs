// The one way in which a command writes a file: never over what it reads, and over another file only if told so.

import { existsSync } from 'node:fs';
import { attempt, misuse, no } from './command_line.mjs';
import { isDirectory, realPathOf, writeWhole } from './files.mjs';

/** The option of every command that writes files. @satisfies {Record<string, import('./command_line.mjs').Option>} */
export const FORCE = Object.freeze({ force: { type: 'boolean', help: 'overwrite what is there' } });

/**
 * Says no before any work is done. `writeOutput` asks again when it writes.
 * @param {string} path
 * @param {{ inputs?: string[], force?: boolean }} options
 */
export function checkOutput(path, { inputs = [], force = false }) {
  const real = realPathOf(path);
  if (inputs.some((input) => realPathOf(input) === real)) throw misuse(`${path} is an input and the output`);
  if (isDirectory(path)) throw no(`${path}: cannot be written: it is a directory`);
  if (!force && existsSync(path)) throw no(`${path}: exists already`, { hint: '--force overwrites it' });
}

/**
 * @param {string} path
 * @param {string | Uint8Array | Iterable<Uint8Array>} content as a whole or in pieces
 * @param {{ force?: boolean, mode?: number, folder?: string }} options of `writeWhole`
 */
export function writeOutput(path, content, options) {
  attempt(path, () => writeWhole(path, content, options));
}
