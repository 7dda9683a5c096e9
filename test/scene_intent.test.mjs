// Which scene a title speaks of, a title a line. Scores are worked out by hand: early + (length + priority).
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { sceneRow, writePack } from './support/packs.mjs';

const food = sceneRow('火锅', 'food', 'category', { detail: 'eating', priority: '1' });
const travel = sceneRow('旅行', 'travel', 'category', { detail: 'trip', priority: '2' });
const hotpot = sceneRow('hotpot', 'food', 'category', { lang: 'en', detail: 'eating', priority: '1' });

/** The options that name a pack of these rows. */
const packOf = (scene, human = [], others = {}) => writePack({ sections: { scene, human, ...others } });

const resolve = (pack, raw, english) =>
  addon.resolveSceneIntent({ ...pack, raw, ...(english === undefined ? {} : { normalizedEnglish: english }) });

/** The answer in short: [sceneKey, sceneDetail, alias, type, rank, score], or null without a hit. */
function answer(pack, raw, english) {
  const { sceneKey, sceneDetail, intentHit: hit } = resolve(pack, raw, english);
  if (hit === null) {
    assert.deepEqual([sceneKey, sceneDetail], ['', '']);
    return null;
  }
  assert.deepEqual([hit.sceneKey, hit.detail, hit.entry.key], [sceneKey, sceneDetail, sceneKey]);
  return [sceneKey, sceneDetail, hit.alias, hit.type, hit.rank, hit.score];
}

/** Runs rows of [what, scene rows, human rows, raw, english, answer]. */
function check(rows) {
  for (const [what, scene, human, raw, english, expected] of rows) {
    assert.deepEqual(answer(packOf(scene, human), raw, english), expected, what);
  }
}

test('the result: properties, order, values', () => {
  const entry = {
    key: 'food', defaultDetail: 'food default', priority: '1', label: 'food label', archiveLabel: 'food archive',
    archiveCode: 'food-code', icon: 'food-icon',
  };
  const hit = { alias: '火锅', type: 'zh', sceneKey: 'food', detail: 'eating', rank: 100, score: 7 + (2 * 1.2 + 1), entry };
  const expected = { ok: true, sceneContract: 'native-scene-v1', sceneKey: 'food', sceneDetail: 'eating', intentHit: hit };
  const pack = packOf([food]);
  assert.equal(JSON.stringify(resolve(pack, '今天吃火锅')), JSON.stringify(expected));
  const none = { ok: true, sceneContract: 'native-scene-v1', sceneKey: '', sceneDetail: '', intentHit: null };
  assert.equal(JSON.stringify(resolve(pack, '今天')), JSON.stringify(none));
});

