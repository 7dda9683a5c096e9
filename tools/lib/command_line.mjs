// What the commands of klrx share: the record that a command is, its exit status, and how it ends early.

import { parseArgs } from 'node:util';
import { readText } from './files.mjs';

/**
 * What a command needs from outside. It is a parameter so that tests can pass their own.
 * @typedef {object} Io
 * @property {(text: string) => unknown} out standard output; what it returns is awaited, and false says that nobody reads
 *   any more
 * @property {(text: string) => unknown} err standard error
 * @property {() => Promise<typeof import('../../lib/index.cjs')>} loadAddon the native module
 * @property {string} [addonUrl] the same as a module with a default export, for worker threads
 * @property {() => Promise<any>} loadExplainModule the one that explains
 * @property {() => Promise<import('./queue.mjs').QueueTools>} loadQueueTools packages that need not be installed
 * @property {(url: string) => Promise<unknown>} untilStopped until the user ends a server or worker at this address
 * @property {AsyncIterable<Uint8Array>} [input] standard input
 * @property {boolean} [fromKeyboard] whether that is a terminal, at which somebody sits and waits
 * @property {boolean} [terminal] whether standard error is a terminal, which alone is shown progress
 * @property {number} [columns] width of the terminal that standard output is, if it is one
 * @property {boolean} [colors] whether standard output may be coloured
 */

/**
 * An option as `parseArgs` of node:util takes it, and what the help says of it.
 * @typedef {object} Option
 * @property {'string' | 'boolean'} type
 * @property {string} help
 * @property {string} [value] what stands after it, for the help; of the type "string" alone
 * @property {string} [default]
 * @property {boolean} [multiple]
 */

/**
 * One run of a command.
 * @typedef {object} Call
 * @property {any} values the options by name
 * @property {string[]} positionals
 * @property {Io} io
 * @property {(message: string) => void} warn
 * @property {(text: string) => void} tell lines on standard error as they are
 * @property {(text: string) => Promise<boolean>} print results that come bit by bit; false if nobody reads any more
 * @property {(text: string) => void} progress replaces what it said before; heard on a terminal only
 */

/**
 * What a command comes to. With --json the report is printed, else the text.
 * @typedef {object} Outcome
 * @property {object} report
 * @property {string} text ends with a line feed unless it is empty
 * @property {number} [status] 0 by default
 */

/**
 * @typedef {object} Command
 * @property {string} summary one line
 * @property {string} usage what stands after the command's name
 * @property {string} [about] paragraphs for its help
 * @property {Record<string, Option>} options without those that every command has
 * @property {[what: string, line: string][]} examples command lines that work, in this order
 * @property {(call: Call) => Outcome | Promise<Outcome>} run
 */

export const DONE = 0;
export const ANSWER_IS_NO = 1;
export const WRONG_USAGE = 2;

/** Ends a command with a message and a status. */
export class Refusal extends Error {
  /**
   * @param {number} status
   * @param {string} message lower case, without full stop
   * @param {{ hint?: string, report?: Record<string, unknown>, said?: string }} [more] `hint`: what may help; `report`:
   *   more for --json; `said`: lines that stand before the message otherwise
   */
  constructor(status, message, { hint, report = {}, said = '' } = {}) {
    super(message);
    this.status = status;
    this.hint = hint;
    this.report = report;
    this.said = said;
  }
}

/** @param {string} message */
export const misuse = (message) => new Refusal(WRONG_USAGE, message);
/**
 * @param {string} message
 * @param {ConstructorParameters<typeof Refusal>[2]} [more]
 */
export const no = (message, more) => new Refusal(ANSWER_IS_NO, message, more);

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
    if (error instanceof Refusal) throw error;
    throw no(`${path}: ${error.message}`);
  }
}

/**
 * The arguments after a command's name.
 * @param {string[]} args
 * @param {Record<string, Option>} options
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
 * @template {string} Choice
 * @param {string} name
 * @param {string} value
 * @param {readonly Choice[]} choices
 */
export function choiceOf(name, value, choices) {
  const choice = choices.find((one) => one === value);
  if (choice === undefined) throw misuse(`--${name} is ${choices.join(' or ')}, not ${value}`);
  return choice;
}

/**
 * @param {string} name of an option
 * @param {string} text
 * @param {number} most the least is 1
 */
export function readCount(name, text, most) {
  const count = /^[1-9][0-9]*$/.test(text) ? Number(text) : 0;
  if (count < 1 || count > most) throw misuse(`--${name} is a number from 1 to ${most}, not ${text}`);
  return count;
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

/** "1 row", "2 rows". */
export const countOf = (count, noun, plural = `${noun}s`) => `${count} ${count === 1 ? noun : plural}`;
