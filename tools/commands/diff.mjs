// klrx diff: what changes from one pack to another.

import { answering, packsOf } from '../lib/answers.mjs';
import { buildBinaryIndex, INDEX_DOCUMENT_NAME } from '../lib/binary_index.mjs';
import { attempt, countOf, misuse, no } from '../lib/command_line.mjs';
import { buildLocationShard } from '../lib/location_shard.mjs';
import { checkOutput, FORCE, writeOutput } from '../lib/output.mjs';
import { buildPack } from '../lib/pack_file.mjs';
import { readPack } from '../lib/pack_reader.mjs';
import { fieldNamesOf, rowChanges } from '../lib/row_changes.mjs';
import { NOTHING } from '../lib/cases.mjs';
import { painter, printable } from '../lib/terminal.mjs';
import { allTitles } from '../lib/titles.mjs';
import { NONCE, readNonce, readTrust, TRUST } from '../lib/seal_options.mjs';

const SIGNS = { added: '+', removed: '-', changed: '~' };
const STYLES = /** @type {const} */ ({ added: 'green', removed: 'red', changed: 'yellow' });
/** What a title is for: an answer in which these are equal has not changed. */
const COMPARED = ['scene', 'detail', 'place', 'person'];

/** What every row of a scene repeats. */
const OF_THE_SCENE = new Set(['rowPriority', 'label', 'archiveLabel', 'archiveCode', 'icon', 'defaultDetail']);

const shardRows = (content, name) => content.shards.find((shard) => shard.name === name)?.rows ?? [];

/** All changes, section by section. Laid over its base, a patch takes nothing away. */
function changesBetween(base, target) {
  const shardNames = [...new Set([...base.shards, ...target.shards].map(({ name }) => name))];
  const changes = [
    ...Object.keys(base.sections).flatMap((section) => rowChanges(section, base.sections[section], target.sections[section])),
    ...shardNames.flatMap((name) => rowChanges(name, shardRows(base, name), shardRows(target, name))),
  ];
  return target.metadata.kind === 'patch' ? changes.filter(({ change }) => change !== 'removed') : changes;
}

/**
 * The titles that are answered otherwise.
 * @param {import('../lib/command_line.mjs').Call} call
 */
async function changedAnswers({ io, positionals: [basePath, targetPath] }, target, titles) {
  const targetPacks = target.metadata.kind === 'patch' ? packsOf(basePath, { overlay: targetPath }) : packsOf(targetPath);
  const before = (await answering(io, packsOf(basePath)))(titles);
  const after = (await answering(io, targetPacks))(titles);
  const pick = (answer) => Object.fromEntries(COMPARED.map((name) => [name, answer[name]]));
  return titles.map((title, i) => ({ title: title.raw, before: pick(before[i]), after: pick(after[i]) }))
    .filter((one) => COMPARED.some((name) => one.before[name] !== one.after[name]));
}

/** The documents of a pack with the new rows alone, in the order of the target. */
function patchDocuments(target, changes) {
  const news = new Set(changes.filter(({ after }) => after).map(({ section, term, after }) => JSON.stringify([section, term, after])));
  const fresh = (section, rows) => rows.filter(({ term, fields }) => news.has(JSON.stringify([section, term, fields])));
  const sections = Object.entries(target.sections).map(([type, rows]) => ({ type, rows: fresh(type, rows) }));
  const index = { type: 'semantic-index', name: INDEX_DOCUMENT_NAME, data: buildBinaryIndex({ sections }) };
  const shards = target.shards.map(({ name, rows }) => ({ name, rows: fresh(name, rows) })).filter(({ rows }) => rows.length > 0);
  return [index, ...shards.map(({ name, rows }) => ({
    type: 'location-shard',
    name,
    data: buildLocationShard(rows.map(({ term, fields: [code, , , label, lang, countryLabel], weight }) =>
      ({ alias: term, records: [{ code, englishFlag: lang === 'en' ? 1 : 0, weight, label, countryLabel }] }))),
  }))];
}

/** What a patch of these changes does not do. */
function warnOfLosses(changes, warn) {
  const count = (test) => changes.filter(test).length;
  const removed = count(({ change }) => change === 'removed');
  const changed = count(({ change }) => change === 'changed');
  const unread = count(({ section, change }) => change !== 'removed' && (section === 'human' || section === 'facet'));
  if (removed > 0) warn(`${countOf(removed, 'removed row')} left in force: a patch takes nothing away`);
  if (changed > 0) warn(`${countOf(changed, 'changed row')} put beside the old ones: whichever sorts first decides`);
  if (unread > 0) warn(`${countOf(unread, 'row')} of the sections human and facet without effect on titles: only those of the base are read`);
}