test('rows of the two forms of a title', () => {
  const hit = (early, alias = 'hotpot', factor = 0.9, type = 'en') => ['food', 'eating', alias, type, 100, early + (6 * factor + 1)];
  const cat = sceneRow('cat', 'pet', 'category', { lang: 'en' });
  const street = sceneRow('streetfood', 'food', 'category', { lang: 'en' });
  const streetHit = ['food', '', 'streetfood', 'en', 100, 10 + (10 * 0.9 + 1)];
  const native = sceneRow('hotpot', 'food', 'category', { detail: 'eating' });
  check([
    ['the fold of the title', [sceneRow('vlog日常', 'daily', 'category')], [], ' V\tLOG 日常\n', undefined, ['daily', '', 'vlog日常', 'zh', 100, 10 + (6 * 1.2 + 1)]],
    ['a term of which the title is a part', [sceneRow('火锅店', 'food', 'category')], [], '火锅', undefined, null],
    ['blanks only', [food], [], '  \t', undefined, null],
    ['blanks, and an English reading', [hotpot], [], '  ', 'hot pot', hit(10)],
    ['en, found in raw, no reading', [hotpot], [], 'hotpot', undefined, null],
    ['en, found in raw, an empty reading', [hotpot], [], 'hotpot', '', null],
    ['en, inside a word of the reading', [cat], [], '拼接', 'concatenate', null],
    ['en, its own word', [cat], [], '猫', 'the cat sat', ['pet', '', 'cat', 'en', 100, 10 + (3 * 0.9 + 1)]],
    ['en, its own word, its place in raw counts', [cat], [], 'concat', 'con cat', ['pet', '', 'cat', 'en', 100, 7 + (3 * 0.9 + 1)]],
    ['en, two words', [street], [], '小吃', 'street food', streetHit],
    ['en, two words, many blanks', [street], [], '小吃', '  best street   food ', streetHit],
    ['en, a tab does not separate', [street], [], '小吃', 'street\tfood', null],
    ['en, the reading in mixed case', [street], [], '小吃', 'Street food', null],
    ['zh, found by the English lookup alone, stays', [native], [], '火', 'hotpot', hit(10, 'hotpot', 1.2, 'zh')],
    ['zh, no word of the reading, stays', [native], [], '火', 'myhotpots', hit(10, 'hotpot', 1.2, 'zh')],
    ['another language is held against raw', [sceneRow('なべ', 'food', 'category', { lang: 'ja' })], [], 'なべ', undefined, ['food', '', 'なべ', 'ja', 100, 10 + (2 * 0.9 + 1)]],
  ]);
  const elsewhere = packOf([travel], [], { facet: [['火锅', 'f', 'k', '1', 'zh']], location: [['火锅', ...food.slice(1)]], celebrity: [food] });
  assert.equal(answer(elsewhere, '火锅'), null, 'other sections hold no scenes');
});

test('score: position, length, priority', () => {
  const scored = (term, weight, raw, lang = 'zh') => answer(packOf([sceneRow(term, 'k', 'category', { weight, lang })]), raw)[5];
  const rows = [
    ['two characters at the start', '火锅', '3.5', '火锅店', 15.9],
    ['found in the compacted title, counted in raw', '火锅', '1', '我 们火锅', 7 + (2.4 + 1)],
    ['from the tenth position on, nothing', '火锅', '1', '一二三四五六七八九十火锅', 0 + (2.4 + 1)],
    ['the last position that gives something', '火锅', '1', '一二三四五六七八九火锅', 1 + (2.4 + 1)],
    ['the first occurrence counts', '火', '0', '一火火', 9 + 1.2],
    ['ten characters, 12 by length', '一二三四五六七八九十', '0', '一二三四五六七八九十', 22],
    ['eleven, capped', '一二三四五六七八九十一', '0', '一二三四五六七八九十一', 22],
    ['no number at the end', '火锅', '3.5x', '火锅', 0],
    ['a decimal comma', '火锅', '3,5', '火锅', 0],
    ['a number, then a NUL', '火锅', '3\0', '火锅', 0],
    ['a blank behind', '火锅', '3 ', '火锅', 0],
    ['a blank in front', '火锅', ' 3', '火锅', 10 + (2.4 + 3)],
    ['a blank alone', '火锅', ' ', '火锅', 0],
    ['empty', '火锅', '', '火锅', 12.4],
    ['a sign and an exponent', '火锅', '-1e1', '火锅', 10 + (2.4 - 10)],
    ['hexadecimal', '火锅', '0x1p3', '火锅', 10 + (2.4 + 8)],
    ['too large', '火锅', '1e999', '火锅', Infinity],
    ['infinite', '火锅', '-inf', '火锅', -Infinity],
    ['not a number', '火锅', 'nan', '火锅', NaN],
    ['the order of additions: any other ends in …99', '火', '0.2', '火', 11.4],
  ];
  for (const [what, term, weight, raw, expected] of rows) assert.equal(scored(term, weight, raw), expected, what);
});

