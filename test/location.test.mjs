// Places through whole packs: shards, regions, scores, the choice of codes, and when the view is made anew. Scores are
// written as the sums that they are: 6 × weight + base of the source + length + position.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';
import { indexDocument, packBytes, root, writeAt, writeFile, writePack } from './support/packs.mjs';
import { buildLocationShard, buildPayload, compressLz4Block } from '../tools/index.mjs';

/** A row of the index's section "location": [term, code, source, weight, label, lang, country]. */
const curated = (term, code, { source = 'location', weight = '1', label = term, lang = 'zh', country = `${code} land` } = {}) =>
  [term, code, source, weight, label, lang, country];
/** An alias of a shard with one record, native or English. */
const db = (alias, code, weight = 0, label = alias, englishFlag = 0, countryLabel = `${code} land`) =>
  ({ alias, records: [{ code, englishFlag, weight, label, countryLabel }] });
const en = (alias, code, weight, label) => db(alias, code, weight, label, 1);

const shardDocument = (name, data) => ({ type: 6, encoding: 2, name, data });
/** A pack of curated rows and of shards: { 'location-cn': [alias, …] }. */
const documents = (location, shards = {}) => [indexDocument({ location }),
  ...Object.entries(shards).map(([name, entries]) => shardDocument(name, buildLocationShard(entries)))];
const packOf = (location, shards) => writePack({ documents: documents(location, shards) });
/** Of rows of either kind: arrays are curated, objects stand in the shard "location-x". */
const mixed = (rows) => packOf(rows.filter(Array.isArray), { 'location-x': rows.filter((row) => !Array.isArray(row)) });

/** Titles: [raw] or [raw, normalizedEnglish]. */
const resolve = (pack, titles, options = {}) => addon.resolveSceneIntentBatch({
  ...pack, cases: titles.map(([raw, normalizedEnglish = '']) => ({ raw, normalizedEnglish })), ...options,
}).results;
const codesOf = (pack, titles, options) => resolve(pack, titles, options).map((result) => result.locationCodes.join());

test('what a title with a place gets, property by property', () => {
  const pack = packOf([curated('纽约', 'US', { weight: '2', country: '美国' }),
    curated('日本', 'JP', { source: 'country', country: 'Japan' }),
    curated('newyork', 'US', { lang: 'en', label: 'new york', weight: '3.5x', country: 'usa' })]);
  const [both, country, none] = resolve(pack, [['在纽约', 'in new york'], ['日本'], [' ', ' ']]);
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
  assertSame([none.locationCodes, none.locationMeta], [[], null]);
});

test('descriptions', () => {
  const place = (term, label, country, weight = '1') => curated(term, 'C', { label, country, weight });
  const japan = curated('日本', 'C', { source: 'country', weight: '0', country: 'Japan' });
  const table = [
    ["the country's own row names it", [place('东京', '东京', 'a', '9'), japan], '日本东京', ['东京', 'Japan · 东京', 2, 2, 9]],
    ['the better score', [place('东京', '东京', 'a'), place('东', '东区', 'b', '9')], '东京', ['东区', 'b · 东区', 0, 2, 9]],
    ['then the earlier place: 1 + 24 + 7 + 7 = 0 + 24 + 7 + 8', [place('二三四五六', '二', 'a', '0.16666666666666666'),
      place('一二三四五', '一', 'b', '0')], '一二三四五六', ['一', 'b · 一', 0, 1, 0]],
    ['then the longer label', [place('东京', '东京', 'a'), place('东京', '东京都', 'b')], '东京', ['东京都', 'b · 东京都', 0, 3, 1]],
    ['only the blank begins a word', [place('a', 'a-b\tc  d1e F', 'x')], 'a', ['A-b\tc  D1e F', 'x · A-b\tc  D1e F', 0, 12, 1]],
    ['only of ASCII labels', [place('café', 'café tour', 'fr')], 'café', ['café tour', 'fr · café tour', 0, 9, 1]],
    ['the same when folded: once', [place('s', 'sin gapore', 'SINGAPORE')], 's', ['Sin Gapore', 'SINGAPORE', 0, 10, 1]],
    ['no country; the weight as far as it converts', [place('东京', '东京', '', '2.5x')], '去东京', ['东京', ' · 东京', 1, 2, 2.5]],
    ['no label, never looked up', [db('京', 'C', 9, ''), db('京', 'C', 1 / 3)], '京', ['京', 'C land · 京', 0, 1, 0.333333]],
  ];
  for (const [why, rows, title, expected] of table) {
    const { locationLabel, shortLabel, primaryHit } = resolve(mixed(rows), [[title]])[0].locationMeta;
    assert.deepEqual([locationLabel, shortLabel, primaryHit.index, primaryHit.len, primaryHit.weight], expected, why);
  }
});

