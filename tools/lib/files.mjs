// Files in and out of the command.

import {
  closeSync, existsSync, fsyncSync, linkSync, mkdirSync, openSync, readdirSync, readFileSync, realpathSync, renameSync,
  rmSync, statSync, writeSync,
} from 'node:fs';
import { basename, dirname, join, resolve } from 'node:path';

const REASONS = {
  EACCES: 'permission denied',
  EBUSY: 'it is in use',
  EEXIST: 'it exists already',
  EISDIR: 'it is a directory',
  ENOENT: 'no such file or directory',
  ENOSPC: 'no space left',
  ENOTDIR: 'a part of the path is no directory',
  EPERM: 'it is protected or in use',
  EROFS: 'the file system is read-only',
};

/** A file system error in words. */
export function reasonOf(error) {
  return REASONS[error.code] ?? error.code ?? error.message;
}

/** The path with the links of its existing part resolved, so that two names of one file compare equal. */
export function realPathOf(path) {
  try {
    return realpathSync(path);
  } catch {
    const directory = dirname(resolve(path));
    return directory === resolve(path) ? directory : join(realPathOf(directory), basename(path));
  }
}

/**
 * The content of a file.
 * @throws {Error} with a reason in words
 */
export function readBytes(path) {
  try {
    return readFileSync(path);
  } catch (error) {
    throw new Error(`cannot be read: ${reasonOf(error)}`, { cause: error });
  }
}

/**
 * The text of a UTF-8 file; a byte order mark is dropped.
 * @throws {Error} with a reason in words
 */
export function readText(path) {
  const bytes = readBytes(path);
  try {
    return new TextDecoder('utf-8', { fatal: true }).decode(bytes);
  } catch (error) {
    throw new Error('is not UTF-8 text', { cause: error });
  }
}

/** Whether there is a directory of this name. */
export const isDirectory = (path) => statSync(path, { throwIfNoEntry: false })?.isDirectory() ?? false;

/** The names in a directory, in the order of their bytes, so that it does not depend on the file system or the language. */
export const namesIn = (directory) => readdirSync(directory).sort((a, b) => Buffer.compare(Buffer.from(a), Buffer.from(b)));

/** Makes a directory and those above it. */
export function makeDirectory(path) {
  try {
    mkdirSync(path, { recursive: true });
  } catch (error) {
    throw new Error(`cannot be made: ${reasonOf(error)}`, { cause: error });
  }
}

/**
 * Gives a finished file its name. Only a link is refused by the system if the name is taken; where there are no links, a
 * file that another process makes between the two steps is lost.
 */
function takeName(temporary, path, force) {
  if (!force) {
    try {
      linkSync(temporary, path);
      rmSync(temporary);
      return;
    } catch (error) {
      if (error.code === 'EEXIST' || existsSync(path)) throw error;
    }
  }
  renameSync(temporary, path);
}

/**
 * Writes a file as a whole or not at all: to a new file, which then takes its name.
 * @param {string} path
 * @param {string | Uint8Array | Iterable<Uint8Array>} content as a whole or in pieces
 * @param {{ force?: boolean, mode?: number, folder?: string, flush?: boolean }} [options] `force`: over a file of that name
 *   too; `mode`: its permissions; `folder`: where the new file is made, on the same file system, by default beside the other;
 *   `flush`: whether the file gets its name only when the disk has it, by default yes
 * @throws {Error} with a reason in words
 */
export function writeWhole(path, content, { force = false, mode = 0o666, folder = dirname(path), flush = true } = {}) {
  const temporary = join(folder, `.${basename(path)}.${process.pid}.tmp`);
  let created = false;
  try {
    const file = openSync(temporary, 'wx', mode);
    created = true;
    try {
      for (const piece of typeof content === 'string' ? [Buffer.from(content)] : content instanceof Uint8Array ? [content] : content) {
        for (let done = 0; done < piece.length; ) done += writeSync(file, piece, done);
      }
      if (flush) fsyncSync(file);
    } finally {
      closeSync(file);
    }
    takeName(temporary, path, force);
  } catch (error) {
    if (created) rmSync(temporary, { force: true });
    // What it means to take the name of a directory, Windows says with a code that stands for much else.
    throw new Error(`cannot be written: ${isDirectory(path) ? REASONS.EISDIR : reasonOf(error)}`, { cause: error });
  }
}
