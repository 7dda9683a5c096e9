// Places through whole packs: shards, regions, scores and the choice of codes. Scores are written as the sums that they
// are: 6 × weight + base of the source + length + position.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';
import { indexDocument, root, writePack } from './support/packs.mjs';
import { buildLocationShard } from '../tools/index.mjs';

/**
 * A row from "source:term code weight label country"; the label is the term by default, "-" an empty text, "_" a blank.
 * "db" and "en" are the database's, native and English, of weight 0 by default: entries of a shard. All others are
 * curated, "location" by default, of weight 1: rows of the index, English with "/en" after the source.
 */
function place(text) {
  const [, source = 'location', english, rest] = /^(?:([a-z-]+)(\/en)?:)?(.*)$/s.exec(text);
  const fields = rest.split(' ').map((field) => (field === '-' ? '' : field.replaceAll('_', ' ')));
  const [term, code, weight, label = term, country = `${code} land`] = fields;
  const lang = source === 'en' || english ? 'en' : 'zh';
  if (source !== 'db' && source !== 'en') return [term, code, source, weight ?? '1', label, lang, country];
  const englishFlag = Number(lang === 'en');
  return { alias: term, records: [{ code, englishFlag, weight: Number(weight ?? 0), label, countryLabel: country }] };
}
const places = (text) => text.split(', ').filter(Boolean).map(place);
const shard = (name, entries) => ({ type: 6, encoding: 2, name, data: buildLocationShard(entries) });
/** A pack of curated rows and of shards: { 'location-cn': 'db:上海 SH, …' }. */
const packOf = (location, shards = {}) => writePack({ documents: [indexDocument({ location }),
  ...Object.entries(shards).map(([name, rows]) => shard(name, places(rows)))] });
/** Of rows of either kind: those of the database stand in the shard "location-x". */
const mixed = (rows) => writePack({ documents: [indexDocument({ location: rows.filter(Array.isArray) }),
  shard('location-x', rows.filter((row) => !Array.isArray(row)))] });

/** Titles: raw or [raw, normalizedEnglish]. */
function resolve(pack, titles, options = {}) {
  const cases = titles.map((title) => ({ raw: [title].flat()[0], normalizedEnglish: [title].flat()[1] ?? '' }));
  return addon.resolveSceneIntentBatch({ ...pack, ...options, cases }).results;
}
const codesOf = (pack, titles, options) => resolve(pack, titles, options).map((result) => result.locationCodes.join());

test('what a title with a place gets, property by property', () => {
  const pack = packOf(places('纽约 US 2 纽约 美国, country:日本 JP 1 日本 Japan, ' +
    'location/en:newyork US 3.5x new_york usa'));
  const [both, country, none] = resolve(pack, [['在纽约', 'in new york'], '日本', ' ']);
  assert.equal(both.locationMeta.countryCodes, both.locationCodes, 'the very same array');
  assertSame([both.locationCodes, both.locationMeta], [['US'], {
    countryCode: 'US', countryCodes: ['US'], countryLabel: '美国', locationLabel: '纽约', shortLabel: '美国 · 纽约',
    fullLabel: '美国 · 纽约',
    // 12 + 24 + 2.8 + 7 against 0 + 24 + 9.8 + 6 of the English row
    primaryHit: { alias: '纽约', code: 'US', index: 1, label: '纽约', len: 2, source: 'location', weight: 2 },
  }]);
  assertSame(country.locationMeta, { countryCode: 'JP', countryCodes: ['JP'], countryLabel: 'Japan', locationLabel: '',
    shortLabel: 'Japan', fullLabel: 'Japan', primaryHit: null });
  assertSame([none.locationCodes, none.locationMeta], [[], null]);
});

