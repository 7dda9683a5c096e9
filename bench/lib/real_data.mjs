// Lexicon rows and titles out of real data: the sample of this repository alone, or joined by a folder of larger
// tables.
//
// The tables are tab-separated with a header line:
//   places.tsv      code, alias, englishFlag, weight, label, countryLabel, kind
//   vocabulary.tsv  term, lang, group, subgroup, key
//   people.tsv      id, name_zh, name_zh_trad, name_en, aliases (separated by "|"), kind, region
//   titles.tsv      zh/raw, en
import { readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { compactTerm } from '../../tools/index.mjs';
import { compileLexicons } from '../../tools/lib/lexicon.mjs';

const sample = fileURLToPath(new URL('../../sample/', import.meta.url));

/** The rows of a table as objects. */
function readTable(path) {
  const [header, ...lines] = readFileSync(path, 'utf8').trimEnd().split('\n').map((line) => line.split('\t'));
  return lines.map((cells) => Object.fromEntries(header.map((name, i) => [name, cells[i] ?? ''])));
}

/** The sections that the sample's lexicon compiles to: { scene: [{ term, fields }], … }. */
function sampleSections() {
  const folder = join(sample, 'lexicon');
  const sources = readdirSync(folder).sort().map((path) => ({ path, text: readFileSync(join(folder, path), 'utf8') }));
  return Object.fromEntries(compileLexicons(sources).sections.map(({ type, rows }) => [type, rows]));
}

const samplePlaces = () => readdirSync(join(sample, 'places')).flatMap((file) => readTable(join(sample, 'places', file))
  .map((row) => ({ ...row, englishFlag: row.lang === 'en' ? '1' : '0', shard: file.replace('.tsv', '') })));

/** Each word of the vocabulary is an alias of its group and of its subgroup. */
function vocabularyRows(vocabulary) {
  return vocabulary.flatMap(({ term, lang, group, subgroup, key }) => {
    const tail = [group, `${group} archive`, group.slice(0, 3).toUpperCase(), key, `${group} moments`, '3'];
    const row = (detail, kind) =>
      ({ term: compactTerm(term), fields: [group, detail, '3', kind, lang, ...tail], written: term });
    return [row(tail[4], 'category'), row(subgroup, 'detail')];
  });
}

function peopleRows(people) {
  return people.flatMap((person) => {
    const name = person.name_zh || person.name_en;
    const fields = [person.id, name, person.kind, person.region, '5', `people/${person.id}`, ''];
    const names = [person.name_zh, person.name_zh_trad, person.name_en, ...person.aliases.split('|')];
    return [...new Set(names.filter((text) => text.length > 1))].map((written) => ({ term: compactTerm(written), fields, written }));
  });
}

/** The largest places, as an editor would have checked them. */
function curatedPlaces(places, count) {
  const large = places.filter(({ kind }) => kind !== 'town').sort((a, b) => b.weight - a.weight).slice(0, count);
  return large.map(({ code, alias, englishFlag, weight, label, countryLabel, kind }) => ({
    term: compactTerm(alias), written: alias,
    fields: [code, kind === 'country' ? 'country' : weight > 0.6 ? 'location-famous' : 'location', weight, label,
      englishFlag === '1' ? 'en' : 'zh', countryLabel],
  }));
}

const shardOf = ({ code }) => (code.startsWith('CN') ? 'location-cn' : 'location-world');

/** Places under the names of their shards; records of one folded alias stand under one entry. */
function makeShards(places) {
  const shards = {};
  for (const { shard, alias, code, englishFlag, weight, label, countryLabel } of places) {
    const entries = (shards[shard] ??= new Map());
    const term = compactTerm(alias);
    if (!entries.has(term)) entries.set(term, { alias: term, records: [] });
    entries.get(term).records.push({ code, englishFlag: Number(englishFlag), weight: Number(weight), label, countryLabel });
  }
  return Object.fromEntries(Object.entries(shards).map(([name, entries]) => [name, [...entries.values()]]));
}

const englishWords = (text) => text.toLowerCase().replace(/[^a-z0-9 ]+/g, ' ').trim().replace(/ +/g, ' ');

/** The titles of a table, each with an English reading if it has one. */
const readTitles = (path) => readTable(path).map((row) => Object.values(row))
  .map(([raw, english]) => ({ raw, normalizedEnglish: englishWords(english || (/[^\0-\x7f]/.test(raw) ? '' : raw)) }))
  .filter(({ raw }) => raw !== '');

/** Terms as titles have them: English rows are folded, so the written form is taken where it is known. */
function writtenTerms(sections, places) {
  const english = ({ written, term }) => (/^[\0-\x7f]*$/.test(term) ? ` ${englishWords(written ?? term)} ` : written ?? term);
  const terms = ['scene', 'human', 'facet', 'location'].flatMap((name) => sections[name].map(english));
  const placeTerms = places.map(({ alias }) => english({ written: alias, term: compactTerm(alias) }));
  return { scene: [...new Set([...terms, ...placeTerms])],
    celebrity: [...new Set(sections.celebrity.map(english))] };
}

/**
 * `sections` and `shards` in the form of a generated lexicon, `titles`, and `writtenTerms` for the rival: those of
 * scenes and places, and those of people.
 */
export function readRealData(folder) {
  const sections = sampleSections();
  let places = samplePlaces();
  if (folder) {
    places = readTable(join(folder, 'places.tsv')).map((place) => ({ ...place, shard: shardOf(place) }));
    sections.scene.push(...vocabularyRows(readTable(join(folder, 'vocabulary.tsv'))));
    sections.celebrity.push(...peopleRows(readTable(join(folder, 'people.tsv'))));
    sections.location.push(...curatedPlaces(places, 19000));
  }
  const shards = Object.entries(makeShards(places)).map(([name, entries]) => [name, {
    entries, count: entries.length, rowCount: entries.reduce((sum, { records }) => sum + records.length, 0),
  }]);
  return {
    sections: Object.fromEntries(Object.entries(sections).map(([name, rows]) => [name, { rows, count: rows.length }])),
    shards: Object.fromEntries(shards),
    titles: readTitles(folder ? join(folder, 'titles.tsv') : join(sample, 'titles.tsv')),
    writtenTerms: writtenTerms(sections, places),
  };
}
