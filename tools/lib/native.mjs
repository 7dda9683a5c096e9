// Questions to the native module, for the commands that need it.

import { sep } from 'node:path';
import { no } from './command_line.mjs';
import { realPathOf } from './files.mjs';

/** Why the approved-root test may fail although a file lies below the root. */
function explainRoot(message, root, paths, io) {
  if (!message.endsWith('outside the approved root')) return;
  if (/[^\0-\x7f]/.test([root, ...paths].map(realPathOf).join(''))) {
    io.err('klrx: hint: no path with a character beyond ASCII is inside a root; use another directory\n');
  } else if (realPathOf(root).endsWith(sep)) {
    io.err('klrx: hint: nothing is inside the root of a file system; use a directory below it\n');
  }
}

export async function askAddon(io, question, root, paths) {
  let addon;
  try {
    addon = await io.loadAddon();
  } catch (error) {
    throw no(`the native module cannot be loaded: ${error.message}`);
  }
  try {
    return question(addon);
  } catch (error) {
    explainRoot(error.message, root, paths, io);
    throw no(`${paths[0]}: ${error.message || 'its index document has a wrong name or encoding'}`);
  }
}