test('descriptions', () => {
  const table = [
    // What decides, rows of one code, title: short label; index, length and weight of the primary hit.
    ["the country's own row names it", '东京 C 9 东京 a, country:日本 C 0 日本 b', '日本东京', 'b · 东京; 2 2 9'],
    ['the better score', '东京 C 1 东京 a, 东 C 9 东区 b', '东京', 'b · 东区; 0 2 9'],
    ['then the earlier place: 1 + 24 + 7 + 7 = 0 + 24 + 7 + 8',
      `二三四五六 C ${1 / 6} 二 a, 一二三四五 C 0 一 b`, '一二三四五六', 'b · 一; 0 1 0'],
    ['then the longer label', '东京 C 1 东京 a, 东京 C 1 东京都 b', '东京', 'b · 东京都; 0 3 1'],
    ['then the first', '东京 C 1 东京 a, 东京 C 1 东都 b', '东京', 'a · 东京; 0 2 1'],
    ['only the blank begins a word', 'a C 1 a-b\tc__d1e_F x', 'a', 'x · A-b\tc  D1e F; 0 12 1'],
    ['only of ASCII labels', 'café C 1 café_tour fr', 'café', 'fr · café tour; 0 9 1'],
    ['the same when folded: once', 's C 1 sin_gapore SINGAPORE', 's', 'SINGAPORE; 0 10 1'],
    ['no country; the weight as far as it converts', '东京 C 2.5x 东京 -', '去东京', ' · 东京; 1 2 2.5'],
    ['no label, never looked up', `db:京 C 9 -, db:京 C ${1 / 3}`, '京', 'C land · 京; 0 1 0.333333'],
  ];
  for (const [why, rows, title, expected] of table) {
    const { shortLabel, primaryHit: hit } = resolve(mixed(places(rows)), [title])[0].locationMeta;
    assert.equal(`${shortLabel}; ${hit.index} ${hit.len} ${hit.weight}`, expected, why);
  }
  assert.equal(resolve(packOf([place('s C 1 sin_gapore')]), ['s'])[0].locationMeta.locationLabel, 'Sin Gapore');
});

test('scores', () => {
  const nine = '一二三四五六七八九';
  const table = [
    ['上海 C', '我在上海', '', 6 + 24 + 2.8 + 6], ['location-famous:上海 C', '逛上海', '', 6 + 32 + 2.8 + 7],
    ['x:上海 C', '上海', '', 6 + 10 + 2.8 + 8], ['country:上海 C', '上海', '', 6 + 34 + 2.8 + 8],
    ['db:东京 C 0.5', '东京', '', 3 + 18 + 2 * 2.2 + 8], ['en:paris C 1 La', 'x', 'in paris', 6 + 14 + 5 * 1.4 + 6],
    // The caps of length, 9 × 1.4 and 6 × 2.2, and of position.
    [`${nine} C`, nine, '', 6 + 24 + 12 + 8], ['db:一二三四五六 C', '一二三四五六', '', 18 + 12 + 8],
    ['上海 C', '一 二三四五六七上海', '', 6 + 24 + 2.8 + 1], ['上海 C', `${nine}上海`, '', 6 + 24 + 2.8 + 0],
    // Weights: as the C library reads them, to the end or not at all.
    ['上海 C 1x', '上海', '', 0 + 24 + 2.8 + 8], ['上海 C _0x10', '上海', '', 96 + 24 + 2.8 + 8],
    // The first place anywhere; a word as written that the folded text doesn't hold; a label found by a word that folds
    // to nothing; any other language is native.
    ['location/en:rome C', 'x', 'romeo rome', 6 + 24 + 5.6 + 8],
    ['location/en:Rome C', 'x', 'Rome', 6 + 24 + 5.6 + 0],
    ['location/en:rome C 1 _Rome', 'x', 'rome \t', 6 + 24 + 5.6 + 8],
    [place('roma C').with(5, 'it'), 'Roma', '', 6 + 24 + 5.6 + 8],
  ];
  for (const [text, raw, english, score] of table) {
    const row = typeof text === 'string' ? place(text) : text;
    // A rival of the same code: 6 × weight + base + 7 wherever it stands, as the folded text doesn't hold it.
    const [source, base] = row[2] === 'country' ? ['country', 34] : ['x', 10];
    const winner = (than) => {
      const rival = place(`${source}/en:Rival C ${(than - base - 7) / 6} Rival rival`);
      return resolve(mixed([row, rival]), [[raw, `${english} Rival`]])[0].locationMeta.countryLabel;
    };
    assert.deepEqual([winner(score - 0.001), winner(score + 0.001)], ['C land', 'rival'], `${raw} ${english} ${score}`);
  }
});

