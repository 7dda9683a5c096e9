// The cases of a lexicon's own tests: titles with what they should come to, in a table or in YAML.
//
// An expectation that is blank is no expectation; "-" expects nothing (no scene, no place); "a|b" is met by either.

import { LineCounter, isMap, isScalar, isSeq, parseDocument } from 'yaml';
import englishReading from '../../lib/english_reading.cjs';
import { no } from './command_line.mjs';
import { positionOf } from './findings.mjs';
import { compactTerm } from './text.mjs';

export const EXPECTED = /** @type {const} */ (['scene', 'detail', 'place', 'person']);
const COLUMNS = ['raw', 'en', ...EXPECTED, 'note'];
export const NOTHING = '-';
const alternativesOf = (expectation) => expectation.split('|').map((each) => each.trim());

/**
 * @typedef {object} Case
 * @property {{ raw: string, normalizedEnglish: string }} title
 * @property {Record<'scene' | 'detail' | 'place' | 'person', string>} expected
 * @property {number} line of the file
 */

/**
 * A file of cases, and a way to write it anew with other expectations.
 * @typedef {object} CaseFile
 * @property {Case[]} cases
 * @property {(expectations: Case['expected'][]) => string} rewrite
 */

/** @param {import('./findings.mjs').Source} source @param {string} [hint] */
function faultIn({ path, text }, offset, message, hint) {
  const { line, column } = positionOf({ path, text }, offset);
  return no(`${path}:${line}:${column}: ${message}`, { hint });
}

/** Whoever gives a file that is no table has bare titles, or a table of another kind. */
const HEADER_HINT = 'tabs separate the columns; klrx test PACK FILE --update makes such a table of bare titles';

const unknownColumn = (name) => `unknown column ${JSON.stringify(name)} (allowed: ${COLUMNS.join(', ')})`;

/**
 * @param {number} line
 * @param {{ raw?: string, en?: string, scene?: string, detail?: string, place?: string, person?: string }} cells
 * @returns {Case}
 */
function caseOf(line, { raw = '', en, scene = '', detail = '', place = '', person = '' }) {
  return { title: { raw, normalizedEnglish: en || englishReading(raw) }, expected: { scene, detail, place, person }, line };
}

/** @returns {CaseFile} */
function readTable(source, bare) {
  const all = source.text.split('\n').map((line) => line.replace(/\r$/, ''));
  const [header, ...lines] = bare && !source.text.includes('\t') && all[0] !== 'raw' ? ['raw', ...all] : all;
  const names = header.split('\t');
  const strange = names.find((name) => !COLUMNS.includes(name));
  if (names[0] !== 'raw') throw faultIn(source, 0, `the first line does not name the columns, "raw" first (${COLUMNS.join(', ')})`, HEADER_HINT);
  if (strange !== undefined) throw faultIn(source, header.indexOf(strange), unknownColumn(strange));
  const rows = lines.map((text, index) => ({ cells: text.split('\t'), line: index + 2 })).filter(({ cells }) => cells.join('').trim() !== '');
  const cases = rows.map(({ cells, line }) => {
    if (cells[0] === '') throw no(`${source.path}:${line}:1: the title is missing`);
    if (cells.length > names.length) throw no(`${source.path}:${line}:1: the row has ${cells.length} columns, not ${names.length}`);
    return caseOf(line, Object.fromEntries(cells.map((cell, i) => [names[i], cell.trim() === '' ? '' : cell])));
  });
  const rewrite = (expectations) => {
    const columns = [...names, ...EXPECTED.filter((name) => !names.includes(name))];
    const written = rows.map(({ cells }, i) => columns.map((name, column) => expectations[i][name] ?? cells[column] ?? '').join('\t'));
    return [columns.join('\t'), ...written, ''].join('\n');
  };
  return { cases, rewrite };
}

/** @returns {CaseFile} */
function readYaml(source) {
  const lines = new LineCounter();
  const document = parseDocument(source.text, { lineCounter: lines });
  const [error] = document.errors;
  if (error) throw faultIn(source, error.pos[0], `the YAML is faulty: ${error.message.split('\n')[0].replace(/ at line .*/, '')}`);
  const { contents } = document;
  if (!isSeq(contents)) throw faultIn(source, 0, 'a list of cases should stand here');
  const cases = contents.items.map((item) => {
    const [offset] = /** @type {any} */ (item)?.range ?? [0];
    if (!isMap(item)) throw faultIn(source, offset, 'a case with "raw" should stand here');
    const cells = Object.fromEntries(item.items.map(({ key, value }) => {
      const [at] = /** @type {any} */ (key).range;
      const name = String(key);
      if (!COLUMNS.includes(name)) throw faultIn(source, at, unknownColumn(name));
      if (value !== null && !isScalar(value)) throw faultIn(source, at, `"${name}" is no text`);
      return [name, value === null || value.value === null ? '' : value.source ?? String(value.value)];
    }));
    if (!cells.raw) throw faultIn(source, offset, 'the title is missing');
    return caseOf(positionOf(source, offset).line, cells);
  });
  const rewrite = (expectations) => {
    contents.items.forEach((item, i) => {
      for (const [name, value] of Object.entries(expectations[i])) {
        if (value !== '') /** @type {import('yaml').YAMLMap} */ (item).set(name, value);
      }
    });
    return String(document);
  };
  return { cases, rewrite };
}

