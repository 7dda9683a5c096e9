// Which places no title reaches. Each row is put to the native module alone, so that no other place is in its way, with a
// title of its alias, and with a sign of its region.

import { SECTION_NAMES } from '../binary_index.mjs';
import { buildLocationShard } from '../location_shard.mjs';
import { languageOf } from './text_rules.mjs';
import { titleOf } from './scene_rules.mjs';

const quoted = (text) => JSON.stringify(text);

/** A word for each region that shows a title to be about it, and what to call such words. */
const REGIONS = {
  'location-cn': { sign: ' china', words: 'a Chinese character, china, beijing, shanghai, hong kong, …' },
  'location-us': { sign: ' usa', words: 'usa, america, united states, new york, …' },
  'location-eu': { sign: ' europe', words: 'europe, france, paris, london, trip, …' },
  'location-asia': { sign: ' japan', words: 'japan, tokyo, korea, thailand, singapore, …' },
};

const isDatabase = ({ section }) => !SECTION_NAMES.includes(section);

/** A title of the alias as somebody would write it. */
function placeTitle(row) {
  const [, , , label, lang] = row.fields;
  const folded = label.replace(/[\0- ]/g, '').toLowerCase();
  return titleOf({ ...row, written: folded === row.term ? label : row.written }, lang);
}

function withSign({ raw, normalizedEnglish }, sign = '') {
  return { raw, normalizedEnglish: `${normalizedEnglish}${sign}`.trim() };
}

/** The documents of a pack with these places alone, each under a code of its own. */
function documentsOf(rows) {
  const curated = rows.filter((row) => !isDatabase(row));
  const location = curated.map(({ term, fields: [, ...rest], id }) => ({ term, fields: [id, ...rest] }));
  const names = [...new Set(rows.filter(isDatabase).map(({ section }) => section))];
  const shards = names.map((name) => ({
    type: 'location-shard',
    name,
    data: buildLocationShard(rows.filter(({ section }) => section === name).map(({ term, id, fields: [, , weight, label, lang, country] }) =>
      ({ alias: term, records: [{ code: id, englishFlag: lang === 'en' ? 1 : 0, weight: Number(weight), label, countryLabel: country }] }))),
  }));
  return { sections: [{ type: 'location', rows: location }], shards };
}

/** Which of the rows are found, in a pack of them alone. */
function foundAmong(rows, laboratory, titleFor) {
  const answers = laboratory.answerWith(documentsOf(rows), rows.map(titleFor));
  return new Set(rows.filter(({ id }, i) => answers[i].places.includes(id)));
}

/**
 * Which of the rows are found at all. Together they hide each other where more than three share a title, so those that are
 * not found are asked once more, in packs of their own.
 */
function reachable(rows, laboratory, titleFor) {
  const found = foundAmong(rows, laboratory, titleFor);
  const alone = rows.filter((row) => !found.has(row)).filter((row) => foundAmong([row], laboratory, titleFor).size === 1);
  return new Set([...found, ...alone]);
}

/** Why a row is not found, as far as the row shows it. @returns {[rule: 'unreachable-place' | 'multi-word-place', why: string]} */
function reasonFor(row) {
  const [, , , label, lang] = row.fields;
  if (lang === 'en') {
    if (row.section === 'location-base') return ['unreachable-place', 'location-base holds Chinese names only'];
    if (isDatabase(row) && /\s/.test(row.written.trim())) return ['multi-word-place', 'in a table of places only single English words are found'];
    const [first] = label.trim().toLowerCase().split(' ');
    const words = placeTitle(row).normalizedEnglish.split(' ');
    if (!isDatabase(row) && !words.includes(first)) return ['unreachable-place', `the first word of its label ${quoted(label)} is not in it`];
    return ['unreachable-place', 'it is a common English word, which is never taken for a place'];
  }
  const [character = ''] = [...label];
  if (!row.term.includes(character)) return ['unreachable-place', `the first character of its label ${quoted(label)} is not in it`];
  return ['unreachable-place', 'no title is found to reach it'];
}

function regionFindings(rows, found, laboratory) {
  return Object.entries(REGIONS).flatMap(([section, { words }]) => {
    const places = rows.filter((row) => row.section === section && found.has(row));
    if (places.length === 0) return [];
    const bare = foundAmong(places, laboratory, placeTitle);
    const silent = places.length - bare.size;
    if (silent === 0) return [];
    const message = `${silent} of ${places.length} places of ${section} are found only in titles with a sign of the region: ${words}`;
    return [{ rule: 'needs-region', place: places[0].place, message }];
  });
}

/**
 * @param {import('./rules.mjs').LintRow[]} rows
 * @param {import('./laboratory.mjs').Laboratory} laboratory
 * @returns {import('./rules.mjs').LintFinding[]}
 */
export function placeFindings(rows, laboratory) {
  const places = rows.filter((row) => (isDatabase(row) ? row.section.startsWith('location-') : row.section === 'location'))
    .filter(({ fields }) => fields.length >= 6)
    .map((row, i) => ({ ...row, id: `place-${i}` }));
  const titleFor = (row) => withSign(placeTitle(row), REGIONS[row.section]?.sign);
  // Curated places silence all others, so the two are asked apart.
  const found = new Set([places.filter(isDatabase), places.filter((row) => !isDatabase(row))]
    .flatMap((each) => [...reachable(each, laboratory, titleFor)]));
  const unreached = places.filter((row) => !found.has(row)).map((row) => {
    const [rule, why] = reasonFor(row);
    return { rule, place: row.place, message: `the place ${quoted(row.written)} (${languageOf(row)}) is never found: ${why}` };
  });
  return /** @type {import('./rules.mjs').LintFinding[]} */ ([...unreached, ...regionFindings(places, found, laboratory)]);
}
