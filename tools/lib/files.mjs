// Files in and out of the command.

import { closeSync, fsyncSync, openSync, readFileSync, realpathSync, renameSync, rmSync, statSync, writeSync } from 'node:fs';
import { basename, dirname, join, resolve } from 'node:path';

const REASONS = {
  EACCES: 'permission denied',
  EBUSY: 'it is in use',
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
 * The text of a UTF-8 file; a byte order mark is dropped.
 * @throws {Error} with a reason in words
 */
export function readText(path) {
  let bytes;
  try {
    bytes = readFileSync(path);
  } catch (error) {
    throw new Error(`cannot be read: ${reasonOf(error)}`, { cause: error });
  }
  try {
    return new TextDecoder('utf-8', { fatal: true }).decode(bytes);
  } catch (error) {
    throw new Error('is not UTF-8 text', { cause: error });
  }
}

/**
 * Writes a file as a whole or not at all: to a new file beside it, which then takes its name.
 * @throws {Error} with a reason in words
 */
export function writeWhole(path, content) {
  const temporary = join(dirname(path), `.${basename(path)}.${process.pid}.tmp`);
  let created = false;
  try {
    const file = openSync(temporary, 'wx', 0o666);
    created = true;
    try {
      const bytes = Buffer.from(content);
      for (let done = 0; done < bytes.length; ) done += writeSync(file, bytes, done);
      fsyncSync(file);
    } finally {
      closeSync(file);
    }
    renameSync(temporary, path);
  } catch (error) {
    if (created) rmSync(temporary, { force: true });
    // What it means to take the name of a directory, Windows says with a code that stands for much else.
    const isDirectory = statSync(path, { throwIfNoEntry: false })?.isDirectory();
    throw new Error(`cannot be written: ${isDirectory ? REASONS.EISDIR : reasonOf(error)}`, { cause: error });
  }
}
