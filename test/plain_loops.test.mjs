// The batch held against plain loops over all rows: no index, every step written out. Labels for display, the choice by
// score, human phrases, identities and the travel inference are held by tables.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { indexDocument, root, writePack } from './support/packs.mjs';
import { buildLocationShard, compactTerm } from '../tools/index.mjs';

const nonAscii = (text) => /[^\0-\x7f]/.test(text);
const count = (text) => [...text].length;
const isRun = ({ words }, term) => words.some((_, from) => words.some((__, to) => words.slice(from, to + 1).join('') === term));

/** Whether the rules leave the last answer open. */
let open = false;
/** Sorts by lists of numbers, the greatest first. Items that differ and have no order leave the answer open. */
function ordered(items, keysOf, differ) {
  return items.map((item) => [item, keysOf(item)]).sort(([a, x], [b, y]) => {
    const i = x.findIndex((key, at) => key !== y[at]);
    if (i < 0 ? differ(a, b) : Number.isNaN(y[i] - x[i])) open = true;
    return i < 0 ? 0 : y[i] - x[i];
  }).map(([item]) => item);
}

// Places: [section, term, code, source, weight, label, lang, country].

function hitsOf(base, overlay, { raw, english, words, compactRaw, compactEnglish }) {
  const view = [...base, ...overlay].filter((row) => row.length >= 8).map(([section, term, code, source, weight, label, lang, country]) =>
    ({ section, term, code, source, weight: Number(weight), label, isEnglish: lang === 'en', country, database: /-db-/.test(source) }));
  const keyOf = ({ term, label, isEnglish, database }) =>
    (isEnglish ? `en:${compactTerm((database ? term : label || '?').split(' ')[0])}` : `zh:${[...label][0]}`);
  const keys = [...[...compactRaw].map((character) => `zh:${character}`), ...words.map((word) => `en:${compactTerm(word)}`)];
  const candidates = new Set(keys.flatMap((key) => view.filter((row) => keyOf(row) === key)));
  const bases = { country: 34, 'location-famous': 32, location: 24, 'location-db-native': 18, 'location-db-en': 14 };
  return [...candidates].filter(({ section, term, code, isEnglish, database }) => {
    if (isEnglish && (section === 'location-base' || term === 'home')) return false;
    if (section === 'location-us' && !compactRaw.includes('usa') && !/new york|usa/i.test(english)) return false;
    if (section === 'location-cn' && !nonAscii(raw)) return false;
    if (database && base.some((row) => row[0] === 'location' && row[1] === term && row[2] === code)) return false;
    return isEnglish ? isRun({ words }, term) : compactRaw.includes(term);
  }).map((row) => {
    const [before, ...behind] = (row.isEnglish ? compactEnglish : compactRaw).split(row.term);
    const [index, term, length] = [behind.length > 0 ? count(before) : 9999, count(row.term), count(row.label)];
    const score = row.weight * 6 + (bases[row.source] ?? 10)
      + Math.min(12, term * (row.source === 'location-db-native' ? 2.2 : 1.4)) + (8 - Math.min(index, 8));
    return { ...row, index, score, length, covers: row.database ? term : length };
  });
}

const unique = (items) => [...new Set(items.map((item) => item.code))];

function codesOf(hits, raw) {
  if (hits.some((hit) => !hit.database)) return unique(hits.filter((hit) => !hit.database));
  if (!nonAscii(raw)) open = unique(hits).length > 1;
  const kept = hits.filter((hit) => !hits.some((other) => hit.covers < other.covers && other.index <= hit.index
    && hit.index + hit.covers <= other.index + other.covers));
  return unique(ordered(kept, (hit) => [-hit.index, hit.length, hit.score], (a, b) => a.code !== b.code));
}

/** Codes, then the country's label and the primary hit. */
function placeOf(hits, raw) {
  const codes = codesOf(hits, raw).slice(0, 3);
  const best = (country) => ordered(hits.filter((hit) => hit.code === codes[0] && (hit.source === 'country') === country),
    (hit) => [hit.score, -hit.index, hit.length], () => true)[0];
  const [place, country] = [best(false), best(true)];
  return [codes, (country ?? place)?.country, ...(place ? [place.label, place.index, place.length, place.source, place.weight] : [])];
}

// Scenes: [term, key, detail, priority, kind, lang, label, archive label, archive code, icon, default detail, priority].

