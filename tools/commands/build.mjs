// klrx build: sources into a sealed pack.

import { basename, extname } from 'node:path';
import { buildBinaryIndex, INDEX_DOCUMENT_NAME } from '../lib/binary_index.mjs';
import { attempt, choiceOf, countOf, misuse, no, readJson } from '../lib/command_line.mjs';
import { readText, realPathOf } from '../lib/files.mjs';
import { createFindings, findingRecord, formatFinding } from '../lib/findings.mjs';
import { compileLexicons } from '../lib/lexicon.mjs';
import { checkOutput, FORCE, writeOutput } from '../lib/output.mjs';
import { buildPack, LZ4_COMPRESSION } from '../lib/pack_file.mjs';
import { compilePlaces } from '../lib/places.mjs';
import { developmentTrustFile } from '../lib/trust.mjs';

const MAX_PACK_BYTES = 128 * 1024 * 1024;
const MAX_DOCUMENTS = 512;

function requireId(name, value) {
  if (!/^[A-Za-z0-9._-]{1,96}$/.test(value)) {
    throw misuse(`${name} ${JSON.stringify(value)} is not 1 to 96 of the letters, digits, "-", "." and "_"`);
  }
}

/** The options of a build, checked completely before anything is read. */
function readOptions({ values, positionals: sources }) {
  const { out, nonce } = values;
  if (sources.length === 0) throw misuse('build needs at least one source');
  if (out === undefined) throw misuse('build needs --out PACK');
  if (extname(out) !== '.klrx') throw misuse(`${out} does not end in .klrx`);
  const kind = choiceOf('kind', values.kind, ['base', 'patch']);
  const keyId = choiceOf('key', values.key, ['test-v1', 'release-v1']);
  const ruleSetId = values['rule-set-id'] ?? basename(out, '.klrx');
  requireId('the rule set id', ruleSetId);
  if (kind === 'patch' && values['base-rule-set-id'] === undefined) throw misuse('a patch needs --base-rule-set-id ID');
  const baseRuleSetId = values['base-rule-set-id'] ?? ruleSetId;
  requireId('the base rule set id', baseRuleSetId);
  if (nonce !== undefined && !/^[0-9a-fA-F]{24}$/.test(nonce)) throw misuse('--nonce is not 24 hexadecimal digits');
  for (const source of sources) {
    if (!/\.(json|tsv)$/i.test(source)) throw misuse(`${source} is no .json or .tsv source`);
  }
  if (new Set(sources.map(realPathOf)).size < sources.length) throw misuse('a source is given twice');
  checkOutput(out, { inputs: sources, force: values.force });
  const nonceBytes = nonce === undefined ? undefined : Buffer.from(nonce, 'hex');
  return { ...values, sources, out, kind, keyId, ruleSetId, baseRuleSetId, nonce: nonceBytes };
}

function readTrust(path) {
  const trust = readJson(path);
  if (!trust?.packKeys) throw no(`${path}: is no trust file`);
  return trust;
}

/** Reads and compiles all sources; gives up only after every finding was made. */
function compileSources(paths, kind) {
  const lexicons = [];
  const places = [];
  const unread = createFindings();
  for (const path of paths) {
    const source = { path, text: '' };
    try {
      source.text = readText(path);
      if (extname(path).toLowerCase() === '.json') lexicons.push(source);
      else places.push(source);
    } catch (error) {
      unread.error(source, 0, `the source ${error.message}`);
    }
  }
  const lexicon = compileLexicons(lexicons, { kind, complete: unread.list.length === 0 });
  const shards = places.map(compilePlaces);
  const findings = [unread.list, ...[lexicon, ...shards].map((result) => result.findings)].flat();
  const order = new Map(paths.map((path, index) => [path, index]));
  findings.sort((a, b) => order.get(a.source.path) - order.get(b.source.path) || a.offset - b.offset);
  const said = findings.map((finding) => `${formatFinding(finding)}\n`).join('');
  const records = findings.map(findingRecord);
  const errors = findings.filter((finding) => !finding.warning).length;
  if (errors > 0) throw no(`${countOf(errors, 'error')}, nothing written`, { said, report: { findings: records } });

  const sections = lexicons.length > 0 ? lexicon.sections : undefined;
  return { sections, lexiconCount: lexicons.length, shards, said, findings: records };
}

