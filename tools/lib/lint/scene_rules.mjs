// Which rows never win. Each alias is put to the native module as a title of its own: a row that does not decide that title
// decides none.

import { explainAnswer } from '../explanation.mjs';
import { languageOf } from './text_rules.mjs';

const quoted = (text) => JSON.stringify(text);

/** The title that consists of an alias. */
export function titleOf({ written }, language) {
  const words = written.replace(/[A-Z]/g, (letter) => letter.toLowerCase()).split(/[\0- ]+/).filter(Boolean).join(' ');
  return { raw: written, normalizedEnglish: language === 'en' ? words : '' };
}

/** Where the row stands that won, if one did. */
function placeOfWinner(rows, { scene, alias }) {
  const place = rows.find(({ term, fields }) => term === alias && fields[0] === scene)?.place;
  return place ? ` at ${place}` : '';
}

/** @returns {import('./rules.mjs').LintFinding[]} */
function beatenRow(row, answer, rows, scenesByTerm) {
  const [key] = row.fields;
  const wanted = key === '' ? 'no scene' : key;
  if (answer.scene === key) return [];
  const [why] = explainAnswer(answer);
  const result = answer.scene === '' ? 'it has no scene: a veto speaks' : `it is ${why}${placeOfWinner(rows, answer)}`;
  // Between two rows of one rank with the same term, priority decides; the order of the rows does not.
  const rule = row.section === 'scene' && scenesByTerm.get(row.term)?.size > 1 ? 'two-scenes' : 'always-beaten';
  return [{ rule, place: row.place, message: `a title ${quoted(row.written)} should be ${wanted}, and ${result}` }];
}

/**
 * @param {import('./rules.mjs').LintRow[]} rows
 * @param {(titles: { raw: string, normalizedEnglish: string }[]) => import('../answers.mjs').Answer[]} answer
 * @returns {import('./rules.mjs').LintFinding[]}
 */
export function sceneFindings(rows, answer) {
  const asked = rows.filter(({ section, fields }) => (section === 'scene' && fields.length >= 11) || section === 'human');
  const scenesByTerm = new Map();
  for (const { section, term, fields } of asked) {
    if (section === 'scene') scenesByTerm.set(term, (scenesByTerm.get(term) ?? new Set()).add(fields[0]));
  }
  const known = new Set(asked.filter(({ fields }) => fields[3] === 'category').map(({ fields }) => fields[0]));
  const answers = answer(asked.map((row) => titleOf(row, languageOf(row))));
  return asked.flatMap((row, i) => {
    // A scene without a category has a finding already.
    if (row.section === 'human' && row.fields[0] !== '' && !known.has(row.fields[0])) return [];
    return beatenRow(row, answers[i], asked, scenesByTerm);
  });
}
