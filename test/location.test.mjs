// Places through whole packs: shards, regions, what a result looks like, and when the view is made anew. The rules for
// one row and one title are held in location_tables_test.cpp and location_test.cpp.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertSame } from './support/outcome.mjs';
import { indexDocument, packBytes, root, writeAt, writeFile, writePack } from './support/packs.mjs';
import { buildLocationShard, buildPayload, compressLz4Block } from '../tools/index.mjs';

/** A row of the index's section "location": [term, code, source, weight, label, lang, country]. */
const curated = (term, code, { source = 'location', weight = '1', label = term, lang = 'zh', country = `${code} land` } = {}) =>
  [term, code, source, weight, label, lang, country];

/** An alias of a shard with one record; `en` marks it English. */
const alias = (text, code, { en = false, weight = 0, label = text, country = `${code} land` } = {}) =>
  ({ alias: text, records: [{ code, englishFlag: en ? 1 : 0, weight, label, countryLabel: country }] });
const english = (text, code, label = text, weight = 0) => alias(text, code, { en: true, label, weight });

/** A pack of curated rows and of shards: { 'location-cn': [alias, …] }. */
const documents = (location, shards = {}) => [indexDocument({ location }),
  ...Object.entries(shards).map(([name, entries]) => ({ type: 6, encoding: 2, name, data: buildLocationShard(entries) }))];
const packOf = (location, shards) => writePack({ documents: documents(location, shards) });

/** Titles: [raw] or [raw, normalizedEnglish]. */
const resolve = (pack, titles, options = {}) => addon.resolveSceneIntentBatch({
  ...pack, cases: titles.map(([raw, normalizedEnglish = '']) => ({ raw, normalizedEnglish })), ...options,
}).results;
const codesOf = (pack, titles, options) => resolve(pack, titles, options).map((result) => result.locationCodes.join());

test('what a title with a place gets, property by property', () => {
  const pack = packOf(
    [curated('纽约', 'US', { weight: '2', country: '美国' }), curated('newyork', 'US', { lang: 'en', label: 'new york', weight: '3.5x', country: 'usa' }),
      curated('日本', 'JP', { source: 'country', country: 'Japan' }), curated('singapore', 'SG', { lang: 'en', label: 'singapore', country: 'Singa Pore' })],
    { 'location-db': [alias('京', 'KYO', { label: '', country: '', weight: NaN }), alias('京', 'KYO', { label: '京', country: '', weight: 1 / 3 })] },
  );
  const [both, country, once, shard, none, blank] = resolve(pack,
    [['在纽约', 'in new york'], ['日本'], ['x', 'singapore'], ['京'], ['无'], [' ', ' ']]);
  assert.equal(both.locationMeta.countryCodes, both.locationCodes, 'the very same array');
  assertSame({ locationCodes: both.locationCodes, locationMeta: both.locationMeta }, {
    locationCodes: ['US'],
    locationMeta: {
      countryCode: 'US', countryCodes: ['US'], countryLabel: '美国', locationLabel: '纽约', shortLabel: '美国 · 纽约',
      fullLabel: '美国 · 纽约',
      // 12 + 24 + 2.8 + 7 against 0 + 24 + 9.8 + 6 of the English row
      primaryHit: { alias: '纽约', code: 'US', index: 1, label: '纽约', len: 2, source: 'location', weight: 2 },
    },
  });
  assertSame(country.locationMeta, { countryCode: 'JP', countryCodes: ['JP'], countryLabel: 'Japan', locationLabel: '',
    shortLabel: 'Japan', fullLabel: 'Japan', primaryHit: null });
  assert.deepEqual([once.locationMeta.locationLabel, once.locationMeta.shortLabel], ['Singapore', 'Singa Pore']);
  // A record without a label is never looked up by one; a single's weight is printed with six digits and read again.
  assertSame(shard.locationMeta, { countryCode: 'KYO', countryCodes: ['KYO'], countryLabel: '', locationLabel: '京',
    shortLabel: ' · 京', fullLabel: ' · 京',
    primaryHit: { alias: '京', code: 'KYO', index: 0, label: '京', len: 1, source: 'location-db-native', weight: 0.333333 } });
  for (const result of [none, blank]) assertSame([result.locationCodes, result.locationMeta], [[], null]);
});