test('scores', () => {
  const [shanghai, rome] = ['上海', 'rome'].map((term) => (more) => curated(term, 'C', more));
  const table = [
    [shanghai(), '我在上海', '', 6 + 24 + 2.8 + 6], [shanghai({ source: 'location-famous' }), '逛上海', '', 6 + 32 + 2.8 + 7],
    [shanghai({ source: 'x' }), '上海', '', 6 + 10 + 2.8 + 8], [shanghai({ source: 'country' }), '上海', '', 6 + 34 + 2.8 + 8],
    [db('东京', 'C', 0.5), '东京', '', 3 + 18 + 2 * 2.2 + 8], [en('paris', 'C', 1, 'La Ville'), 'x', 'in paris', 6 + 14 + 5 * 1.4 + 6],
    // The caps of length, 9 × 1.4 and 6 × 2.2, and of position.
    [curated('一二三四五六七八九', 'C'), '一二三四五六七八九', '', 6 + 24 + 12 + 8], [db('一二三四五六', 'C'), '一二三四五六', '', 18 + 12 + 8],
    [shanghai(), '一 二三四五六七上海', '', 6 + 24 + 2.8 + 1], [shanghai(), '一二三四五六七八九上海', '', 6 + 24 + 2.8 + 0],
    // Weights: as the C library reads them, to the end or not at all.
    [shanghai({ weight: '1x' }), '上海', '', 0 + 24 + 2.8 + 8], [shanghai({ weight: ' 0x10' }), '上海', '', 96 + 24 + 2.8 + 8],
    // The first place anywhere; a word as written that the folded text doesn't hold; a label found by a word that folds to nothing.
    [rome({ lang: 'en' }), 'x', 'romeo rome', 6 + 24 + 5.6 + 8], [curated('Rome', 'C', { lang: 'en' }), 'x', 'Rome', 6 + 24 + 5.6 + 0],
    [rome({ lang: 'en', label: ' Rome' }), 'x', 'rome \t', 6 + 24 + 5.6 + 8],
    [curated('roma', 'C', { lang: 'it' }), 'Roma', '', 6 + 24 + 5.6 + 8], // any other language is native
  ];
  for (const [row, raw, english, score] of table) {
    // A rival of the same code: 6 × weight + base + 7 wherever it stands, as the folded text doesn't hold it.
    const [source, base] = row[2] === 'country' ? ['country', 34] : ['x', 10];
    const winner = (than) => resolve(mixed([row, curated('Rival', 'C', { source, weight: String((than - base - 7) / 6), lang: 'en',
      country: 'rival' })]), [[raw, `${english} Rival`]])[0].locationMeta.countryLabel;
    assert.deepEqual([winner(score - 0.001), winner(score + 0.001)], ['C land', 'rival'], `${raw} | ${english}: ${score}`);
  }
});

