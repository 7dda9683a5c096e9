// Questions to the native module, for the commands that need it.

import { existsSync } from 'node:fs';
import { sep } from 'node:path';
import { no } from './command_line.mjs';
import { realPathOf, reasonOf } from './files.mjs';

/** Why the approved-root test may fail although a file lies below the root. */
function hintAboutRoot(message, root, paths) {
  if (!message.endsWith('outside the approved root')) return undefined;
  if (/[^\0-\x7f]/.test([root, ...paths].map(realPathOf).join(''))) {
    return 'no path with a character beyond ASCII is inside a root; use another directory';
  }
  return realPathOf(root).endsWith(sep) ? 'nothing is inside the root of a file system; use a directory below it' : undefined;
}

/** What may help, by the end of the native module's message. */
const HINTS = {
  'extension is invalid': 'the name of a pack ends in .klrx',
  'authentication or decryption failed':
    'its bytes were changed, or it is sealed with a key that this build of the native module lacks (docs/trust.md)',
};

const hintAbout = (message) => Object.entries(HINTS).find(([end]) => message.endsWith(end))?.[1];

/**
 * The native module.
 * @param {import('./command_line.mjs').Io} io
 */
export async function loadAddon(io) {
  try {
    return await io.loadAddon();
  } catch (error) {
    throw no(`the native module cannot be loaded: ${error.message}`);
  }
}

/**
 * The module that explains answers.
 * @param {import('./command_line.mjs').Io} io
 * @returns {Promise<{ explainTitle: (options: object) => import('./explanation_text.mjs').Explanation }>}
 */
export async function loadExplainModule(io) {
  try {
    return await io.loadExplainModule();
  } catch (error) {
    throw no(`the module that explains cannot be loaded: ${error.message}`);
  }
}

/**
 * Asks a loaded module about files; its refusal is the answer.
 * @template T
 * @param {() => T} question
 * @param {string} root the approved root
 * @param {string[]} paths the files, the first of which names the answer
 * @param {(message: string) => { hint?: string, report?: Record<string, unknown> }} [explain] more about a refusal
 * @returns {T}
 */
export function ask(question, root, paths, explain = () => ({})) {
  try {
    return question();
  } catch (error) {
    const message = error.message || 'its index document has a wrong name or encoding';
    const hint = hintAboutRoot(message, root, paths) ?? hintAbout(message);
    // A file that is not there is outside every root.
    const missing = hint === undefined && message.endsWith('outside the approved root') && paths.find((path) => !existsSync(path));
    if (missing) throw no(`${missing}: cannot be read: ${reasonOf({ code: 'ENOENT' })}`);
    throw no(`${paths[0]}: ${message}`, { hint, ...explain(message) });
  }
}
