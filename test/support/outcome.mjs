// The outcome of a call, in a form that fits into a table.
import assert from 'node:assert/strict';

/** What a call throws, as "Kind: message"; "no error" if it returns. */
export function thrownBy(call) {
  try { call(); } catch (error) {
    return error instanceof Error ? `${error.constructor.name}: ${error.message}` : error;
  }
  return 'no error';
}

/** Values and order of properties, all the way down. */
export function assertSame(actual, expected, message) {
  assert.equal(JSON.stringify(actual, undefined, 1), JSON.stringify(expected, undefined, 1), message);
}
