// klrx lint: what in a lexicon can never win, never match, or matches too much.

import { extname } from 'node:path';
import { answerAll, packsOf } from '../lib/answers.mjs';
import { ANSWER_IS_NO, countOf, DONE, misuse, no } from '../lib/command_line.mjs';
import { placeOf } from '../lib/findings.mjs';
import { withLaboratory } from '../lib/lint/laboratory.mjs';
import { placeFindings } from '../lib/lint/place_rules.mjs';
import { policyFindings } from '../lib/lint/policy_rules.mjs';
import { RULES } from '../lib/lint/rules.mjs';
import { sceneFindings } from '../lib/lint/scene_rules.mjs';
import { textFindings } from '../lib/lint/text_rules.mjs';
import { wordFindings } from '../lib/lint/word_rules.mjs';
import { readPack, scenesOf } from '../lib/pack_reader.mjs';
import { readTrust, TRUST } from '../lib/seal_options.mjs';
import { compileFiles, documentsOf, sourceFiles } from '../lib/sources.mjs';
import { painter, printable } from '../lib/terminal.mjs';
import { nearestOf } from '../lib/text.mjs';
import { allTitles } from '../lib/titles.mjs';

/**
 * What is linted.
 * @typedef {object} Subject
 * @property {import('../lib/lint/rules.mjs').LintRow[]} rows
 * @property {import('../lib/lint/rules.mjs').LintFinding[]} findings that reading it already gave
 * @property {boolean} isPatch
 * @property {string} [packPath] of a pack that is one already
 * @property {() => import('../lib/payload.mjs').PayloadDocument[]} documents
 */

/** @returns {Subject} */
function readSources(paths, base) {
  const compiled = compileFiles(sourceFiles(paths), base && { kind: 'patch', scenes: base.scenes });
  const rowsOf = (section, rows) => rows.map(({ source, offset, ...row }) => ({ ...row, section, place: placeOf(source, offset) }));
  const rows = [
    ...(compiled.sections ?? []).flatMap(({ type, rows: own }) => rowsOf(type, own)),
    ...compiled.shards.flatMap(({ name, rows: own }) => rowsOf(name, own)),
  ];
  // Duplicates are found among the rows, for packs too.
  const findings = compiled.findings.flatMap(({ source, offset, rule, message }) =>
    (rule === undefined || rule === 'duplicate' ? [] : [{ rule, place: placeOf(source, offset), message }]));
  return { rows, findings: /** @type {any} */ (findings), isPatch: base !== undefined, documents: () => documentsOf(compiled) };
}

/** @returns {Subject} */
function readOnePack(packPath, trust) {
  const { metadata, sections, shards, documents } = readPack(packPath, trust);
  const rowsOf = (section, rows) => rows.map(({ term, fields }, i) =>
    ({ section, term, fields, written: term, place: `${packPath}:${section}:${i + 1}` }));
  const rows = [
    ...Object.entries(sections).flatMap(([section, own]) => rowsOf(section, own)),
    ...shards.flatMap(({ name, rows: own }) => rowsOf(name, own)),
  ];
  return { rows, findings: [], isPatch: metadata.kind === 'patch', packPath, documents: () => documents };
}

function readRules(settings) {
  const off = settings.map((setting) => {
    const [name, value] = setting.split('=');
    if (!Object.hasOwn(RULES, name)) {
      const near = nearestOf(name, Object.keys(RULES));
      throw misuse(`--rule ${name} is no rule${near ? `; is ${near} meant?` : ` (${Object.keys(RULES).join(', ')})`}`);
    }
    if (value !== 'off') throw misuse(`--rule is NAME=off, not ${setting}`);
    return name;
  });
  return new Set(off);
}

/**
 * Asks everything that there is to ask.
 * @param {Subject} subject
 * @param {{ base?: ReturnType<typeof readBase>, titles: import('../lib/titles.mjs').FileTitle[], titlesPath: string }} options
 * @param {import('../lib/lint/laboratory.mjs').Laboratory} laboratory
 * @param {(text: string) => void} progress
 */
