// klrx unpack: a pack back to sources.

import { join } from 'node:path';
import { attempt, countOf, misuse, no } from '../lib/command_line.mjs';
import { decompile } from '../lib/decompile.mjs';
import { isDirectory, makeDirectory, namesIn } from '../lib/files.mjs';
import { checkOutput, FORCE, writeOutput } from '../lib/output.mjs';
import { LZ4_COMPRESSION } from '../lib/pack_file.mjs';
import { readPack } from '../lib/pack_reader.mjs';
import { readTrust, TRUST } from '../lib/seal_options.mjs';

/** The command line that makes the pack again. */
function rebuildLine({ metadata }, { files, needsBase }, directory) {
  const names = files.map(({ name }) => name);
  const sorted = [...names].sort((a, b) => Buffer.compare(Buffer.from(a), Buffer.from(b)));
  const sources = names.join() === sorted.join() ? [directory] : names.map((name) => join(directory, name));
  const base = needsBase ? '--base BASE.klrx' : `--base-rule-set-id ${metadata.baseRuleSetId}`;
  const kind = metadata.kind === 'patch' ? ['--kind patch', base] : [];
  const compress = metadata.compression === LZ4_COMPRESSION ? ['--compress'] : [];
  return ['klrx build', ...sources, ...kind, `--rule-set-id ${metadata.ruleSetId}`, `--key ${metadata.keyId}`, ...compress, '--out PACK']
    .join(' ');
}

/** @param {import('../lib/command_line.mjs').Call} call */
function run({ values, positionals, warn }) {
  if (positionals.length !== 2) throw misuse('unpack needs PACK and DIR');
  const [packPath, directory] = positionals;
  if (!values.force && isDirectory(directory) && namesIn(directory).length > 0) {
    throw no(`${directory}: is not empty`, { hint: '--force writes into it' });
  }
  const pack = readPack(packPath, readTrust(values.trust));
  const sources = attempt(packPath, () => decompile(pack));
  for (const name of sources.left) warn(`the document ${name} is left out: no source makes it`);
  const files = sources.files.map(({ name, text }) => ({ path: join(directory, name), text }));
  for (const { path } of files) checkOutput(path, { inputs: [packPath], force: values.force });
  attempt(directory, () => makeDirectory(directory));
  for (const { path, text } of files) writeOutput(path, text, values);
  const paths = files.map(({ path }) => path);
  const rebuild = rebuildLine(pack, sources, directory);
  return {
    report: { pack: packPath, files: paths, rebuild },
    text: `${directory}: ${countOf(files.length, 'source')} with the rows of ${packPath}\n`
      + `${paths.map((path) => `  ${path}\n`).join('')}to make the pack again: ${rebuild}\n`,
  };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const unpack = {
  summary: 'write the sources that make a pack',
  usage: 'PACK DIR [options]',
  about: 'Building the sources gives the same rows in the same order. Aliases are written as the pack has them, folded: '
    + 'in lower case and without blanks.',
  options: { ...FORCE, ...TRUST },
  examples: [['into a new folder', 'klrx unpack mine.klrx sources']],
  run,
};