test('order of candidates', () => {
  const row = (term, key, kind, weight = '0') => sceneRow(term, key, kind, { weight, detail: `${key} detail` });
  const title = '甲乙丙丁戊己庚辛';
  const kinds = ['short', 'conflict', 'compound', 'detail', 'category', 'Short'];
  const top = (...rows) => answer(packOf(rows), title)?.[0];
  for (let i = 0; i + 1 < kinds.length; ++i) {
    const strong = row('丁', 'strong', kinds[i]);
    const weak = row('甲乙丙', 'weak', kinds[i + 1], '9');
    assert.equal(top(weak, strong), 'strong', `${kinds[i]} before ${kinds[i + 1]}`);
  }
  const category = (term, key, weight) => row(term, key, 'category', weight);
  assert.equal(top(category('甲乙', 'a', '9'), category('丙丁戊', 'b')), 'b', 'length before score');
  assert.equal(top(category('aé', 'a', '9'), category('甲乙', 'b')), 'b');
  assert.equal(top(category('甲乙', 'a'), category('丙丁', 'b', '3')), 'b', 'score: priority outweighs two places');
  assert.equal(top(category('丙丁', 'a'), category('甲乙', 'b')), 'b', 'score: earlier');
  // Bytes: 丙 E4 B8 99, 丁 E4 B8 81, 甲 E7 94 B2. Neither priority is a number, so both scores are 0.
  assert.equal(top(category('甲', 'a', 'x'), category('丙', 'b', 'x'), category('丁', 'c', 'x')), 'c', 'bytes of the term');
});

test('rows whose scores are no numbers never confuse the sort', () => {
  const characters = Array.from({ length: 400 }, (_, i) => String.fromCodePoint(0x4e00 + i));
  const weights = ['nan', 'inf', '-inf', '1', 'x', '-nan'];
  const rows = characters.map((term, i) => sceneRow(term, `k${i}`, 'category', { weight: weights[(i * 7 + (i >> 3)) % 6] }));
  const first = rows.findIndex((row) => row[3] === 'inf');
  assert.equal(answer(packOf(rows), characters.join(''))[0], `k${first}`);
});

test('a row that is the whole title goes to the front', () => {
  const compound = sceneRow('旅行', 'travel', 'compound', { detail: 'tour' });
  const short = sceneRow('旅行', 'travel', 'short', { detail: 'brief' });
  const whole = (kind, key = 'food') => sceneRow('火锅旅行', key, kind, { detail: `${kind} whole`, weight: '1' });
  const englishWhole = sceneRow('hotpottrip', 'event', 'category', { lang: 'en', detail: 'en whole' });
  const score = (early, count, weight, factor = 1.2) => early + (count * factor + weight);
  check([
    ['a category before a compound that is a part', [compound, whole('category')], [], '火锅 旅行', undefined, ['food', 'category whole', '火锅旅行', 'zh', 100, score(10, 4, 1)]],
    ['a part, without it', [compound, food], [], '火锅旅行', undefined, ['travel', 'tour', '旅行', 'zh', 300, score(8, 2, 0)]],
    ['a short row that is a part stays, and ranks first', [food, short, compound], [], '火锅旅行', undefined, ['travel', 'brief', '旅行', 'zh', 500, score(8, 2, 0)]],
    ['of two, the higher rank', [short, whole('category'), whole('detail', 'event')], [], '火锅旅行', undefined, ['event', 'detail whole', '火锅旅行', 'zh', 200, score(10, 4, 1)]],
    ['of one rank, the longer', [short, whole('category'), sceneRow('hotpottriphotpottrip', 'event', 'category', { lang: 'en' })], [], '火锅旅行', 'hotpot trip hotpot trip', ['event', '', 'hotpottriphotpottrip', 'en', 100, score(10, 0, 12 + 1)]],
    ['en is the whole English reading', [short, englishWhole], [], '火锅旅行', 'hotpot trip', ['event', 'en whole', 'hotpottrip', 'en', 100, score(10, 10, 1, 0.9)]],
    ['zh is not', [short, sceneRow('hotpottrip', 'event', 'category')], [], '火锅旅行', 'hotpot trip', ['travel', 'brief', '旅行', 'zh', 500, score(8, 2, 0)]],
    ['a kind of rank 0 is not promoted', [short, whole('other')], [], '火锅旅行', undefined, ['travel', 'brief', '旅行', 'zh', 500, score(8, 2, 0)]],
    ['four fields are not promoted', [short, whole('compound').slice(0, 5)], [], '火锅旅行', undefined, ['travel', 'brief', '旅行', 'zh', 500, score(8, 2, 0)]],
    ['five fields are', [short, whole('compound').slice(0, 6)], [], '火锅旅行', undefined, ['food', 'compound whole', '火锅旅行', 'zh', 300, score(10, 4, 0)]],
  ]);
});