test('which rows match', () => {
  const pack = packOf([curated('魔都', 'SIGHT', { label: '都市' }), curated('申城', 'FAR', { label: '上海' }), curated('沪', 'NONE', { label: '' }),
    curated('bigapple', 'NY', { label: 'New York', lang: 'en' }), curated('nice', 'NICE'), curated('五', 'FIVE').slice(0, 6),
    curated('乙', 'WIDE', { label: '𠀀' }), [...curated('七', 'SEVEN'), '?']], { 'location-base': [en('lima', 'PE'), db('利马', 'PE')],
    'location-x': [en('newyork', 'NYC'), en('boston', 'BOS', 0, 'The Hub'), en('paris', 'FR', 0, ''), en('rome', 'IT'),
      db('oslo', 'NO')] });
  const table = [
    ["the label's first character and the term", '魔都', '', 'SIGHT'], ['the label alone', '都市', '', ''], ['the term alone', '申城', '', ''],
    ['another character of four bytes', '乙𠀁', '', ''], ['no label', '沪', '', ''],
    ["a curated English row needs its label's first word", 'x', 'big apple', ''],
    ['in any case, anywhere', 'x', 'big apple NEW', 'NY'], ['an English alias is one word', 'x', 'new york', ''],
    ['and stands here', 'x', 'newyork', 'NYC'], ['it is looked up by itself', 'x', 'boston', 'BOS'],
    ['not by its label', 'x', 'the hub', ''], ['and needs none', 'x', 'paris', 'FR'], ['English is no part of a word', 'rome', 'romeo', ''],
    ['native rows do not read the English', 'x', 'oslo', ''], ['but the title', 'in Oslo', '', 'NO'],
    ['a common word in a native row', 'Nice', '', 'NICE'], ['five fields', '五', '', ''], ['seven', '七', '', 'SEVEN'],
    ['an English row of location-base', 'x', 'lima', ''], ['a native one', '利马', '', 'PE'],
  ];
  for (const [why, raw, english, expected] of table) assert.deepEqual(codesOf(pack, [[raw, english]]), [expected], why);
});

test('a database row gives way to a curated one of the base pack', () => {
  const native = { source: 'location-db-native' };
  const base = packOf([curated('一', 'A'), curated('二', 'B'), curated('三三', 'C', { label: '四' }), curated('五', 'E', native),
    ['六', 'F'], ['七']], { location: [db('八', 'H')],
    'location-x': [db('一', 'A'), db('二', 'X'), db('三三', 'C'), db('六', 'F'), db('七', 'G')] });
  const overlay = packOf([curated('九', 'I'), curated('九', 'J', native), curated('三三', 'C', native), curated('七', 'K', native)]);
  const titles = [...'一二三五六七八九'].map((term) => [term.replace('三', '三三')]);
  // A row of the section "location" gives way to itself; one field is enough to silence, a label isn't needed.
  assert.deepEqual(codesOf(base, titles), ['A', 'B', '', '', '', 'G', '', '']);
  const options = { overlayPackPath: overlay.packPath, overlayAllowedRoot: root };
  assert.deepEqual(codesOf(base, titles, options), ['A', 'B', '', '', '', 'K,G', '', 'I']);
  const [{ locationMeta }] = resolve(packOf([], { 'location-x': [db('九', 'I', 9)] }), [['九']], options);
  assert.equal(locationMeta.primaryHit.source, 'location-db-native', 'rows of the overlay silence none');
});

test('every sign of a region, and every common word', () => {
  const hints = {
    'location-cn': 'china beijing shanghai guangzhou shenzhen hong_kong macau macao taiwan',
    'location-us': 'united_states usa america new_york los_angeles san_francisco miami seattle hawaii amsterdam',
    'location-eu': 'europe france paris london england united_kingdom germany berlin italy rome spain greece santorini trip street opera',
    'location-asia': 'japan tokyo korea seoul busan thailand bangkok bali singapore malaysia kuala_lumpur vietnam dubai',
  };
  const common = 'nice mobile holiday wedding reading orange spring fall normal home office coffee list backup project version final';
  const words = common.split(' ');
  const pack = packOf([], { ...Object.fromEntries(Object.keys(hints).map((name) => [name, [en(name.replace('-', ''), name)]])),
    'location-x': words.flatMap((word) => [en(word, 'WORD'), en(`${word}ton`, 'TOWN')]) });
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
  assert.deepEqual(codesOf(pack, words.flatMap((word) => [['x', word], ['x', `${word}ton`]])), words.flatMap(() => ['', 'TOWN']));
});