test('which rows match', () => {
  const rows = places('魔都 SIGHT 1 都市, 申城 FAR 1 上海, 沪 NONE 1 -, location/en:bigapple NY 1 New_York, ' +
    'location/en:rome BLANK 1 _Rome, nice NICE, 乙 WIDE 1 𠀀, 五 FIVE, 七 SEVEN')
    .map((row) => (row[1] === 'FIVE' ? row.slice(0, 6) : row[1] === 'SEVEN' ? [...row, '?'] : row));
  const pack = packOf(rows, { 'location-base': 'en:lima PE, db:利马 PE',
    'location-x': 'en:newyork NYC, en:boston BOS 0 The_Hub, en:paris FR 0 -, en:rome IT, db:oslo NO' });
  const table = [
    ["the label's first character and the term", '魔都', 'SIGHT'], ['the label alone', '都市'],
    ['the term alone', '申城'], ['another character of four bytes', '乙𠀁'], ['no label', '沪'],
    ["a curated English row needs its label's first word", ['x', 'big apple']],
    ['in any case, anywhere', ['x', 'big apple NEW'], 'NY'], ['no word is between blanks', ['x', 'the  rome'], 'IT'],
    ['an English alias is one word', ['x', 'new york']], ['and stands here', ['x', 'newyork'], 'NYC'],
    ['it is looked up by itself', ['x', 'boston'], 'BOS'], ['not by its label', ['x', 'the hub']],
    ['and needs none', ['x', 'paris'], 'FR'], ['English is no part of a word', ['rome', 'romeo']],
    ['native rows do not read the English', ['x', 'oslo']], ['but the title', 'in Oslo', 'NO'],
    ['a common word in a native row', 'Nice', 'NICE'], ['five fields', '五'], ['seven', '七', 'SEVEN'],
    ['an English row of location-base', ['x', 'lima']], ['a native one', '利马', 'PE'],
  ];
  for (const [why, title, expected = ''] of table) assert.deepEqual(codesOf(pack, [title]), [expected], why);
});

test('a database row gives way to a curated one of the base pack', () => {
  const native = 'location-db-native';
  const base = packOf([...places(`一 A, 二 B, 三三 C 1 四, ${native}:五 E`), ['六', 'F'], ['七']],
    { location: 'db:八 H', 'location-x': 'db:一 A, db:二 X, db:三三 C, db:六 F, db:七 G' });
  const overlay = packOf(places(`九 I, ${native}:九 J, ${native}:三三 C, ${native}:七 K`));
  const titles = ['一', '二', '三三', '五', '六', '七', '八', '九'];
  // A row of the section "location" gives way to itself; one field is enough to silence, a label isn't needed.
  assert.equal(codesOf(base, titles).join(';'), 'A;B;;;;G;;');
  const options = { overlayPackPath: overlay.packPath, overlayAllowedRoot: root };
  assert.equal(codesOf(base, titles, options).join(';'), 'A;B;;;;K,G;;I');
  const [{ locationMeta }] = resolve(packOf([], { 'location-x': 'db:九 I 9' }), ['九'], options);
  assert.equal(locationMeta.primaryHit.source, native, 'rows of the overlay silence none');
});

test('every sign of a region, and every common word', () => {
  const hints = {
    cn: 'china beijing shanghai guangzhou shenzhen hong_kong macau macao taiwan',
    us: 'united_states usa america new_york los_angeles san_francisco miami seattle hawaii amsterdam',
    eu: 'europe france paris london england united_kingdom germany berlin italy rome spain greece santorini trip ' +
      'street opera',
    asia: 'japan tokyo korea seoul busan thailand bangkok bali singapore malaysia kuala_lumpur vietnam dubai',
  };
  const words = ('nice mobile holiday wedding reading orange spring fall normal home office coffee list backup ' +
    'project version final').split(' ');
  const regional = Object.keys(hints).map((name) => [`location-${name}`, `en:in${name} ${name}`]);
  const pack = packOf([], { ...Object.fromEntries(regional),
    'location-x': words.map((word) => `en:${word} WORD, en:${word}ton TOWN`).join(', ') });
  const signsOf = (name) => hints[name].split(' ').map((text) => text.replace('_', ' '));
  for (const name of Object.keys(hints)) {
    const title = `in${name}`;
    for (const sign of signsOf(name)) {
      // The compacted title holds no blank, and so no sign of two words.
      const titles = [['x', `${title} ${sign.toUpperCase()}`], [`x${sign.toUpperCase()}x`, title]];
      assert.deepEqual(codesOf(pack, titles), [name, sign.includes(' ') ? '' : name], sign);
    }
    const others = Object.keys(hints).filter((other) => other !== name).flatMap(signsOf);
    const foreign = others.filter((sign) => name !== 'us' || sign !== 'busan').join(' '); // it holds "usa"
    // For China any character beyond ASCII is a sign.
    assert.deepEqual(codesOf(pack, [['é', title], ['x', `${title} ${foreign}`]]), [name === 'cn' ? name : '', '']);
  }
  const titles = words.flatMap((word) => [['x', word], ['x', `${word}ton`]]);
  assert.deepEqual(codesOf(pack, titles), words.flatMap(() => ['', 'TOWN']));
});

