// klrx verify: whether a manifest vouches for a pack.

import { dirname, resolve, sep } from 'node:path';
import { attempt, misuse, readJson } from '../lib/command_line.mjs';
import { readBytes } from '../lib/files.mjs';
import { ask, loadAddon } from '../lib/native.mjs';
import { readPackMetadata } from '../lib/pack_file.mjs';
import { explainRefusal } from '../lib/refused_manifest.mjs';

/** The deepest directory that holds all the paths. */
function commonDirectory(paths) {
  let directory = dirname(resolve(paths[0]));
  const holds = (path) => resolve(path).startsWith(directory.endsWith(sep) ? directory : directory + sep);
  while (!paths.every(holds)) directory = dirname(directory);
  return directory;
}

/** The rule set that a pack says it is. */
function ruleSetOf(path) {
  return path === undefined ? undefined : attempt(path, () => readPackMetadata(readBytes(path)).ruleSetId);
}

/** @param {import('../lib/command_line.mjs').Call} call */
async function run({ values, positionals, io }) {
  if (positionals.length !== 2) throw misuse('verify needs MANIFEST and PACK');
  const [manifestPath, packPath] = positionals;
  if (manifestPath.endsWith('.klrx') && !packPath.endsWith('.klrx')) throw misuse('verify needs the MANIFEST first, and then the PACK');
  const allowedRoot = values.root ?? commonDirectory(positionals);
  const manifest = readJson(manifestPath);
  const baseRuleSetId = values['base-rule-set-id'] ?? ruleSetOf(values.base) ?? manifest?.baseRuleSetId;
  const ruleSetId = values['rule-set-id'] ?? manifest?.ruleSetId;
  const options = { manifestPath, packPath, allowedRoot, baseRuleSetId, ruleSetId };
  const addon = await loadAddon(io);
  const answer = ask(() => addon.verifySemanticDeltaManifest(options), allowedRoot, positionals,
    (message) => explainRefusal(message, { manifest, packPath, baseRuleSetId, ruleSetId }));
  const joins = `from ${answer.baseRuleSetId} to ${answer.ruleSetId}`;
  return { report: answer, text: `${packPath}: signed patch ${joins}, sha256 ${answer.packSha256}\n` };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const verify = {
  summary: 'say whether a manifest vouches for a pack',
  usage: 'MANIFEST PACK [options]',
  about: 'A refusal names the check that failed: the words of the native module, and a hint with the field.',
  options: {
    root: { type: 'string', value: 'DIR', help: 'the approved root; by default the directory that holds both files' },
    base: { type: 'string', value: 'PACK', help: 'the base that the patch has to be for' },
    'base-rule-set-id': { type: 'string', value: 'ID', help: 'the expected base; that of the manifest by default' },
    'rule-set-id': { type: 'string', value: 'ID', help: 'the expected rule set; that of the manifest by default' },
  },
  examples: [
    ['whether a patch may be trusted', 'klrx verify patch.klrx.manifest.json patch.klrx'],
    ['and whether it is for this base', 'klrx verify patch.klrx.manifest.json patch.klrx --base mine.klrx'],
  ],
  run,
};
