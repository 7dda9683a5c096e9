// klrx verify: whether a manifest vouches for a pack.

import { dirname, resolve, sep } from 'node:path';
import { DONE, misuse, readArguments, readJson } from '../lib/command_line.mjs';
import { askAddon } from '../lib/native.mjs';

/** The deepest directory that holds all the paths. */
function commonDirectory(paths) {
  let directory = dirname(resolve(paths[0]));
  const holds = (path) => resolve(path).startsWith(directory.endsWith(sep) ? directory : directory + sep);
  while (!paths.every(holds)) directory = dirname(directory);
  return directory;
}

export async function verify(args, io) {
  const { values, positionals } = readArguments(args, {
    json: { type: 'boolean', default: false },
    root: { type: 'string' },
    'base-rule-set-id': { type: 'string' },
    'rule-set-id': { type: 'string' },
  });
  if (positionals.length !== 2) throw misuse('verify needs MANIFEST and PACK');
  const [manifestPath, packPath] = positionals;
  const allowedRoot = values.root ?? commonDirectory(positionals);
  const manifest = readJson(manifestPath);
  const baseRuleSetId = values['base-rule-set-id'] ?? manifest?.baseRuleSetId;
  const ruleSetId = values['rule-set-id'] ?? manifest?.ruleSetId;
  const options = { manifestPath, packPath, allowedRoot, baseRuleSetId, ruleSetId };
  const answer = await askAddon(io, (addon) => addon.verifySemanticDeltaManifest(options), allowedRoot, positionals);
  if (values.json) io.out(`${JSON.stringify(answer, null, 2)}\n`);
  else io.out(`${packPath}: signed patch from ${answer.baseRuleSetId} to ${answer.ruleSetId}, sha256 ${answer.packSha256}\n`);
  return DONE;
}