test('codes', () => {
  // paris, at the start: 6 × weight + 14 + 7 + 8, so 35. london, at character 5: 6 × weight + 14 + 8.4 + 3, so 31.4.
  const [two, paris] = ['paris london', 'en:paris FR 1 Paris'];
  // In `short` 27.6, 23.6 and 19.6, in `long` 27.6, 30, 26 and 26, and 6 × weight.
  const [short, c, d] = ['aaaa bbbb cccc', 'ccccccccc', 'ddddddddd'];
  const long = `aaaa bbbbbbbbb ${c} ${d}`;
  const table = [
    ['31.4 is above 0.82 of 35, enough for a label of four', `${paris}, en:london GB 1 Lond`, two, 'FR,GB'],
    ['not for one of three', `${paris}, en:london GB 1 Lon`, two, 'FR'],
    ['two of 43.4 are above 0.72 of three of 35',
      'en:paris FR 1 P, en:paris FR 1 Q, en:paris FR 1 R, en:london GB 3 L, en:london GB 3 M', two, 'FR,GB'],
    ['aliases of one label count once', `${paris}, en:london GB 1 L, en:london GB 0.875 L`, two, 'FR'],
    ['the better of them: 43.4 against 30.5', 'en:paris FR 0.25, en:london GB 1 L, en:london GB 3 L', two, 'GB'],
    ['0.82 of 21.6 is 17.7, but 18 is the least: 18.35', 'en:aaaa A -1 A, en:bbbb B -0.875', short, 'A,B'],
    ['17.6 is not enough', 'en:aaaa A -1.25 A, en:bbbb B -1', short, 'A'],
    ['two labels, 26 is the least: 15.35 + 11.35', 'en:aaaa A, en:bbbb B -1.375 b, en:cccc B -1.375 c', short, 'A,B'],
    ['14.6 + 10.6 is not enough', 'en:aaaa A, en:bbbb B -1.5 b, en:cccc B -1.5 c', short, 'A'],
    ['of 56 and 56, more labels', `en:aaaa X 0 Cccc, en:bbbbbbbbb Y, en:${c} X 5 Cccc, en:${d} Y`, long, 'Y,X'],
    ['of 58 and 58, the better hit', `en:${c} Z 0.5, en:${d} Z 0.5, en:${c} Y 1, en:${d} Y 0`, long, 'Y,Z'],
    ['the earlier place', `en:${d} D, en:${c} C`, long, 'C,D'],
    ['the longer label', `en:${c} P 0 Five5, en:${c} Q 0 Sixsix`, long, 'Q,P'],
    ['at most three', 'en:ax A 9 Label, en:bx B 9 Label, en:cx C 9 Label, en:dx D 9 Label', 'ax bx cx dx', 'A,B,C'],
    // A title that isn't ASCII.
    ['the longest at the earliest place, whatever the score', 'db:南京 NJ 99, db:南京路 SHR', '逛南京路', 'SHR'],
    ['as long as the alias, not as the label', 'db:南京 NJ 0 南京特别市, db:南京路 SHR 0 南', '逛南京路', 'SHR'],
    ['one that sticks out at the end stays', 'db:南京 NJ, db:京都 JP', '南京都', 'NJ,JP'],
    ['one with the same end is inside', 'db:南京都 NJ, db:京都 JP', '南京都', 'NJ'],
    ['the farthest end counts, not the last', 'db:一二三四五六 A, db:二三 B, db:五 C', '一二三四五六', 'A'],
    ['equal spans: neither is inside, the score decides', 'db:南京 A 1, db:南京 B 2', '南京', 'B,A'],
    ['but the longer label before it', 'db:南京 A 9 南, db:南京 B 0 南京市', '南京', 'B,A'],
    ['each code once, three at most', 'db:一 A, db:二 A, db:三 C, db:四 D, db:五 E', '一二三四五', 'A,C,D'],
    ['an English hit has its place in the English reading', `${paris}, db:上海 SH`, '我很想去上海', 'FR,SH', 'paris'],
    ['and covers what is inside its five characters', 'en:paris FR 1 La, db:上海 SH', '我在上海', 'FR', 'paris'],
    // With a curated row.
    ['it silences the database', 'db:东京 JP 99, 上海 SH -99', '东京上海', 'SH'],
    ['in the order of the title, not by score or class', 'country:伦敦 GB 99, 上海 SH, 东京 JP, 巴黎 FR',
      '巴黎东京上海伦敦', 'FR,JP,SH'],
    ['after one character in the order of the rows', '上海市 B, 上海 A', '上海市', 'B,A'],
    ['native rows before English ones', 'location/en:paris X, 上海 SH', 'x上海', 'SH,X', 'paris'],
  ];
  for (const [why, rows, title, expected, english = title] of table) {
    assert.deepEqual(codesOf(mixed(places(rows)), [[/^[a-z ]*$/.test(title) ? 'x' : title, english]]), [expected], why);
  }
  // Scores that no rule orders, among a thousand hits: the answer is some answer.
  const weights = [NaN, Infinity, -Infinity, 1, 3e38];
  const odd = Array.from({ length: 1000 }, (_, i) =>
    place(`${i % 2 ? 'en:rome' : 'db:罗马'} C${(i * i) % 41} ${weights[(i * 7) % 5]} 罗${i % 3}`));
  for (const { locationCodes: codes, locationMeta } of resolve(mixed(odd), [['rome', 'rome'], ['罗马', 'rome']])) {
    assert.ok(codes.length > 0 && codes.length <= 3 && locationMeta.countryCode === codes[0]);
  }
});