/** @param {import('../lib/command_line.mjs').Call} call */
function writePatch({ values, warn, positionals: [basePath, targetPath] }, base, target, changes, { nonce, trust }) {
  if (base.metadata.kind !== 'base' || target.metadata.kind !== 'base') throw no('a patch is made of two base packs');
  const { ruleSetId: baseRuleSetId } = base.metadata;
  const { ruleSetId, keyId } = target.metadata;
  if (ruleSetId === baseRuleSetId) throw no(`${targetPath}: has the rule set of ${basePath}, and a patch leads to another`);
  warnOfLosses(changes, warn);
  const documents = patchDocuments(target, changes);
  const pack = attempt(values.out, () => buildPack({ kind: 'patch', ruleSetId, baseRuleSetId, keyId, documents, nonce, trust }));
  writeOutput(values.out, pack, values);
}

function changesText(changes, colors) {
  const paint = painter(colors);
  const show = (field = '') => (field === '' ? NOTHING : printable(field.replaceAll('\x1e', '|').replace(/^(-?\d+)\.0+$/, '$1')));
  return changes.map(({ change, section, term, before, after }) => {
    const one = after ?? before ?? [];
    // Of a changed row what differs; otherwise what the row itself says.
    const fields = Array.from({ length: Math.max(one.length, before?.length ?? 0) }, (_, i) => ({ name: fieldNamesOf(section)[i] ?? `field ${i + 1}`, i }))
      .filter(({ i, name }) => (before && after ? before[i] !== after[i] : i === 0 || (one[i] !== '' && !(section === 'scene' && OF_THE_SCENE.has(name)))))
      .map(({ name, i }) => (before && after ? `${name} ${show(before[i])} -> ${show(after[i])}` : `${name} ${show(one[i])}`));
    return `${paint(STYLES[change], `${SIGNS[change]} ${section} ${printable(term)}`)}: ${fields.join(', ')}\n`;
  }).join('');
}

function titlesText(titles) {
  const show = (answer) => COMPARED.map((name) => printable(answer[name]) || '-').join(', ');
  return titles.map(({ title, before, after }) => `${printable(title)}\n  before: ${show(before)}\n  after:  ${show(after)}\n`).join('');
}

/** @param {import('../lib/command_line.mjs').Call} call */
async function run(call) {
  const { values, positionals, io } = call;
  if (positionals.length !== 2) throw misuse('diff needs BASE and TARGET');
  if (values.out !== undefined) checkOutput(values.out, { inputs: positionals, force: values.force });
  const nonce = readNonce(values.nonce);
  const trust = readTrust(values.trust);
  const [base, target] = positionals.map((path) => readPack(path, trust));
  const rows = changesBetween(base, target);
  const titles = values.titles === undefined ? undefined : await allTitles(values.titles, io);
  const answers = titles && await changedAnswers(call, target, titles);
  if (values.out !== undefined) writePatch(call, base, target, rows, { nonce, trust });

  const count = (wanted) => rows.filter(({ change }) => change === wanted).length;
  const counts = { added: count('added'), removed: count('removed'), changed: count('changed') };
  const summary = `rows: ${Object.entries(counts).map(([change, number]) => `${number} ${change}`).join(', ')}\n`;
  const changedTitles = answers && titles
    ? `${titlesText(answers)}titles: ${answers.length} of ${titles.length} are answered otherwise (scene, detail, place, person)\n` : '';
  const written = values.out === undefined ? '' : `${values.out}: patch ${target.metadata.ruleSetId} for the base ${base.metadata.ruleSetId}\n`;
  return {
    report: { counts, rows, titles: answers, patch: values.out },
    text: `${changesText(rows, io.colors)}${summary}${changedTitles}${written}`,
  };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const diff = {
  summary: 'show what changes from one pack to another, and make the patch',
  usage: 'BASE TARGET [options]',
  about: 'A row is added (+), removed (-) or changed (~): the same term of the same scene, person, place or facet, with '
    + 'other fields. If TARGET is a patch, it is laid over BASE.',
  options: {
    titles: { type: 'string', value: 'FILE', help: 'titles, to see which of them are answered otherwise (see klrx try)' },
    out: { type: 'string', value: 'PATCH', help: 'write a patch pack with the added and changed rows' },
    ...FORCE,
    ...TRUST,
    ...NONCE,
  },
  examples: [
    ['the rows, and the titles that they change', 'klrx diff mine.klrx next.klrx --titles titles.tsv'],
    ['the patch that makes one of the other', 'klrx diff mine.klrx next.klrx --out next.patch.klrx'],
  ],
  run,
};
