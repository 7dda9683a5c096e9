// klrx build: sources into a sealed pack.

import { extname } from 'node:path';
import { attempt, choiceOf, countOf, misuse, no } from '../lib/command_line.mjs';
import { findingRecord, formatFinding } from '../lib/findings.mjs';
import { checkOutput, FORCE, writeOutput } from '../lib/output.mjs';
import { buildPack, LZ4_COMPRESSION } from '../lib/pack_file.mjs';
import { readPack, scenesOf } from '../lib/pack_reader.mjs';
import { compileFiles, documentsOf, ruleSetIdOf, sourceFiles } from '../lib/sources.mjs';
import { aboutPublicKey, isPublicKey, NONCE, readNonce, readTrust, TRUST } from '../lib/seal_options.mjs';

const MAX_PACK_BYTES = 128 * 1024 * 1024;
const MAX_DOCUMENTS = 512;

function requireId(name, value) {
  if (!/^[A-Za-z0-9._-]{1,96}$/.test(value)) {
    throw misuse(`${name} ${JSON.stringify(value)} is not 1 to 96 of the letters, digits, "-", "." and "_"`);
  }
}

/** The options of a build, checked completely before anything is read. */
function readOptions({ values, positionals }) {
  const { out, base } = values;
  if (positionals.length === 0) throw misuse('build needs at least one source');
  if (out === undefined) throw misuse('build needs --out PACK');
  if (extname(out) !== '.klrx') throw misuse(`${out} does not end in .klrx`);
  const kind = choiceOf('kind', values.kind, ['base', 'patch']);
  const keyId = choiceOf('key', values.key, ['test-v1', 'release-v1']);
  const ruleSetId = values['rule-set-id'] ?? ruleSetIdOf(out);
  requireId('the rule set id', ruleSetId);
  if (kind === 'base' && base !== undefined) throw misuse('--base goes with --kind patch');
  if (kind === 'patch' && base === undefined && values['base-rule-set-id'] === undefined) {
    throw misuse('a patch needs --base PACK or --base-rule-set-id ID');
  }
  if (values['base-rule-set-id'] !== undefined) requireId('the base rule set id', values['base-rule-set-id']);
  const nonce = readNonce(values.nonce);
  const sources = sourceFiles(positionals);
  checkOutput(out, { inputs: base === undefined ? sources : [...sources, base], force: values.force });
  return { ...values, sources, out, kind, keyId, ruleSetId, nonce };
}

/**
 * What a patch has to know of its base: its rule set, and the data of its scenes.
 * @returns {{ baseRuleSetId: string, scenes?: Map<string, { tail: string[], place: string }> }}
 */
function readBase(options, trust) {
  const { base, kind, ruleSetId } = options;
  const expected = options['base-rule-set-id'];
  if (base === undefined) return { baseRuleSetId: expected ?? ruleSetId };
  const content = readPack(base, trust);
  const { metadata } = content;
  if (metadata.kind !== 'base') throw no(`${base}: is a ${metadata.kind} pack, and a ${kind} builds on a base`);
  if (expected !== undefined && metadata.ruleSetId !== expected) {
    throw no(`${base}: is the rule set ${metadata.ruleSetId}, not ${expected}`);
  }
  return { baseRuleSetId: metadata.ruleSetId, scenes: scenesOf(content, base) };
}

/** @param {import('../lib/command_line.mjs').Call} call */
function run(call) {
  const options = readOptions(call);
  const { sources, out, kind, keyId, ruleSetId, nonce } = options;
  const trust = readTrust(options.trust);
  const { baseRuleSetId, scenes } = readBase(options, trust);
  if (kind === 'patch' && baseRuleSetId === ruleSetId) {
    call.warn(`the patch leads from ${ruleSetId} to itself, and no reader takes such a patch; give another --rule-set-id`);
  }
  call.progress(`compiling ${countOf(sources.length, 'source')}`);
  const compiled = compileFiles(sources, { kind, scenes });
  if (!options.json) call.tell(compiled.findings.map((finding) => `${formatFinding(finding)}\n`).join(''));
  const documents = documentsOf(compiled);
  if (documents.length > MAX_DOCUMENTS) throw no(`${documents.length} documents are more than the ${MAX_DOCUMENTS} of a pack`);
  const compression = options.compress ? LZ4_COMPRESSION : undefined;
  const pack = attempt(out, () =>
    buildPack({ kind, ruleSetId, baseRuleSetId, keyId, documents, compression, nonce, trust }),
  );
  if (pack.length > MAX_PACK_BYTES) throw no(`${out}: ${pack.length} bytes are more than the ${MAX_PACK_BYTES} of a pack`);

  const rows = Object.fromEntries((compiled.sections ?? []).map((section) => [section.type, section.rows.length]));
  const shards = Object.fromEntries(compiled.shards.map((shard) => [shard.name, shard.rows.length]));
  const counts = Object.entries({ ...rows, ...shards });
  if (counts.every(([, count]) => count === 0)) call.warn('the pack is empty: no source has a row');
  writeOutput(out, pack, options);
  if (isPublicKey(keyId, trust)) call.warn(aboutPublicKey(keyId));

  const width = Math.max(...counts.map(([name]) => name.length));
  const lines = counts.map(([name, count]) => `  ${name.padEnd(width)}  ${countOf(count, 'row')}\n`);
  const what = kind === 'base' ? `base ${ruleSetId}` : `patch ${ruleSetId} for the base ${baseRuleSetId}`;
  const findings = compiled.findings.map(findingRecord);
  return {
    report: { pack: out, packBytes: pack.length, kind, ruleSetId, baseRuleSetId, rows, shards, findings },
    text: `${out}: ${what}, ${pack.length} bytes\n${lines.join('')}`,
  };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const build = {
  summary: 'compile sources into a sealed pack',
  usage: 'SOURCE... --out PACK [options]',
  about: 'A source is a lexicon (*.json or *.jsonc, with comments: categories, shortTitleOverrides, compoundOverrides, '
    + 'conflictOverrides, humans, celebrities, locations, facets), a table of places (location-NAME.tsv: alias, code, '
    + 'lang, weight, label, countryLabel), or a folder that holds such files.\n'
    + 'Editors complete lexicons that begin with '
    + '"$schema": "./node_modules/corvenda-semantic/tools/lexicon.schema.json".',
  options: {
    out: { type: 'string', value: 'PACK', help: 'the pack to write, *.klrx' },
    ...FORCE,
    'rule-set-id': { type: 'string', value: 'ID', help: 'its rule set; the pack\'s name without .klrx by default' },
    kind: { type: 'string', value: 'KIND', default: 'base', help: 'base (default) or patch' },
    base: { type: 'string', value: 'PACK', help: 'the base of a patch: scenes that the patch names must be there' },
    'base-rule-set-id': { type: 'string', value: 'ID', help: 'the base of a patch, if its pack is not at hand' },
    key: { type: 'string', value: 'ID', default: 'test-v1', help: 'test-v1 (default) or release-v1' },
    compress: { type: 'boolean', help: 'store the payload as an LZ4 block' },
    ...TRUST,
    ...NONCE,
  },
  examples: [
    ['a lexicon and a table of places', 'klrx build lexicon.json location-eu.tsv --out mine.klrx'],
    ['a folder of sources, compressed', 'klrx build lexicon --compress --out whole.klrx'],
    ['the next version', 'klrx build lexicon.json next.json location-eu.tsv --out next.klrx'],
    ['a patch for it', 'klrx build patch.json --kind patch --base mine.klrx --out patch.klrx'],
  ],
  run,
};
