// What the commands of klrx share: their exit status, how they end early, and how they read their arguments.

import { parseArgs } from 'node:util';
import { readText, realPathOf } from './files.mjs';

/**
 * What a command needs from outside. It is a parameter so that tests can pass their own.
 * @typedef {object} Io
 * @property {(text: string) => unknown} out standard output
 * @property {(text: string) => unknown} err standard error
 * @property {() => Promise<typeof import('../../lib/index.cjs')>} loadAddon the native module
 * @property {boolean} [terminal] whether standard error is a terminal, which alone is shown progress
 */

export const DONE = 0;
export const ANSWER_IS_NO = 1;
export const WRONG_USAGE = 2;

/** Ends a command with a message and a status. */
export class Refusal extends Error {
  /**
   * @param {number} status
   * @param {string} message
   */
  constructor(status, message) {
    super(message);
    this.status = status;
  }
}

/** @param {string} message */
export const misuse = (message) => new Refusal(WRONG_USAGE, message);
/** @param {string} message */
export const no = (message) => new Refusal(ANSWER_IS_NO, message);

/**
 * A step whose failure is the answer, reported with the file that it is about.
 * @template T
 * @param {string} path
 * @param {() => T} step
 * @returns {T}
 */
export function attempt(path, step) {
  try {
    return step();
  } catch (error) {
    throw no(`${path}: ${error.message}`);
  }
}

/**
 * The arguments after a command's name.
 * @template {NonNullable<import('node:util').ParseArgsConfig['options']>} Options
 * @param {string[]} args
 * @param {Options} options as `parseArgs` of node:util takes them
 */
export function readArguments(args, options) {
  try {
    return parseArgs({ args, options, allowPositionals: true, strict: true });
  } catch (error) {
    const [sentence] = error.message.split(/\.(?:\s|$)/);
    throw misuse(sentence[0].toLowerCase() + sentence.slice(1));
  }
}

/**
 * @param {string} output
 * @param {string[]} inputs
 */
export function refuseSameFile(output, inputs) {
  const real = realPathOf(output);
  for (const input of inputs) {
    if (realPathOf(input) === real) throw misuse(`${output} is an input and the output`);
  }
}

/** @param {string} path */
export function readJson(path) {
  const text = attempt(path, () => readText(path));
  try {
    return JSON.parse(text);
  } catch {
    throw no(`${path}: is no JSON`);
  }
}