test('scene detail', () => {
  const detail = (term, name, options = {}) => sceneRow(term, 'food', 'detail', { detail: name, ...options });
  const top = (term, kind, name = 'own') => sceneRow(term, 'food', kind, { detail: name });
  const ten = '一二三四五六七八九十';
  const told = (scene, raw, english) => answer(packOf(scene), raw, english).slice(0, 3);
  const rows = [
    ['its own', [top('火锅', 'category')], '吃火锅', undefined, ['food', 'own', '火锅']],
    ['a detail row of the scene', [top('火锅', 'category'), detail('吃', 'dining')], '吃火锅', undefined, ['food', 'dining', '吃']],
    ['a whole override keeps its own', [top('吃火锅', 'compound'), detail('吃', 'dining')], '吃火锅', undefined, ['food', 'own', '吃火锅']],
    ['also when it is empty', [top('吃火锅', 'short', ''), detail('吃', 'dining')], '吃火锅', undefined, ['food', '', '吃火锅']],
    ['an override that is a part does not', [top('火锅', 'short'), detail('吃', 'dining')], '吃火锅', undefined, ['food', 'dining', '火锅']],
    ['a whole category does not', [top('吃火锅', 'category'), detail('吃', 'dining')], '吃火锅', undefined, ['food', 'dining', '吃火锅']],
    ['rows of other scenes say nothing', [top('火锅', 'short'), sceneRow('吃', 'travel', 'detail', { detail: 'tour' })], '吃火锅', undefined, ['food', 'own', '火锅']],
    // 8 - 8 + (3 × 0.9 + 6) = 8.7 against 8 + (2 × 0.9 + 6) = 15.8
    ['early beats long', [detail('火锅店', 'late'), detail('早茶', 'early')], '早茶三四五六七八火锅店', undefined, ['food', 'early', '火锅店']],
    // 8 + (1 × 0.9 + 6) = 14.9 against 7 + (3 × 0.9 + 6) = 15.7
    ['long beats early', [detail('甲', 'early'), detail('乙丙丁', 'long')], '甲乙丙丁', undefined, ['food', 'long', '乙丙丁']],
    ['priority plays no part', [detail('甲乙', 'early'), detail('丙丁', 'late', { weight: '99' })], '甲乙丙丁', undefined, ['food', 'early', '丙丁']],
    // 7 + (2 × 0.9 + 6) against 8 + (4 × 0.7 + 6): each in its own form of the title
    ['en counts in the English reading', [detail('甲乙', 'native'), detail('soup', 'english', { lang: 'en' })], '一甲乙', 'soup now', ['food', 'english', '甲乙']],
    ['zh that is only in the reading has no detail', [top('甲', 'short'), detail('soup', 'reading')], '甲', 'soup', ['food', 'own', '甲']],
    // Both beyond the eighth character, equally long: the first in order wins. 火锅 sorts first, but changes places with
    // the row of the whole title, so that 烤肉 is met first.
    ['promotion swaps two places', [detail('火锅', 'first', { weight: '2' }), detail('烤肉', 'second'), top(`${ten}火锅烤肉`, 'category')], `${ten}火锅烤肉`, undefined, ['food', 'second', `${ten}火锅烤肉`]],
    ['equal scores: the first in order', [detail('烤肉', 'second'), detail('火锅', 'first', { weight: '2' })], `${ten}火锅烤肉`, undefined, ['food', 'first', '火锅']],
    // 0 + (12 × 0.9 → 10) + 6 for both: capped scores tie, and the longer term wins though it comes later.
    ['equal scores: the longer term', [detail('锅'.repeat(12), 'twelve'), detail('肉'.repeat(13), 'thirteen'), top(`${ten}${'锅'.repeat(12)}${'肉'.repeat(13)}`, 'category')], `${ten}${'锅'.repeat(12)}${'肉'.repeat(13)}`, undefined, ['food', 'thirteen', `${ten}${'锅'.repeat(12)}${'肉'.repeat(13)}`]],
  ];
  for (const [what, scene, raw, english, expected] of rows) assert.deepEqual(told(scene, raw, english), expected, what);
});