test('shards: what their names and aliases do', () => {
  const shards = {
    'location-any': [english('newyork', 'NY', 'New York'), english('boston', 'BOS', 'The Hub'), alias('巴黎', 'FR', { weight: NaN })],
    'places-any': [alias('火星', 'MARS')],
    location: [alias('月球', 'MOON')],
  };
  const titles = [['x', 'new york'], ['x', 'newyork'], ['x', 'boston'], ['x', 'the hub'], ['巴黎'], ['火星'], ['月球']];
  // An English alias is one word of the reading. A shard under another name is out of reach; one named "location" is
  // part of the curated section, whose database rows give way to themselves.
  const expected = ['', 'NY', 'BOS', '', 'FR', '', ''];
  assert.deepEqual(codesOf(packOf([], shards), titles), expected);
  const payload = buildPayload(documents([], shards));
  const compressed = writePack({ payload, stored: compressLz4Block(payload), metadata: { compression: 'lz4-block-v1' } });
  assert.deepEqual(codesOf(compressed, titles), expected, 'the same, compressed');
  assert.ok(Number.isNaN(resolve(compressed, [['巴黎']])[0].locationMeta.primaryHit.weight));

  const base = packOf([curated('东京', 'JP', { source: 'location-db-native' }), curated('大阪', 'OSA', { label: '阪' })]);
  const overlay = packOf([curated('东京', 'KANTO', { source: 'location-db-native' }), curated('大阪', 'OSA', { source: 'location-db-native' }),
    curated('京都', 'KYO', { source: 'location-db-native' })]);
  const withOverlay = { overlayPackPath: overlay.packPath, overlayAllowedRoot: root };
  // Only rows of the base pack suppress, also when their own label is not in the title.
  assert.deepEqual(codesOf(base, [['东京'], ['大厦大阪'], ['京都']], withOverlay), ['KANTO', 'OSA', 'KYO']);
  assert.deepEqual(codesOf(base, [['东京'], ['大阪']]), ['', 'OSA']);
  assert.equal(resolve(base, [['大阪']], withOverlay)[0].locationMeta.primaryHit.source, 'location');
});

test('every sign of a region, and every common word', () => {
  const hints = {
    'location-cn': 'china beijing shanghai guangzhou shenzhen hong_kong macau macao taiwan',
    'location-us': 'united_states usa america new_york los_angeles san_francisco miami seattle hawaii amsterdam',
    'location-eu': 'europe france paris london england united_kingdom germany berlin italy rome spain greece santorini trip street opera',
    'location-asia': 'japan tokyo korea seoul busan thailand bangkok bali singapore malaysia kuala_lumpur vietnam dubai',
  };
  const words = 'nice mobile holiday wedding reading orange spring fall normal home office coffee list backup project version final'.split(' ');
  const pack = packOf([], { ...Object.fromEntries(Object.keys(hints).map((name) => [name, [english(name.replace('-', ''), name)]])),
    'location-x': words.flatMap((word) => [english(word, 'WORD'), english(`${word}ton`, 'TOWN')]) });
  const signs = (name) => hints[name].split(' ').map((text) => text.replace('_', ' '));
  for (const name of Object.keys(hints)) {
    const place = name.replace('-', '');
    for (const sign of signs(name)) {
      const titles = [['x', `${place} ${sign.toUpperCase()}`], [`x${sign.toUpperCase()}x`, place], ['x', `${place} ${sign.slice(1)}`]];
      // The compacted title holds no blank, and so no sign of two words.
      assert.deepEqual(codesOf(pack, titles), [name, sign.includes(' ') ? '' : name, ''], sign);
    }
    const others = Object.keys(hints).filter((other) => other !== name).flatMap(signs);
    const foreign = name === 'location-us' ? others.filter((sign) => sign !== 'busan') : others; // it holds "usa"
    assert.deepEqual(codesOf(pack, [['é', place], ['x', `${place} ${foreign.join(' ')}`]]), [name === 'location-cn' ? name : '', '']);
  }
  assert.deepEqual(codesOf(pack, words.map((word) => ['x', word])), words.map(() => ''));
  assert.deepEqual(codesOf(pack, words.map((word) => ['x', `${word}ton`])), words.map(() => 'TOWN'));
});