test('codes', () => {
  // paris, at the start: 6 × weight + 14 + 7 + 8, so 35. london, at character 5: 6 × weight + 14 + 8.4 + 3, so 31.4.
  const two = 'paris london';
  const paris = (label, weight = 1) => en('paris', 'FR', weight, label);
  const london = (weight, label) => en('london', 'GB', weight, label);
  // In `short` 27.6, 23.6 and 19.6, in `long` 27.6, 30, 26 and 26, and 6 × weight.
  const [short, c, d] = ['aaaa bbbb cccc', 'ccccccccc', 'ddddddddd'];
  const long = `aaaa bbbbbbbbb ${c} ${d}`;
  const table = [
    ['31.4 is above 0.82 of 35, enough for a label of four', [paris('Paris'), london(1, 'Lond')], two, 'FR,GB'],
    ['not for one of three', [paris('Paris'), london(1, 'Lon')], two, 'FR'],
    ['two of 43.4 are above 0.72 of three of 35', [paris('P'), paris('Q'), paris('R'), london(3, 'L'), london(3, 'M')], two, 'FR,GB'],
    ['aliases of one label count once', [paris('Paris'), london(1, 'L'), london(0.875, 'L')], two, 'FR'],
    ['the better of them: 43.4 against 30.5', [paris('Paris', 0.25), london(1, 'L'), london(3, 'L')], two, 'GB'],
    ['0.82 of 21.6 is 17.7, but 18 is the least: 18.35', [en('aaaa', 'A', -1, 'A'), en('bbbb', 'B', -0.875)], short, 'A,B'],
    ['17.6 is not enough', [en('aaaa', 'A', -1.25, 'A'), en('bbbb', 'B', -1)], short, 'A'],
    ['two labels, 26 is the least: 15.35 + 11.35', [en('aaaa', 'A'), en('bbbb', 'B', -1.375, 'b'),
      en('cccc', 'B', -1.375, 'c')], short, 'A,B'],
    ['14.6 + 10.6 is not enough', [en('aaaa', 'A'), en('bbbb', 'B', -1.5, 'B'), en('cccc', 'B', -1.5, 'C')], short, 'A'],
    ['of 56 and 56, more labels', [en('aaaa', 'X', 0, 'Cccc'), en('bbbbbbbbb', 'Y'), en(c, 'X', 5, 'Cccc'), en(d, 'Y')], long, 'Y,X'],
    ['of 58 and 58, the better hit', [en(c, 'Z', 0.5), en(d, 'Z', 0.5), en(c, 'Y', 1), en(d, 'Y', 0)], long, 'Y,Z'],
    ['the earlier place', [en(d, 'D'), en(c, 'C')], long, 'C,D'],
    ['the longer label', [en(c, 'P', 0, 'Five5'), en(c, 'Q', 0, 'Sixsix')], long, 'Q,P'],
    ['at most three', [...'ABCD'].map((code) => en(`${code.toLowerCase()}x`, code, 9, 'Label')), 'ax bx cx dx', 'A,B,C'],
    // A title that isn't ASCII.
    ['the longest at the earliest place, whatever the score', [db('南京', 'CN-NJ', 99), db('南京路', 'CN-SHR')], '逛南京路', 'CN-SHR'],
    ['a name that sticks out behind stays', [db('南京', 'CN-NJ'), db('京都', 'JP-26')], '南京都', 'CN-NJ,JP-26'],
    ['equal spans: neither is inside, the score decides', [db('南京', 'A', 1), db('南京', 'B', 2)], '南京', 'B,A'],
    ['each code once, three at most', [db('一一', 'A'), db('二二', 'A'), db('三三', 'C'), db('四四', 'D'), db('五五', 'E')], '一一二二三三四四五五', 'A,C,D'],
    ['an English hit has its place in the English reading', [paris('Paris'), db('上海', 'SH')], '我很想去上海', 'FR,SH', 'paris'],
    ['and covers what lies inside its five characters', [paris('La Ville'), db('上海', 'SH')], '我在上海', 'FR', 'paris'],
    // With a curated row.
    ['it silences the database', [db('东京', 'JP', 99), curated('上海', 'SH', { weight: '-99' })], '东京上海', 'SH'],
    ['in the order of the title, not by score or class', [curated('伦敦', 'GB', { weight: '99', source: 'country' }), curated('上海', 'SH'),
      curated('东京', 'JP'), curated('巴黎', 'FR')], '巴黎东京上海伦敦', 'FR,JP,SH'],
    ['behind one character in the order of the rows', [curated('上海市', 'B'), curated('上海', 'A')], '上海市', 'B,A'],
    ['native rows before English ones', [curated('paris', 'X', { lang: 'en' }), curated('上海', 'SH')], 'x上海', 'SH,X', 'paris'],
  ];
  for (const [why, rows, title, expected, english = title] of table) {
    assert.deepEqual(codesOf(mixed(rows), [[/^[a-z ]*$/.test(title) ? 'x' : title, english]]), [expected], why);
  }
  // Scores that no rule orders, among a thousand hits: the answer is some answer.
  const odd = Array.from({ length: 1000 }, (_, i) =>
    (i % 2 ? en : db)(i % 2 ? 'rome' : '罗马', `C${(i * i) % 41}`, [NaN, Infinity, -Infinity, 1, 3e38][(i * 7) % 5], `罗${i % 3}`));
  for (const { locationCodes: codes, locationMeta } of resolve(mixed(odd), [['rome', 'rome'], ['罗马', 'rome']])) {
    assert.ok(codes.length > 0 && codes.length <= 3 && locationMeta.countryCode === codes[0]);
  }
});

