// klrx build: sources into a sealed pack.

import { basename, extname } from 'node:path';
import { buildBinaryIndex, INDEX_DOCUMENT_NAME } from '../lib/binary_index.mjs';
import { attempt, DONE, misuse, no, readArguments, readJson, refuseSameFile } from '../lib/command_line.mjs';
import { readText, realPathOf, writeWhole } from '../lib/files.mjs';
import { formatFinding } from '../lib/findings.mjs';
import { compileLexicons } from '../lib/lexicon.mjs';
import { buildPack, LZ4_COMPRESSION } from '../lib/pack_file.mjs';
import { compilePlaces } from '../lib/places.mjs';
import { developmentTrustFile } from '../lib/trust.mjs';

const MAX_PACK_BYTES = 128 * 1024 * 1024;
const MAX_DOCUMENTS = 512;

/**
 * @template {string} Choice
 * @param {string} name
 * @param {string} value
 * @param {Choice[]} choices
 */
function choiceOf(name, value, choices) {
  const choice = choices.find((one) => one === value);
  if (choice === undefined) throw misuse(`--${name} is ${choices.join(' or ')}, not ${value}`);
  return choice;
}

function requireId(name, value) {
  if (!/^[A-Za-z0-9._-]{1,96}$/.test(value)) {
    throw misuse(`${name} ${JSON.stringify(value)} is not 1 to 96 of the letters, digits, "-", "." and "_"`);
  }
}

/** The options of a build, checked completely before anything is read. */
function readOptions(args) {
  const { values, positionals: sources } = readArguments(args, {
    out: { type: 'string' },
    'rule-set-id': { type: 'string' },
    'base-rule-set-id': { type: 'string' },
    kind: { type: 'string', default: 'base' },
    key: { type: 'string', default: 'test-v1' },
    compress: { type: 'boolean', default: false },
    trust: { type: 'string' },
    nonce: { type: 'string' },
    json: { type: 'boolean', default: false },
  });
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
  refuseSameFile(out, sources);
  const nonceBytes = nonce === undefined ? undefined : Buffer.from(nonce, 'hex');
  return { ...values, sources, out, kind, keyId, ruleSetId, baseRuleSetId, nonce: nonceBytes };
}

function readTrust(path) {
  const trust = readJson(path);
  if (!trust?.packKeys) throw no(`${path}: is no trust file`);
  return trust;
}

/** Reads and compiles all sources; prints every finding before giving up. */
function compileSources(paths, kind, io) {
  const lexicons = [];
  const places = [];
  let errors = 0;
  for (const path of paths) {
    try {
      const source = { path, text: readText(path) };
      if (extname(path).toLowerCase() === '.json') lexicons.push(source);
      else places.push(source);
    } catch (error) {
      io.err(`${path}:1:1: the source ${error.message}\n`);
      errors += 1;
    }
  }
  const lexicon = compileLexicons(lexicons, { kind, complete: errors === 0 });
  const shards = places.map(compilePlaces);
  const findings = [lexicon, ...shards].flatMap((result) => result.findings);
  const order = new Map(paths.map((path, index) => [path, index]));
  findings.sort((a, b) => order.get(a.source.path) - order.get(b.source.path) || a.offset - b.offset);
  for (const finding of findings) io.err(`${formatFinding(finding)}\n`);
  errors += findings.filter((finding) => !finding.warning).length;
  if (errors > 0) throw no(`${errors} ${errors === 1 ? 'error' : 'errors'}, nothing written`);

  const sections = lexicons.length > 0 ? lexicon.sections : undefined;
  return { sections, lexiconCount: lexicons.length, shards, warnings: findings.length };
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

export async function build(args, io) {
  const options = readOptions(args);
  const { sources, out, kind, keyId, ruleSetId, baseRuleSetId, nonce } = options;
  const trust = options.trust === undefined ? developmentTrustFile : readTrust(options.trust);
  if (keyId === 'release-v1' && trust.name === developmentTrustFile.name) {
    io.err('klrx: warning: release-v1 of the development trust file is public; give the release one with --trust\n');
  }
  if (io.terminal) io.err(`klrx: compiling ${sources.length} ${sources.length === 1 ? 'source' : 'sources'}\n`);
  const compiled = compileSources(sources, kind, io);
  const documents = documentsOf(compiled);
  if (documents.length > MAX_DOCUMENTS) throw no(`${documents.length} documents are more than the ${MAX_DOCUMENTS} of a pack`);
  const compression = options.compress ? LZ4_COMPRESSION : undefined;
  const pack = attempt(out, () =>
    buildPack({ kind, ruleSetId, baseRuleSetId, keyId, documents, compression, nonce, trust }),
  );
  if (pack.length > MAX_PACK_BYTES) throw no(`${out}: ${pack.length} bytes are more than the ${MAX_PACK_BYTES} of a pack`);
  attempt(out, () => writeWhole(out, pack));

  const rows = Object.fromEntries((compiled.sections ?? []).map((section) => [section.type, section.rows.length]));
  const shards = Object.fromEntries(compiled.shards.map((shard) => [shard.name, shard.rowCount]));
  if (options.json) {
    const report = { pack: out, packBytes: pack.length, kind, ruleSetId, baseRuleSetId, rows, shards };
    io.out(`${JSON.stringify({ ...report, warnings: compiled.warnings }, null, 2)}\n`);
    return DONE;
  }
  io.out(`${out}: ${kind} ${ruleSetId}, ${pack.length} bytes\n`);
  const counts = Object.entries({ ...rows, ...shards });
  const width = Math.max(...counts.map(([name]) => name.length));
  for (const [name, count] of counts) io.out(`  ${name.padEnd(width)}  ${count} rows\n`);
  return DONE;
}
