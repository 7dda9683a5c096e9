// What can't be tested on every platform, each with the reason that a skipped test gives; false where it can be.
import { lstatSync, rmSync, symlinkSync } from 'node:fs';
import { join } from 'node:path';

import { root } from './packs.mjs';

export const isWindows = process.platform === 'win32';

/** Wine says that it has made a link, and there is none. On Windows it takes a right that few have. */
function makesLinks() {
  const path = join(root, 'link');
  try {
    symlinkSync('nowhere', path);
    return lstatSync(path).isSymbolicLink();
  } catch {
    return false;
  } finally {
    rmSync(path, { force: true });
  }
}

export const noLinks = isWindows && !makesLinks() && 'no links can be made here';
export const noPipes = isWindows && 'no pipe lies in a folder on Windows';
export const noUsers = isWindows && 'no process becomes another user on Windows';
export const noCase = isWindows && 'names are not told apart by their case on Windows';
export const noFileLimit = isWindows && 'no limit of open files can be set on Windows';
export const noQuotedNames = isWindows && 'no name holds a quotation mark on Windows';
export const noCMake = isWindows && 'CMake is run where the module is built';
export const noNpm = isWindows && 'npm and tar are run where the package is made';
export const noElf = process.platform !== 'linux' && 'the module is no ELF file';
export const noWindowsPaths = !isWindows && 'paths are not those of Windows';
export const noLongPaths = noWindowsPaths || (process.env.CORVENDA_TEST_WINE && 'this Wine can\'t tell where a file of so long a path lies');
export const noPe = !isWindows && 'the module is no PE file';
