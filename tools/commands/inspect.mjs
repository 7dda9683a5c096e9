// klrx inspect: what a pack is, and that it is sound.

import { dirname, resolve } from 'node:path';
import { DONE, misuse, readArguments } from '../lib/command_line.mjs';
import { askAddon } from '../lib/native.mjs';

export async function inspect(args, io) {
  const { values, positionals } = readArguments(args, {
    json: { type: 'boolean', default: false },
    root: { type: 'string' },
  });
  if (positionals.length !== 1) throw misuse('inspect needs one PACK');
  const [packPath] = positionals;
  const allowedRoot = values.root ?? dirname(resolve(packPath));
  const pack = await askAddon(io, (addon) => addon.inspectRulePack({ packPath, allowedRoot }), allowedRoot, [packPath]);
  if (values.json) {
    io.out(`${JSON.stringify(pack, null, 2)}\n`);
    return DONE;
  }
  const { binaryIndex } = pack;
  const lines = [
    ['kind', pack.kind],
    ['rule set', pack.ruleSetId],
    ['base', pack.baseRuleSetId],
    ['size', `${pack.packBytes} bytes`],
    ['payload', `sha256 ${pack.payloadSha256}`],
    ['documents', pack.documentCount],
    ...Object.entries(pack.documentCounts).map(([name, count]) => [`  ${name}`, count]),
    ['index', binaryIndex.version === 0 ? 'none' : `${binaryIndex.bytes} bytes, source documents: ${binaryIndex.sourceDocumentCount}`],
    ...Object.entries(binaryIndex.sectionCounts).map(([name, count]) => [`  ${name}`, `${count} rows`]),
  ];
  const width = Math.max(...lines.map(([name]) => name.length));
  io.out(`${packPath}: sound\n`);
  for (const [name, value] of lines) io.out(`${name.padEnd(width)}  ${value}\n`);
  return DONE;
}
