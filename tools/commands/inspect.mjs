// klrx inspect: what a pack is, and that it is sound.

import { dirname, resolve } from 'node:path';
import { misuse } from '../lib/command_line.mjs';
import { ask, loadAddon } from '../lib/native.mjs';

/** @param {import('../lib/command_line.mjs').Call} call */
async function run({ values, positionals, io }) {
  if (positionals.length !== 1) throw misuse('inspect needs one PACK');
  const [packPath] = positionals;
  const allowedRoot = values.root ?? dirname(resolve(packPath));
  const addon = await loadAddon(io);
  const pack = ask(() => addon.inspectRulePack({ packPath, allowedRoot }), allowedRoot, [packPath]);
  const { binaryIndex } = pack;
  const lines = [
    ['kind', pack.kind],
    ['rule set', pack.ruleSetId],
    ['base', pack.baseRuleSetId],
    ['size', `${pack.packBytes} bytes`],
    ['payload', `sha256 ${pack.payloadSha256}`],
    ['documents', String(pack.documentCount)],
    ...Object.entries(pack.documentCounts).map(([name, count]) => [`  ${name}`, String(count)]),
    ['index', binaryIndex.version === 0 ? 'none' : `${binaryIndex.bytes} bytes, source documents: ${binaryIndex.sourceDocumentCount}`],
    ...Object.entries(binaryIndex.sectionCounts).map(([name, count]) => [`  ${name}`, `${count} rows`]),
  ];
  const width = Math.max(...lines.map(([name]) => name.length));
  const text = lines.map(([name, value]) => `${name.padEnd(width)}  ${value}\n`).join('');
  return { report: pack, text: `${packPath}: sound\n${text}` };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const inspect = {
  summary: 'show what a pack is, and prove that it is sound',
  usage: 'PACK [options]',
  options: {
    root: { type: 'string', value: 'DIR', help: 'the approved root; by default the directory that holds the pack' },
  },
  examples: [['what a pack is', 'klrx inspect mine.klrx']],
  run,
};
