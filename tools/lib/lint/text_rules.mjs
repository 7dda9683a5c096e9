// What a row alone, or the rows together, already show: nobody has to be asked.

import englishReading from '../../../lib/english_reading.cjs';
import { SECTION_NAMES } from '../binary_index.mjs';
import { countOf } from '../command_line.mjs';
import { compactTerm } from '../text.mjs';

const CJK = /[\p{Script=Han}\p{Script=Hiragana}\p{Script=Katakana}\p{Script=Hangul}]/u;
const KNOWN_SCENE_KINDS = ['category', 'detail', 'short', 'compound', 'conflict'];
const KNOWN_PEOPLE = ['actor', 'singer', 'idol', 'model', 'adult', 'creator', 'influencer', 'athlete', 'artist', ''];
const KNOWN_PLACES = ['country', 'location-famous', 'location', 'location-db-native', 'location-db-en'];

const quoted = (text) => JSON.stringify(text);
const isPlace = ({ section }) => !SECTION_NAMES.includes(section) || section === 'location';

/** Language of a row; people have none. */
export function languageOf({ section, fields }) {
  if (section === 'scene') return fields[4];
  if (section === 'human') return fields.length > 2 ? 'en' : 'zh';
  if (section === 'facet') return fields[3];
  return section === 'celebrity' ? '' : fields[4];
}

/** @type {Record<string, (row: import('./rules.mjs').LintRow) => string | false | undefined>} */
const ROW_RULES = {
  'one-character': ({ term }) => [...term].length === 1 && `the alias ${quoted(term)} is a single character`,
  'wrong-language': (row) => {
    const language = languageOf(row);
    if (language === 'en' && CJK.test(row.term)) return `${quoted(row.term)} stands under "en", and no English reading holds it`;
    // A long Latin name is hardly ever part of another word.
    const short = /^[\x21-\x7e]{1,3}$/.test(row.term);
    return row.section === 'scene' && language === 'zh' && short
      && `${quoted(row.term)} stands under "zh": it is found inside words of titles with a Chinese character, and in no Latin title`;
  },
  'spreadsheet-quote': ({ written }) => /^["'\u201c]|["\u201d]$|""/.test(written) && `the alias ${quoted(written)} begins or ends with a quote`,
  'surrogate': ({ written }) => /\p{Surrogate}|\ufffd/u.test(written) && `the alias ${quoted(written)} holds half a character`,
  'not-folded': ({ term }) => (/[\p{Lu}\p{Lt}]/u.test(term) || /[\p{Zs}\u200b-\u200d\u2060\ufeff]/u.test(term))
    && `the alias ${quoted(term)} holds a capital or a blank beyond ASCII, which is compared as it stands`,
  'missing-country-label': (row) => isPlace(row) && row.fields[5] === '' && `the place ${quoted(row.term)} has no country label`,
  // Phrases and facets are also looked for in the title itself.
  'unread-alias': (row) => {
    if ((row.section !== 'scene' && !isPlace(row)) || languageOf(row) !== 'en' || CJK.test(row.term)) return false;
    const reading = englishReading(row.written);
    return compactTerm(reading) !== row.term && `${quoted(row.written)} is in no English reading that is made of a title, where it is ${quoted(reading)}`;
  },
  'shard-name': ({ section }) =>
    !SECTION_NAMES.includes(section) && !section.startsWith('location-') && `no look-up reaches the rows of ${quoted(section)}`,
};

/** A kind that no row may have, once for all rows that have it. */
function unknownKinds(rows) {
  const unknown = ({ section, fields }) => {
    if (section === 'scene') return !KNOWN_SCENE_KINDS.includes(fields[3]) && `the kind ${quoted(fields[3])} ranks below all others`;
    if (section === 'celebrity') return !KNOWN_PEOPLE.includes(fields[2]) && `the kind ${quoted(fields[2])} is taken for an artist in general`;
    return section === 'location' && !KNOWN_PLACES.includes(fields[1]) && `the source ${quoted(fields[1])} ranks below all others`;
  };
  const found = new Map();
  for (const row of rows) {
    const message = unknown(row);
    if (!message) continue;
    const known = found.get(message);
    if (known) known.count += 1;
    else found.set(message, { place: row.place, count: 1 });
  }
  return [...found].map(([message, { place, count }]) => ({ rule: 'unknown-kind', place, message: `${message} (${countOf(count, 'row')})` }));
}

function duplicates(rows) {
  const first = new Map();
  return rows.flatMap(({ section, term, fields, written, place }) => {
    // The weight of a facet is not part of it: the first one counts.
    const identity = section === 'facet' ? [fields[0], fields[1], fields[3]] : fields;
    const key = JSON.stringify([section, term, identity]);
    const known = first.get(key);
    if (!known) {
      first.set(key, { written, place });
      return [];
    }
    const folded = known.written === written ? '' : `, as which ${quoted(known.written)} and ${quoted(written)} are looked for`;
    return [{ rule: 'duplicate', place, message: `${quoted(term)}${folded}, stands already at ${known.place}` }];
  });
}

function repeatedIds(rows) {
  const first = new Map();
  const told = new Set();
  return rows.filter(({ section }) => section === 'celebrity').flatMap(({ fields, place }) => {
    const data = JSON.stringify(fields);
    const known = first.get(fields[0]);
    if (!known) first.set(fields[0], { data, place });
    if (!known || known.data === data || told.has(data)) return [];
    told.add(data);
    return [{ rule: 'repeated-id', place, message: `the id ${quoted(fields[0])} has other data than at ${known.place}` }];
  });
}

function unknownScenes(rows, baseScenes) {
  const known = new Set([...baseScenes, ...rows.filter(({ section, fields }) => section === 'scene' && fields[3] === 'category').map(({ fields }) => fields[0])]);
  return rows.filter(({ section, fields }) => (section === 'human' && fields[0] !== '') || section === 'scene')
    .filter(({ fields }) => !known.has(fields[0]))
    .map(({ fields, place }) => ({ rule: 'unknown-scene', place, message: `no category with an alias has the key ${quoted(fields[0])}` }));
}

function withoutEffect(rows) {
  return rows.filter(({ section }) => section === 'human' || section === 'facet')
    .map(({ section, term, place }) => ({ rule: 'patch-without-effect', place, message: `${quoted(term)} is a ${section} row of a patch` }));
}

/**
 * @param {import('./rules.mjs').LintRow[]} rows
 * @param {{ isPatch: boolean, baseScenes: string[] }} pack
 * @returns {import('./rules.mjs').LintFinding[]}
 */
export function textFindings(rows, { isPatch, baseScenes }) {
  const single = rows.flatMap((row) => Object.entries(ROW_RULES).flatMap(([rule, test]) => {
    const message = test(row);
    return message ? [{ rule, place: row.place, message }] : [];
  }));
  const found = [...single, ...unknownKinds(rows), ...duplicates(rows), ...repeatedIds(rows), ...unknownScenes(rows, baseScenes), ...isPatch ? withoutEffect(rows) : []];
  return /** @type {import('./rules.mjs').LintFinding[]} */ (found);
}