test('shards: rows, weights, names', () => {
  const weights = [[0.1, '0.100000'], [5e-7, '0.000000'], [1234567.75, '1234567.750000'], [-0, '-0.000000'], [-Infinity, '-inf'],
    [NaN, 'nan'], [3.4028234663852886e38, '340282346638528859811704183484516925440.000000']]; // 5e-7: the nearest single lies below the tie
  const record = (code, weight) => ({ code, englishFlag: 1, weight, label: 'L', countryLabel: 'N' });
  const records = weights.map(([weight], i) => record(`${i}`, weight));
  const pack = packOf([], { 'location-xx': [{ alias: 'a', records }, { alias: '', records: [] },
    db('a', 'Z', 1, '')], 'places-any': [db('火星', 'MARS')] });
  const { matches } = addon.lookupBinaryIndex({ ...pack, section: 'location', term: 'a' });
  assert.deepEqual(matches.map(({ section, term, fields }) => [section, term, ...fields]), [
    ...weights.map(([, text], i) => ['location-xx', 'a', `${i}`, 'location-db-en', text, 'L', 'en', 'N']),
    ['location-xx', 'a', 'Z', 'location-db-native', '1.000000', '', 'zh', 'Z land']]);
  assert.deepEqual(codesOf(pack, [['火星']]), [''], 'out of reach under another name');
  const payload = buildPayload(documents([], { 'location-x': [db('巴黎', 'FR', NaN)] }));
  const compressed = writePack({ payload, stored: compressLz4Block(payload), metadata: { compression: 'lz4-block-v1' } });
  assert.ok(Number.isNaN(resolve(compressed, [['巴黎']])[0].locationMeta.primaryHit.weight));
});

