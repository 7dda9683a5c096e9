// klrx inspect: what a pack is and holds, and that it is sound.

import { dirname, resolve } from 'node:path';
import { misuse, Refusal } from '../lib/command_line.mjs';
import { ask, loadAddon } from '../lib/native.mjs';
import { readPack } from '../lib/pack_reader.mjs';
import { columns, printable } from '../lib/terminal.mjs';
import { compactTerm } from '../lib/text.mjs';
import { isPublicKey, readTrust, TRUST } from '../lib/seal_options.mjs';

/** What the native module does not tell, because it needs none of it. */
function detailsOf(content, trust) {
  const { metadata, packBytes, storedBytes, payloadBytes, documents, sections, shards } = content;
  const indexRows = Object.values(sections).reduce((sum, rows) => sum + rows.length, 0);
  const rowsOf = ({ type, name, encoding }) => (type === 'semantic-index' ? indexRows
    : type === 'location-shard' && encoding === 2 ? shards.find((shard) => shard.name === name)?.rows.length : undefined);
  const documentBytes = documents.reduce((sum, { data }) => sum + data.length, 0);
  return {
    keyId: metadata.keyId,
    publicKey: isPublicKey(metadata.keyId, trust),
    compression: metadata.compression ?? '',
    storedBytes,
    payloadBytes,
    frameBytes: packBytes - storedBytes,
    compressionRatio: payloadBytes / storedBytes,
    namesAndDigestsBytes: payloadBytes - documentBytes,
    documents: documents.map((document) =>
      ({ name: document.name, type: document.type, encoding: document.encoding, bytes: document.data.length, rows: rowsOf(document) })),
  };
}

/** How the size of the file comes about, as a sum. */
function sizesText({ packBytes, ...details }) {
  const saved = details.storedBytes - details.payloadBytes;
  const rows = [
    ['documents', 'type', 'bytes', 'rows'],
    ...details.documents.map(({ name, type, bytes, rows: count }) => [`  ${name}`, type, String(bytes), String(count ?? '')]),
    ['  their names and digests', '', String(details.namesAndDigestsBytes), ''],
    ['payload', '', String(details.payloadBytes), ''],
    ...(saved === 0 ? [] : [['  compression', details.compression, String(saved), '']]),
    ['  header, metadata, tag', '', String(details.frameBytes), ''],
    ['file', '', String(packBytes), ''],
  ];
  return columns(rows, ['left', 'left', 'right', 'right']);
}

function packText(packPath, pack, details) {
  const { binaryIndex } = pack;
  const lines = [
    ['kind', pack.kind],
    ['rule set', pack.ruleSetId],
    ['base', pack.baseRuleSetId],
    ...(details ? [
      ['key', `${details.keyId}${details.publicKey ? ', which is public' : ''}`],
      ['compression', details.compression === '' ? 'none' : `${details.compression}, ${details.compressionRatio.toFixed(2)} to 1`],
    ] : []),
    ['size', `${pack.packBytes} bytes`],
    ['payload', `sha256 ${pack.payloadSha256}`],
    ['index', binaryIndex.version === 0 ? 'none' : `${binaryIndex.bytes} bytes, source documents: ${binaryIndex.sourceDocumentCount}`],
    ...Object.entries(binaryIndex.sectionCounts).map(([name, count]) => [`  ${name}`, `${count} rows`]),
  ];
  const sizes = details ? `\n${sizesText({ packBytes: pack.packBytes, ...details })}` : '';
  return `${packPath}: sound\n${columns(lines, ['left', 'left'])}${sizes}`;
}

/** The rows of a section. Those of the section "location" stand in the index and in the shards. */
function rowsOf(content, section, term) {
  const { sections, shards } = content;
  const shardRows = shards.flatMap(({ name, rows }) => rows.map((row) => ({ section: name, ...row })));
  const names = [...Object.keys(sections), ...shards.map(({ name }) => name)];
  if (!names.includes(section)) throw misuse(`--rows is ${names.join(', ')}, not ${section}`);
  const own = (sections[section] ?? []).map((row) => ({ section, ...row }));
  const rows = section === 'location' ? [...own, ...shardRows] : [...own, ...shardRows.filter((row) => row.section === section)];
  const wanted = rows.map(({ section: name, term: alias, fields }) => ({ section: name, term: alias, fields }));
  return term === undefined ? wanted : wanted.filter((row) => row.term === compactTerm(term));
}

const rowsText = (rows) =>
  rows.map(({ section, term, fields }) => `${[section, term, ...fields.map((field) => field.replaceAll('\x1e', '|'))].map(printable).join('\t')}\n`).join('');

/** @param {import('../lib/command_line.mjs').Call} call */
async function run({ values, positionals, io, warn }) {
  if (positionals.length !== 1) throw misuse('inspect needs one PACK');
  if (values.term !== undefined && values.rows === undefined) throw misuse('--term goes with --rows SECTION');
  const [packPath] = positionals;
  const trust = readTrust(values.trust);
  if (values.rows !== undefined) {
    const rows = rowsOf(readPack(packPath, trust), values.rows, values.term);
    if (rows.length === 0 && values.term !== undefined) warn(`no row of ${values.rows} has the term ${JSON.stringify(values.term)}`);
    return { report: { rows }, text: rowsText(rows) };
  }
  const allowedRoot = values.root ?? dirname(resolve(packPath));
  const addon = await loadAddon(io);
  const pack = ask(() => addon.inspectRulePack({ packPath, allowedRoot }), allowedRoot, [packPath]);
  let details;
  try {
    details = detailsOf(readPack(packPath, trust), trust);
  } catch (error) {
    // The native module has keys of its own, so it may open what the trust file does not.
    if (!(error instanceof Refusal)) throw error;
    warn(`its documents are not shown: ${error.message}`);
  }
  return { report: { ...pack, ...details }, text: packText(packPath, pack, details) };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const inspect = {
  summary: 'show what a pack is and holds, and prove that it is sound',
  usage: 'PACK [options]',
  about: 'With --rows it prints rows instead, a line each: section, term and fields, separated by tabs; tags by "|".',
  options: {
    rows: { type: 'string', value: 'SECTION', help: 'scene, human, celebrity, location, facet or the name of a shard' },
    term: { type: 'string', value: 'T', help: 'only rows of this term; it is folded first' },
    root: { type: 'string', value: 'DIR', help: 'the approved root; by default the directory that holds the pack' },
    ...TRUST,
  },
  examples: [
    ['what a pack is, and where its bytes are', 'klrx inspect mine.klrx'],
    ['the rows of one alias', 'klrx inspect mine.klrx --rows scene --term 火锅'],
  ],
  run,
};