test('shards: rows, weights, names', () => {
  const weights = [[0.1, '0.100000'], [5e-7, '0.000000'], [-0, '-0.000000'], [NaN, 'nan'],
    [3.4028234663852886e38, '340282346638528859811704183484516925440.000000']];
  const records = weights.map(([weight], i) =>
    ({ code: `${i}`, englishFlag: 1, weight, label: 'L', countryLabel: 'N' }));
  const entries = [{ alias: 'a', records }, { alias: '', records: [] }, place('db:a Z 1 -')];
  const documents = [indexDocument(), shard('location-xx', entries), shard('places', [place('db:火星 M')])];
  const pack = writePack({ documents });
  const { matches } = addon.lookupBinaryIndex({ ...pack, section: 'location', term: 'a' });
  assert.deepEqual(matches.map(({ section, term, fields }) => [section, term, ...fields].join()), [
    ...weights.map(([, text], i) => `location-xx,a,${i},location-db-en,${text},L,en,N`),
    'location-xx,a,Z,location-db-native,1.000000,,zh,Z land']);
  assert.deepEqual(codesOf(pack, ['火星']), [''], 'out of reach under another name');
  // Under the name of a section its rows are rows of that.
  const facets = writePack({ documents: [shard('facet', [place('db:a Z 1 -'), place('en:b Y 2')]), indexDocument({ facet: [['b']] })] });
  assert.deepEqual(['a', 'b'].flatMap((term) => addon.lookupBinaryIndex({ ...facets, section: 'facet', term }).matches
    .map(({ section, fields }) => [section, ...fields].join())),
  ['facet,Z,location-db-native,1.000000,,zh,Z land', 'facet', 'facet,Y,location-db-en,2.000000,b,en,Y land']);
  assert.deepEqual(codesOf(facets, ['a', 'b']), ['', '']);
  const odd = writePack({ documents: [indexDocument(), shard('location-x', [place('db:巴黎 FR NaN')])] });
  assert.ok(Number.isNaN(resolve(odd, ['巴黎'])[0].locationMeta.primaryHit.weight));
});

test('shards that are refused, beside those of vectors/', () => {
  const refusal = (data) =>
    thrownBy(() => addon.inspectRulePack(writePack({ documents: [{ type: 6, encoding: 2, name: 'x', data }] })))
      .replace('Error: native location shard ', '');
  const record = { code: 'cde', label: 'lab', countryLabel: 'coun' };
  const make = (changed, more) => buildLocationShard([{ alias: 'ab', records: [{ ...record, ...changed }], ...more }]);
  const good = make();
  // Up to which length each message holds: header, then each length and text in turn.
  const cuts = [[12, 'magic is invalid'], [14, 'alias length is invalid'], [16, 'alias is truncated'],
    [18, 'record count is invalid'], [20, 'code length is invalid'], [23, 'code is truncated'],
    [28, 'fixed record is truncated'], [30, 'label length is invalid'], [33, 'label is truncated'],
    [35, 'country label length is invalid'], [39, 'country label is truncated'], [40, 'no error']];
  for (let [length, row] = [1, 0]; length <= good.length; length += 1) {
    if (length === cuts[row][0]) row += 1;
    assert.equal(refusal(good.subarray(0, length)), cuts[row][1], `${length}`);
  }
  const table = [
    ['another magic', Buffer.concat([Buffer.from('LDB2'), good.subarray(4)]), 'magic is invalid'],
    ['flag 2, cut off: the record is read first', make({ englishFlag: 2 }).subarray(0, 32), 'label is truncated'],
    ['no alias', make({}, { alias: '' }), 'record is invalid'],
    ['more aliases claimed than bytes', buildLocationShard([], { aliasCount: 0xffffffff }), 'alias length is invalid'],
    ['more records claimed than bytes', make({}, { recordCount: 0xffff }), 'code length is invalid'],
  ];
  for (const [why, data, expected] of table) assert.equal(refusal(data), expected, why);
});