test('groups of an English title: least sums and ties', () => {
  // Scores in "aaaa bbbbbbbbb ccccccccc ddddddddd": 14 + 5.6 + 8, 14 + 12 + 4, 14 + 12, 14 + 12, and 6 × weight. In "aaaa bbbb cccc":
  // 27.6, 23.6 and 19.6. Weights are exact in single precision, so that sums are equal to the last bit.
  const [a, b, c, d] = ['aaaa', 'bbbbbbbbb', 'ccccccccc', 'ddddddddd'];
  const long = `${a} ${b} ${c} ${d}`;
  const short = 'aaaa bbbb cccc';
  const table = [
    ['0.82 of 21.6 is 17.7, but 18 is the least: 18.35', [english('aaaa', 'A', 'Aaaa', -1), english('bbbb', 'B', 'Bbbb', -0.875)], short, 'A,B'],
    ['17.6 is not enough', [english('aaaa', 'A', 'Aaaa', -1.25), english('bbbb', 'B', 'Bbbb', -1)], short, 'A'],
    ['two labels, 26 is the least: 15.35 + 11.35', [english('aaaa', 'A', 'A'), english('bbbb', 'B', 'B', -1.375), english('cccc', 'B', 'C', -1.375)], short, 'A,B'],
    ['14.6 + 10.6 is not enough', [english('aaaa', 'A', 'A'), english('bbbb', 'B', 'B', -1.5), english('cccc', 'B', 'C', -1.5)], short, 'A'],
    ['of 30 + 26 and 26 + 30, more labels', [english(a, 'X', 'Cccc'), english(b, 'Y', 'Bbbb'), english(c, 'X', 'Cccc', 5), english(d, 'Y', 'Dddd')], long, 'Y,X'],
    ['of 29 + 29 and 32 + 26, the better hit', [english(c, 'Z', 'Zzz1', 0.5), english(d, 'Z', 'Zzz2', 0.5), english(c, 'Y', 'Yyy1', 1), english(d, 'Y', 'Yyy2')], long, 'Y,Z'],
    ['the earlier place', [english(d, 'D', 'Dddd'), english(c, 'C', 'Cccc')], long, 'C,D'],
    ['the longer label', [english(c, 'P', 'Five5'), english(c, 'Q', 'Sixsix')], long, 'Q,P'],
    ['one group, however weak', [english(c, 'P', 'P', -99)], long, 'P'],
  ];
  for (const [why, entries, title, expected] of table) {
    assert.deepEqual(codesOf(packOf([], { 'location-x': entries }), [['x', title]]), [expected], why);
  }
});

test('the view follows the base pack, the overlay pack and the order of the caller\'s rows', () => {
  const bytesOf = (code) => packBytes({ documents: documents([curated('东京', code)]) });
  const [path, patch] = [writeFile(bytesOf('A')), writeFile(bytesOf('P'))];
  const pack = { packPath: path, allowedRoot: root };
  const ask = (options) => codesOf(pack, [['东京']], options)[0];
  const overlayPack = { overlayPackPath: patch, overlayAllowedRoot: root };
  const rows = (...codes) => ({ locationOverlay: { aliasesZh: { 东京: codes.map((code) => [code]) } } });
  assert.equal(ask({}), 'A');
  assert.equal(ask(rows('X', 'Y')), 'A,X,Y');
  assert.equal(ask(rows('Y', 'X')), 'A,Y,X');
  assert.equal(ask({ ...overlayPack, ...rows('X') }), 'A,X,P');
  writeAt(patch, bytesOf('Q'));
  assert.equal(ask(overlayPack), 'A,Q');
  assert.equal(ask({ ...overlayPack, overlayPackPath: `${root}/./${patch.slice(root.length + 1)}` }), 'A,Q');
  writeAt(path, bytesOf('B'));
  assert.equal(ask(overlayPack), 'B,Q', 'a touched base pack is another pack');
  assert.equal(ask({}), 'B');
  // A file that is bad by now leaves the old pack, and its view, in place until it is good again.
  writeAt(path, Buffer.alloc(100), 1_000_000_001);
  assert.throws(() => ask({}), { message: 'semantic rule-pack magic is invalid' });
  writeAt(path, Buffer.alloc(bytesOf('B').length));
  assert.equal(ask({}), 'B');
});