const rankOf = (row) => ({ short: 500, conflict: 400, compound: 300, detail: 200, category: 100 })[row[4]] ?? 0;
const textOf = (row, title) => (row[5] === 'en' ? title.compactEnglish : title.compactRaw);
const scoreOf = (row, text, full, [zh, other], most, more) => Math.max(full - count(text.slice(0, Math.max(text.indexOf(row[0]), 0))), 0)
  + (Math.min(count(row[0]) * (row[5] === 'zh' ? zh : other), most) + more);

const speaksFor = (title) => (row) => {
  const [term, , , , kind, lang] = row;
  if (kind === 'short' && (term !== textOf(row, title) || (lang === 'en' && nonAscii(title.raw)))) return false;
  if (lang === 'en') return isRun(title, term);
  return title.compactRaw.includes(term) && (nonAscii(title.raw) || !/^[a-z0-9]*$/.test(term) || term === title.compactRaw);
};

function detailOf(rows, title, key, detail) {
  const own = rows.filter((row) => row.length >= 6 && row[1] === key);
  const diary = (row) => row[2] === 'travel diary' && rankOf(row) >= 300 && textOf(row, title).includes(row[0]);
  if (key === 'travel' && title.compactRaw.includes('vlog') && own.some(diary)) return 'travel diary';
  const best = (list, keysOf) => ordered(list, keysOf, () => false)[0]; // of equals the first
  const exact = best(own.filter((row) => rankOf(row) >= 300 && row[0] === textOf(row, title)), (row) => [rankOf(row)]);
  const byScore = (row) => [scoreOf(row, textOf(row, title), 8, [0.9, 0.7], 10, 6), Buffer.byteLength(row[0])];
  return (exact ?? best(own.filter((row) => row[4] === 'detail' && textOf(row, title).includes(row[0])), byScore) ?? [0, 0, detail])[2];
}

/** Scene, detail, and of the hit: alias, language, rank, score, label, default detail. */
function sceneOf(scene, title) {
  const score = (row) => (row.length < 6 || row[3] === '1x' ? 0 : scoreOf(row, title.compactRaw, 10, [1.2, 0.9], 12, Number(row[3])));
  const byTerm = scene.filter(speaksFor(title)).sort((a, b) => (a[0] < b[0] ? -1 : Number(a[0] > b[0])));
  const rows = ordered(byTerm, (row) => [rankOf(row), Buffer.byteLength(row[0]), score(row)],
    (a, b) => a[0] === b[0] && a.join() !== b.join());
  if (rows.length === 0) return ['', ''];
  // By rank and length, so that the first whole title is the best.
  const whole = rows.findIndex((row) => row.length >= 6 && rankOf(row) > 0 && row[0] === textOf(row, title));
  if (whole > 0) [rows[0], rows[whole]] = [rows[whole], rows[0]];
  const [term, key = '', fallback = '', , , lang = '', label = '', , , , defaultDetail] = rows[0];
  const detail = detailOf(rows, title, key, fallback);
  return [key, detail, term, lang, rankOf(rows[0]), score(rows[0]), label, defaultDetail ?? detail];
}

// Rows and titles at random, the same in every run.

let state = 1;
function below(limit) {
  state = Math.imul(state ^ (state >>> 15), 0x2c1b3c6d) + 0x9e3779b9 | 0;
  return ((state ^ (state >>> 16)) >>> 0) % limit;
}
const pick = (...from) => from[below(from.length)];
const upTo = (most, make) => Array.from({ length: below(most + 1) }, make);
const some = (most, letters) => pick(...letters) + upTo(most - 1, () => pick(...letters)).join('');
const cut = (row, odds) => (below(odds) === 0 ? row.slice(0, 2 + below(row.length - 2)) : row);

function placeRow(section, letters) {
  const term = below(9) === 0 ? pick('home', 'A', 'abab') : some(2, letters);
  const label = pick(pick('', ' a', '\ta b', 'a b', 'aabb cc', 'home'), some(3, [...letters, ' ', 'A']), term + some(2, letters));
  const [code, lang, country] = [pick(...'ABCDEF'), pick('en', 'zh'), pick('a', 'b', '')];
  const [source, weight] = section === 'location' && below(3) > 0
    ? [pick('country', 'location-famous', 'location', 'x', 'location-db-en'), pick('0.5', '1', '-1', '', '3.75', 'nan')]
    : [`location-db-${lang === 'en' ? 'en' : 'native'}`, (below(256) / 64 - 1).toFixed(6)];
  return [section, term, code, source, weight, label, lang, country];
}

