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

/** What a call, [function, ...arguments], comes to. It is made at once; only a promise is waited for. */
export async function outcomeOf(addon, [name, ...args]) {
  let promise = false;
  try {
    const value = addon[name](...args);
    promise = value instanceof Promise;
    return { [promise ? 'resolves' : 'gives']: await value };
  } catch (error) {
    return { [promise ? 'rejects' : 'throws']: `${error.constructor.name}: ${error.message}` };
  }
}

/** For JSON.stringify: what JSON has no words for, in words. */
export const spelled = (_, value) => {
  const silent = value === undefined || (typeof value === 'number' && (!Number.isFinite(value) || Object.is(value, -0)));
  return silent ? `$${Object.is(value, -0) ? '-0' : value}` : value;
};