function documentsOf({ sections, lexiconCount, shards }) {
  const index = sections && {
    type: 'semantic-index',
    name: INDEX_DOCUMENT_NAME,
    data: buildBinaryIndex({ sections, sourceDocumentCount: lexiconCount }),
  };
  const shardDocuments = shards.map(({ name, data }) => ({ type: 'location-shard', name, data }));
  return index ? [index, ...shardDocuments] : shardDocuments;
}

/** @param {import('../lib/command_line.mjs').Call} call */
function run(call) {
  const options = readOptions(call);
  const { sources, out, kind, keyId, ruleSetId, baseRuleSetId, nonce } = options;
  const trust = options.trust === undefined ? developmentTrustFile : readTrust(options.trust);
  if (keyId === 'release-v1' && trust.name === developmentTrustFile.name) {
    call.warn('release-v1 of the development trust file is public; give the release one with --trust');
  }
  call.progress(`compiling ${countOf(sources.length, 'source')}`);
  const compiled = compileSources(sources, kind);
  if (!options.json) call.io.err(compiled.said);
  const documents = documentsOf(compiled);
  if (documents.length > MAX_DOCUMENTS) throw no(`${documents.length} documents are more than the ${MAX_DOCUMENTS} of a pack`);
  const compression = options.compress ? LZ4_COMPRESSION : undefined;
  const pack = attempt(out, () =>
    buildPack({ kind, ruleSetId, baseRuleSetId, keyId, documents, compression, nonce, trust }),
  );
  if (pack.length > MAX_PACK_BYTES) throw no(`${out}: ${pack.length} bytes are more than the ${MAX_PACK_BYTES} of a pack`);
  writeOutput(out, pack, options);

  const rows = Object.fromEntries((compiled.sections ?? []).map((section) => [section.type, section.rows.length]));
  const shards = Object.fromEntries(compiled.shards.map((shard) => [shard.name, shard.rowCount]));
  const counts = Object.entries({ ...rows, ...shards });
  const width = Math.max(...counts.map(([name]) => name.length));
  const lines = counts.map(([name, count]) => `  ${name.padEnd(width)}  ${countOf(count, 'row')}\n`);
  return {
    report: { pack: out, packBytes: pack.length, kind, ruleSetId, baseRuleSetId, rows, shards, findings: compiled.findings },
    text: `${out}: ${kind} ${ruleSetId}, ${pack.length} bytes\n${lines.join('')}`,
  };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const build = {
  summary: 'compile sources into a sealed pack',
  usage: 'SOURCE... --out PACK [options]',
  about: 'A source is a lexicon (*.json: categories, shortTitleOverrides, compoundOverrides, conflictOverrides, humans, '
    + 'celebrities, locations, facets) or a table of places (location-NAME.tsv: alias, code, lang, weight, label, '
    + 'countryLabel).',
  options: {
    out: { type: 'string', value: 'PACK', help: 'the pack to write, *.klrx' },
    ...FORCE,
    'rule-set-id': { type: 'string', value: 'ID', help: 'its rule set; the pack\'s name without .klrx by default' },
    'base-rule-set-id': { type: 'string', value: 'ID', help: 'the rule set that it builds on; needed for a patch' },
    kind: { type: 'string', value: 'KIND', default: 'base', help: 'base (default) or patch' },
    key: { type: 'string', value: 'ID', default: 'test-v1', help: 'test-v1 (default) or release-v1' },
    compress: { type: 'boolean', help: 'store the payload as an LZ4 block' },
    trust: { type: 'string', value: 'FILE', help: 'the trust file with the keys; the development keys by default' },
    nonce: { type: 'string', value: 'HEX', help: '12 bytes, so that equal sources give equal bytes; never use one for two payloads' },
  },
  examples: [
    ['a lexicon and a table of places', 'klrx build lexicon.json location-eu.tsv --out mine.klrx'],
    ['a patch for it', 'klrx build patch.json --kind patch --base-rule-set-id mine --out patch.klrx'],
  ],
  run,
};
