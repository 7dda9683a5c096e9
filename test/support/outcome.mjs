// The outcome of a call, in a form that fits into a table.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';

import { addon } from './addon.mjs';
import { writeAt, writeFile, packBytes } from './packs.mjs';

/** What a call throws, as "Kind: message"; "no error" if it returns. */
export function thrownBy(call) {
  try { call(); } catch (error) { return error instanceof Error ? `${error.constructor.name}: ${error.message}` : error; }
  return 'no error';
}

/** Each required option is read in this order, must be a string and must not be empty. */
export function assertRequiredOptions(name, required, good) {
  for (const [i, key] of required.entries()) {
    // Options before this one are good and those after it are wrong too: the first that fails is reported.
    const options = { ...good, ...Object.fromEntries(required.slice(i).map((later) => [later, 7])) };
    assert.equal(thrownBy(() => addon[name](options)), `TypeError: semantic native option is missing: ${key}`);
    assert.equal(thrownBy(() => addon[name]({ ...options, [key]: '' })), `TypeError: semantic native option is empty: ${key}`);
  }
}

/** Values and order of properties, all the way down. */
export function assertSame(actual, expected, message) {
  assert.equal(JSON.stringify(actual, undefined, 1), JSON.stringify(expected, undefined, 1), message);
}

/** A pack under a fixed last-write time, so that `spoil` can change it behind the cache's back. */
export function writeStamped(recipe, name) {
  const path = writeFile('', name);
  writeAt(path, packBytes(recipe));
  return path;
}

/** Overwrites a file with as many other bytes and the same time: only a slot that holds the pack still knows its rows. */
export function spoil(path) {
  writeAt(path, Buffer.alloc(readFileSync(path).length));
}