/**
 * @param {{ path: string, text: string }} source
 * @param {{ bare?: boolean }} [options] `bare`: it may also be titles alone, a line each
 * @returns {CaseFile}
 */
export function readCases(source, { bare = false } = {}) {
  const file = /\.ya?ml$/i.test(source.path) ? readYaml(source) : readTable(source, bare);
  for (const { expected, line } of file.cases) {
    const faulty = EXPECTED.find((name) => expected[name] !== '' && alternativesOf(expected[name]).includes(''));
    if (faulty) throw no(`${source.path}:${line}:1: an alternative of "${faulty}" is empty ("${NOTHING}" expects nothing)`);
  }
  return file;
}

/** What of an answer an expectation is held against. */
const NAMES = {
  scene: ({ scene }) => [scene],
  detail: ({ detail }) => [detail],
  place: ({ place, places }) => [place, ...places],
  person: ({ person, people }) => [person, ...people],
};

/** Whether a name of an answer is this one; "-" is that of nothing. */
const isNamed = (names, wanted) => (wanted === NOTHING ? names[0] === '' : names.some((each) => compactTerm(each) === compactTerm(wanted)));

/**
 * What an answer is held to: the alternative that it meets, or the first one.
 * @param {Case} testCase
 * @param {import('./answers.mjs').Answer} answer
 * @param {typeof EXPECTED[number]} name
 * @returns {{ wanted: string, got: string, met: boolean }} "" for nothing
 */
function judged({ expected }, answer, name) {
  const names = NAMES[name](answer);
  const alternatives = alternativesOf(expected[name]);
  const found = alternatives.find((each) => isNamed(names, each));
  const wanted = found ?? alternatives[0];
  return { wanted: wanted === NOTHING ? '' : wanted, got: names[0], met: found !== undefined };
}

/**
 * The expectations that an answer does not meet.
 * @param {Case} testCase
 * @param {import('./answers.mjs').Answer} answer
 * @returns {{ name: string, expected: string, got: string }[]} both "-" for nothing
 */
export function unmet(testCase, answer) {
  return EXPECTED.filter((name) => testCase.expected[name] !== '').flatMap((name) => {
    const { got, met } = judged(testCase, answer, name);
    return met ? [] : [{ name, expected: testCase.expected[name], got: got || NOTHING }];
  });
}

/** Today's answer in the places of the expectations that it does not meet; all of it if there are none. */
export function updated(testCase, answer) {
  const { expected } = testCase;
  const fresh = EXPECTED.every((name) => expected[name] === '');
  const changed = new Set(unmet(testCase, answer).map(({ name }) => name));
  const wanted = (name) => (fresh || changed.has(name) ? answer[name] || NOTHING : expected[name]);
  return /** @type {Case['expected']} */ (Object.fromEntries(EXPECTED.map((name) => [name, wanted(name)])));
}

/**
 * How well something is told. Precision is right / answered, recall right / cases.
 * @typedef {{ cases: number, answered: number, right: number }} Score
 */

/** @returns {Score} */
function scoreOf(all, isOne) {
  return {
    cases: all.filter(({ wanted }) => isOne(wanted)).length,
    answered: all.filter(({ got }) => isOne(got)).length,
    right: all.filter(({ met, got }) => met && isOne(got)).length,
  };
}

const judgedCases = (cases, answers, name) =>
  cases.map((one, i) => [one, answers[i]]).filter(([{ expected }]) => expected[name] !== '').map(([one, answer]) => judged(one, answer, name));
const isSome = (name) => name !== '';

/**
 * How well scenes are told, over the cases that expect one or none.
 * @param {Case[]} cases
 * @param {import('./answers.mjs').Answer[]} answers
 * @returns {(Score & { scene: string })[]} the scenes in the order of their names, then all together under the name "all"
 */
export function sceneScores(cases, answers) {
  const all = judgedCases(cases, answers, 'scene');
  const scenes = [...new Set(all.flatMap(({ wanted, got }) => [wanted, got]))].filter(isSome).sort();
  return [...scenes.map((scene) => ({ scene, ...scoreOf(all, (each) => each === scene) })), { scene: 'all', ...scoreOf(all, isSome) }];
}

/**
 * How well places or people are told, whichever they are.
 * @param {Case[]} cases
 * @param {import('./answers.mjs').Answer[]} answers
 * @param {'place' | 'person'} name
 * @returns {Score | undefined} nothing if no case expects any or none
 */
export function scoreOfAny(cases, answers, name) {
  const all = judgedCases(cases, answers, name);
  return all.length === 0 ? undefined : scoreOf(all, isSome);
}