test('shards that are refused', () => {
  const refusal = (data) => thrownBy(() => resolve(writePack({ documents: [indexDocument(), shardDocument('x', data)] }), []))
    .replace('Error: native location shard ', '');
  const shard = (record, more) =>
    buildLocationShard([{ alias: 'ab', records: [{ code: 'cde', label: 'lab', countryLabel: 'coun', ...record }], ...more }]);
  const good = shard();
  // Up to which length each message holds: header, then each length and text in turn.
  const cuts = [[12, 'magic is invalid'], [14, 'alias length is invalid'], [16, 'alias is truncated'], [18, 'record count is invalid'],
    [20, 'code length is invalid'], [23, 'code is truncated'], [28, 'fixed record is truncated'], [30, 'label length is invalid'],
    [33, 'label is truncated'], [35, 'country label length is invalid'], [39, 'country label is truncated'], [40, 'no error']];
  for (let [length, row] = [1, 0]; length <= good.length; length += 1) {
    if (length === cuts[row][0]) row += 1;
    assert.equal(refusal(good.subarray(0, length)), cuts[row][1], `${length}`);
  }
  const table = [
    ['another magic', Buffer.concat([Buffer.from('LDB2'), good.subarray(4)]), 'magic is invalid'],
    ['version 2', buildLocationShard([], { version: 2 }), 'header is invalid'], ['flag 2', shard({ englishFlag: 2 }), 'record is invalid'],
    ['flag 2, cut off in the label: the record is read first', shard({ englishFlag: 2 }).subarray(0, 32), 'label is truncated'],
    ['no code', shard({ code: '' }), 'record is invalid'], ['no alias', shard({}, { alias: '' }), 'record is invalid'],
    ['one byte behind', Buffer.concat([good, Buffer.from('!')]), 'has trailing bytes'],
    ['more aliases claimed than bytes', buildLocationShard([], { aliasCount: 0xffffffff }), 'alias length is invalid'],
    ['more records claimed than bytes', shard({}, { recordCount: 0xffff }), 'code length is invalid'],
  ];
  for (const [why, data, expected] of table) assert.equal(refusal(data), expected, why);
});

test('the view follows the base pack, the overlay pack and the caller\'s rows', () => {
  const bytesOf = (code) => packBytes({ documents: documents([curated('东京', code)]) });
  const [path, patch] = [writeFile(bytesOf('A')), writeFile(bytesOf('P'))];
  const ask = (options) => codesOf({ packPath: path, allowedRoot: root }, [['东京']], options)[0];
  const overlayPack = { overlayPackPath: patch, overlayAllowedRoot: root };
  const rows = (...codes) => ({ locationOverlay: { aliasesZh: { 东京: codes.map((code) => [code]) } } });
  assert.deepEqual([{}, rows('X', 'Y'), rows('Y', 'X'), { ...overlayPack, ...rows('X') }].map(ask), ['A', 'A,X,Y', 'A,Y,X', 'A,X,P']);
  for (const [code, time] of [['Q', 1_000_000_000], ['R', 1_000_000_001], ['RR', 1_000_000_001]]) { // another time, then another size
    writeAt(patch, bytesOf(code), time);
    assert.equal(ask(overlayPack), `A,${code}`);
  }
  writeAt(path, bytesOf('B'));
  assert.equal(ask(overlayPack), 'B,RR', 'a touched base pack is another pack');
  assert.equal(ask({}), 'B');
  // A file that is bad by now leaves the old pack, and its view, in place until it is good again.
  writeAt(path, Buffer.alloc(100), 1_000_000_001);
  assert.throws(() => ask({}), { message: 'semantic rule-pack magic is invalid' });
  writeAt(path, Buffer.alloc(bytesOf('B').length));
  assert.equal(ask({}), 'B');
});