let serial = 0;
function sceneRow(letters) {
  const priority = below(10) === 0 ? pick('', '1x') : String((serial += 1) / 1000); // of its own, so that ties are rare
  return cut([below(15) === 0 ? 'vlog' : some(3, letters), pick('food', 'travel', 'city', 'x'), pick('travel diary', 'd1', 'd2', ''),
    priority, pick('short', 'conflict', 'compound', 'detail', 'category', 'category', 'other'), pick('zh', 'en', 'fr'), `l${priority}`,
    'al', 'ac', 'i', `dd${priority}`, 'p'], 12);
}

/** The path of a pack, and its rows. */
function makePack(letters, most, curated) {
  const scene = upTo(most, () => sceneRow(letters));
  scene.push(...scene.filter(() => below(8) === 0));
  const location = upTo(curated ? most : 0, () => cut(placeRow('location', letters), 20));
  const shards = ['location-x', 'location-cn', 'location-us', 'location-base', 'elsewhere'].map((name) =>
    [name, upTo(most / 3, () => placeRow(name, letters))]);
  const entry = ([, alias, code, , weight, label, lang, countryLabel]) =>
    ({ alias, records: [{ code, englishFlag: lang === 'en' ? 1 : 0, weight: Number(weight), label, countryLabel }] });
  const { packPath } = writePack({ documents: [indexDocument({ scene, location: location.map((row) => row.slice(1)) }),
    ...shards.map(([name, rows]) => ({ type: 6, encoding: 2, name, data: buildLocationShard(rows.map(entry)) }))] });
  return { packPath, scene, places: [...location, ...shards.slice(0, -1).flatMap(([, rows]) => rows)] };
}

test('the same as the plain loops', () => {
  const seen = { simple: 0, curated: 0, database: 0, scenes: 0, open: 0 };
  for (let round = 0; round < 500; round += 1) {
    const letters = [...'aabbc', ...(round % 4 < 2 ? '' : '东京é𠀀𠀁')];
    const [base, patch] = [30, 8].map((most) => makePack(letters, most, round % 2));
    const own = upTo(3, () => [some(2, letters), pick('food', 'city', 'y')]);
    const ownRows = own.map(([term, key]) => [term, key, '', '0', 'category', 'zh', 'own', '', '', '', '', '0']);
    const scene = [...base.scene, ...ownRows, ...patch.scene];
    const known = [...new Set(upTo(round % 2 * 3, () => some(2, letters)))];
    const overlay = [...known.map((term) => ['location-overlay', term, 'O', 'location-overlay', '0', term, 'zh', 'O']), ...patch.places];
    const cases = Array.from({ length: 40 }, () => ({
      raw: some(7, [...letters, ' ', 'A']) + pick('', '', '', 'usa', 'vlog', 'home'),
      normalizedEnglish: pick('', some(7, [...letters, ' ', ' ', '\t', 'A'])) + pick('', '', ' NEW york', ' new  york', ' home', 'usa'),
    }));
    const { results } = addon.resolveSceneIntentBatch({ packPath: base.packPath, allowedRoot: root, cases,
      overlayPackPath: patch.packPath, overlayAllowedRoot: root,
      sceneOverlay: { categories: own.map(([term, key]) => ({ key, label: 'own', priority: 0, zh: [term] })) },
      locationOverlay: { aliasesZh: Object.fromEntries(known.map((term) => [term, [['O']]])) } });
    for (const [i, { raw, normalizedEnglish: english }] of cases.entries()) {
      const title = { raw, english, words: english.split(' ').filter(Boolean), compactRaw: compactTerm(raw),
        compactEnglish: compactTerm(english) };
      const compare = (kind, makeExpected, actual) => {
        open = false;
        const expected = makeExpected();
        if (!open) assert.deepEqual(actual, expected, JSON.stringify([round, title]));
        seen[open ? 'open' : kind] += 1;
      };
      const { locationCodes, locationMeta: meta, sceneKey, sceneDetail, intentHit: hit } = results[i];
      const { label, index, len, source, weight } = meta?.primaryHit ?? {};
      const hits = hitsOf(base.places, overlay, title);
      const kind = hits.some((row) => !row.database) ? 'curated' : 'database';
      compare(hits.length > 1 ? kind : 'simple', () => placeOf(hits, raw),
        [locationCodes, meta?.countryLabel, ...(meta?.primaryHit ? [label, index, len, source, weight] : [])]);
      compare(hit ? 'scenes' : 'simple', () => sceneOf(scene, title),
        [sceneKey, sceneDetail, ...(hit ? [hit.alias, hit.type, hit.rank, hit.score, hit.entry.label, hit.entry.defaultDetail] : [])]);
    }
  }
  // Worth something only if each way of choosing is taken often.
  assert.ok(['curated', 'database', 'scenes'].every((kind) => seen[kind] > 2000), JSON.stringify(seen));
});