function findingsOf({ rows, findings, isPatch, packPath, documents }, { base, titles, titlesPath }, laboratory, progress) {
  const { addon } = laboratory;
  const path = packPath ?? laboratory.write(documents(), isPatch ? 'patch' : 'base');
  const packs = isPatch && base ? packsOf(base.path, { overlay: path }) : packsOf(path);
  const answer = (questions) => answerAll(addon, packs, questions);
  const facetsOf = (title) => addon.extractSemanticFacets({ packPath: path, allowedRoot: packs.allowedRoot, ...title }).hits;
  /** @type {[string, () => import('../lib/lint/rules.mjs').LintFinding[]][]} */
  const steps = [
    ['texts', () => textFindings(rows, { isPatch, baseScenes: [...base?.scenes.keys() ?? []] })],
    ['scenes', () => sceneFindings(rows.filter(({ section }) => !isPatch || section === 'scene'), answer)],
    ['places', () => placeFindings(rows, laboratory)],
    ['words', () => wordFindings(rows, titles, answer, facetsOf)],
    ['titles', () => policyFindings(titles, titlesPath, answer(titles), addon)],
  ];
  return findings.concat(...steps.map(([name, step]) => {
    progress(`asking about ${name}`);
    return step();
  }));
}

/** Findings by rule, in the order of the rules' names, at most so many of each. */
function findingsText(findings, limit, colors) {
  const paint = painter(colors);
  return Object.entries(RULES).map(([rule, advice]) => {
    const own = findings.filter((finding) => finding.rule === rule);
    if (own.length === 0) return '';
    const shown = limit === 0 ? own : own.slice(0, limit);
    const more = own.length - shown.length;
    return [
      `${paint('bold', `${rule}: ${own.length}`)}; ${advice}`,
      ...shown.map(({ place, message }) => `${place}: ${rule}: ${printable(message)}`),
      ...(more > 0 ? [`  and ${more} more; --limit 0 shows all`] : []),
      '', '',
    ].join('\n');
  }).join('');
}

function readBase(path, trust) {
  if (path === undefined) return undefined;
  return { path, scenes: scenesOf(readPack(path, trust), path) };
}

/** @param {import('../lib/command_line.mjs').Call} call */
async function run({ values, positionals, io, progress }) {
  if (positionals.length === 0) throw misuse('lint needs SOURCES or a PACK');
  const isPack = extname(positionals[0]) === '.klrx';
  if (isPack && positionals.length > 1) throw misuse('lint takes one PACK');
  if (!/^[0-9]{1,6}$/.test(values.limit)) throw misuse(`--limit is a number, not ${values.limit}`);
  const off = readRules(values.rule ?? []);
  const trust = readTrust(values.trust);
  const base = readBase(values.base, trust);
  const subject = isPack ? readOnePack(positionals[0], trust) : readSources(positionals, base);
  if (subject.isPatch && !base) throw no(`${positionals[0]}: is a patch`, { hint: '--base PACK names its base' });
  const titles = values.titles === undefined ? [] : await allTitles(values.titles, io);
  const options = { base, titles, titlesPath: values.titles };
  const all = await withLaboratory(io, trust, (laboratory) => findingsOf(subject, options, laboratory, progress));
  const findings = all.filter(({ rule }) => !off.has(rule)).map((finding) => ({ ...finding, advice: RULES[finding.rule] }));
  const summary = `${countOf(findings.length, 'finding')} in ${countOf(subject.rows.length, 'row')}\n`;
  return {
    report: { rows: subject.rows.length, findings },
    text: `${findingsText(findings, Number(values.limit), io.colors)}${summary}`,
    status: findings.length === 0 ? DONE : ANSWER_IS_NO,
  };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const lint = {
  summary: 'find what can never win, never match, or matches too much',
  usage: '(SOURCE... | PACK) [options]',
  about: 'Sources are built into a pack that only lint sees, and each alias is put to the native module as a title. Findings '
    + 'name a rule; docs/lint.md has a section for each. The exit status is 1 if there are any.',
  options: {
    rule: { type: 'string', multiple: true, value: 'NAME=off', help: 'leave a rule out; may be given several times' },
    titles: { type: 'string', value: 'FILE', help: 'real titles, to show what in them goes wrong inside words' },
    base: { type: 'string', value: 'PACK', help: 'the base of a patch; sources are then those of a patch' },
    limit: { type: 'string', value: 'N', default: '10', help: 'findings to show of each rule; 0 for all; 10 by default' },
    ...TRUST,
  },
  examples: [
    ['sources', 'klrx lint lexicon'],
    ['a pack, with real titles and without one of the rules',
      'klrx lint mine.klrx --titles titles.tsv --rule needs-region=off'],
  ],
  run,
};