test('rows that are shorter or longer than the convention', () => {
  const fields = ['food', 'd', '7', 'short', 'zh', 'L', 'A', 'C', 'I', 'D', 'P', 'more'];
  const entries = [
    // fields, type, rank, score, key, defaultDetail, priority, label, archiveLabel, archiveCode, icon
    [0, '', 0, 0, '', '', '', '', '', '', ''],
    [1, '', 0, 0, 'food', '', '', '', '', '', ''],
    [2, '', 0, 0, 'food', 'd', '', '', '', '', ''],
    [3, '', 0, 0, 'food', 'd', '7', '', '', '', ''],
    [4, '', 500, 0, 'food', 'd', '7', '', '', '', ''],
    [5, 'zh', 500, 10 + (2.4 + 7), 'food', 'd', '7', '', '', '', ''],
    [6, 'zh', 500, 10 + (2.4 + 7), 'food', 'd', '7', 'L', '', '', ''],
    [7, 'zh', 500, 10 + (2.4 + 7), 'food', 'd', '7', 'L', 'A', '', ''],
    [8, 'zh', 500, 10 + (2.4 + 7), 'food', 'd', '7', 'L', 'A', 'C', ''],
    [9, 'zh', 500, 10 + (2.4 + 7), 'food', 'd', '7', 'L', 'A', 'C', 'I'],
    [10, 'zh', 500, 10 + (2.4 + 7), 'food', 'D', '7', 'L', 'A', 'C', 'I'],
    [11, 'zh', 500, 10 + (2.4 + 7), 'food', 'D', 'P', 'L', 'A', 'C', 'I'],
    [12, 'zh', 500, 10 + (2.4 + 7), 'food', 'D', 'P', 'L', 'A', 'C', 'I'],
  ];
  for (const [count, type, rank, score, ...entry] of entries) {
    const { intentHit: hit, sceneDetail } = resolve(packOf([['火锅', ...fields.slice(0, count)]]), '火锅');
    assert.deepEqual([hit.type, hit.rank, hit.score, ...Object.values(hit.entry)], [type, rank, score, ...entry], `${count} fields`);
    assert.equal(sceneDetail, count < 2 ? '' : 'd');
  }
});

test('human phrases', () => {
  const master = sceneRow('聚餐', 'food', 'category', { detail: 'eating', priority: '5' });
  const other = sceneRow('宴会', 'food', 'category', { detail: 'second', priority: '6' });
  const phrase = (term, ...fields) => [term, ...fields];
  const implied = (alias, type, score, detail = 'hearty') => ['food', detail, alias, type, 400, score];
  const party = phrase('partynight', 'food', 'hearty', '');
  const plain2 = phrase('partynight', 'food', 'hearty');
  check([
    ['a part of the title speaks for all of it', [master], [phrase('吃撑', 'food', 'hearty')], '今天 吃撑了', undefined, implied('今天吃撑了', 'zh', 10 + (5 * 1.2 + 0))],
    ['a phrase with a plain part is no plain token', [master], [phrase('吃撑2', 'food', 'hearty', '')], '吃撑2', undefined, implied('吃撑2', 'zh', 10 + 3 * 1.2)],
    ['not in the title', [master], [phrase('吃撑', 'food', 'hearty')], '今天', undefined, null],
    ['plain: whole words of the reading', [master], [party], '周末', 'party night', implied('partynight', 'en', 10 + 10 * 0.9)],
    ['plain: a run inside the reading speaks for all of it', [master], [party], '周末', 'my party night', implied('mypartynight', 'en', 10 + 12 * 0.9)],
    ['plain: two fields make it zh', [master], [plain2], '周末', 'party night', implied('partynight', 'zh', 10 + 12)],
    ['plain: not inside a word', [master], [party], '周末', 'party nights', null],
    ['plain: not as a part of raw', [master], [party], 'a partynight', undefined, null],
    ['plain: equals the reading in mixed case, three fields', [master], [party], '周末', 'Party Night', null],
    ['plain: equals the reading in mixed case, two fields', [master], [plain2], '周末', 'Party Night', implied('partynight', 'zh', 10 + 12)],
    ['plain: equals raw, no reading, three fields', [master], [party], 'Party Night', undefined, null],
    ['plain: equals raw, no reading, two fields: an empty alias', [master], [plain2], 'Party Night', undefined, implied('', 'zh', 10)],
    ['plain: equals raw, another reading', [master], [plain2], 'partynight', 'fest', implied('fest', 'zh', 10 + 4 * 1.2)],
    ['native: equals the reading', [master], [phrase('吃撑', 'food', 'hearty', '')], '周末', '吃 撑', implied('吃撑', 'zh', 10 + 2 * 1.2)],
    ['native: only a part of the reading', [master], [phrase('吃撑', 'food', 'hearty')], '周末', '今天吃撑', null],
    ['one field', [master], [phrase('吃撑', 'food')], '吃撑', undefined, null],
    ['an empty detail', [master], [phrase('吃撑', 'food', '')], '吃撑', undefined, implied('吃撑', 'zh', 12.4, '')],
    ['no scene', [master], [phrase('吃撑', '', 'veto')], '吃撑', undefined, null],
    ['a scene without rows', [master], [phrase('吃撑', 'party', 'hearty')], '吃撑', undefined, null],
    ['a scene without a category row', [sceneRow('聚餐', 'food', 'detail')], [phrase('吃撑', 'food', 'hearty')], '吃撑', undefined, null],
    ['a category row of ten fields is no master row', [master.slice(0, 11)], [phrase('吃撑', 'food', 'hearty')], '吃撑', undefined, null],
    ['beats a compound row', [master, sceneRow('今天吃撑', 'travel', 'compound')], [phrase('吃撑', 'food', 'hearty')], '今天吃撑', undefined, implied('今天吃撑', 'zh', 10 + 4 * 1.2)],
    ['is the whole title, so goes before a short row that is a part', [master, sceneRow('今', 'travel', 'short')], [phrase('吃撑', 'food', 'hearty')], '今天吃撑', '', implied('今天吃撑', 'zh', 10 + 4 * 1.2)],
    ['loses to a short row that is the whole title', [master, sceneRow('今天吃撑', 'travel', 'short')], [phrase('吃撑', 'food', 'hearty')], '今天吃撑', '', ['travel', '', '今天吃撑', 'zh', 500, 10 + 4 * 1.2]],
    ['sorts behind a short row in a title that it is not', [master, sceneRow('周', 'travel', 'short')], [plain2], '周末', 'party night', ['travel', '', '周', 'zh', 500, 10 + 1.2]],
  ]);
  const first = resolve(packOf([other.with(4, 'detail'), master, other], [phrase('吃撑', 'food', 'hearty')]), '吃撑').intentHit.entry;
  assert.deepEqual(first, {
    key: 'food', defaultDetail: 'food default', priority: '5', label: 'food label', archiveLabel: 'food archive',
    archiveCode: 'food-code', icon: 'food-icon',
  }, 'the scene is described by its first master row');
});

test('a load that fails is an Error, and no result', () => {
  assert.throws(() => addon.resolveSceneIntent({ ...packOf([food]), packPath: '/nowhere/a.klrx', raw: ' ' }),
    { name: 'Error', message: 'semantic rule-pack path is outside the approved root' });
});
