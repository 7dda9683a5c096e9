// Which scene a title speaks of, a title a line. Scores are worked out by hand: early + (length + priority).
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';
import { sceneRow, writePack } from './support/packs.mjs';

const row = (lang) => (term, key, kind = 'category', detail = '', priority = '1') => sceneRow(term, key, kind, { lang, detail, priority });
const [zh, en] = [row('zh'), row('en')];
const food = zh('火锅', 'food', 'category', 'eating');
const packOf = (scene, human = [], others = {}) => writePack({ sections: { scene, human, ...others } });
const resolve = (pack, raw, ...english) =>
  addon.resolveSceneIntent({ ...pack, raw, ...(english.length > 0 && { normalizedEnglish: english[0] }) });

/** The answer in short: [sceneKey, sceneDetail, alias, type, rank, score], or null without a hit. */
function answer(pack, ...title) {
  const { sceneKey, sceneDetail, intentHit: hit } = resolve(pack, ...title);
  assert.deepEqual([sceneKey, sceneDetail], hit ? [hit.sceneKey, hit.detail] : ['', '']);
  return hit && [sceneKey, sceneDetail, hit.alias, hit.type, hit.rank, hit.score];
}

/** Runs rows of [what, scene rows, raw or [raw, english], as much of the answer as the row is about, human rows]. */
function check(rows) {
  for (const [what, scene, title, expected, human] of rows) {
    assert.deepEqual(answer(packOf(scene, human), ...[title].flat())?.slice(0, expected?.length) ?? null, expected, what);
  }
}

test('the result: properties, order, values', () => {
  const entry = { key: 'food', defaultDetail: 'food default', priority: '1', label: 'food label', archiveLabel: 'food archive',
    archiveCode: 'food-code', icon: 'food-icon' };
  const hit = { alias: '火锅', type: 'zh', sceneKey: 'food', detail: 'eating', rank: 100, score: 7 + (2 * 1.2 + 1), entry };
  const pack = packOf([food]);
  const expected = { ok: true, sceneContract: 'native-scene-v1', sceneKey: 'food', sceneDetail: 'eating', intentHit: hit };
  assertSame(resolve(pack, '今天吃火锅'), expected);
  assertSame(resolve(pack, '今天'), { ...expected, sceneKey: '', sceneDetail: '', intentHit: null });
  assert.equal(thrownBy(() => resolve({ ...pack, packPath: '/nowhere/a.klrx' }, ' ')),
    'Error: semantic rule-pack path is outside the approved root');
});

test('rows of the two forms of a title', () => {
  const [hotpot, cat, street] = [en('hotpot', 'food'), en('cat', 'pet'), en('streetfood', 'food')];
  const streetHit = ['food', '', 'streetfood', 'en', 100, 10 + (10 * 0.9 + 1)];
  const native = ['food', '', 'hotpot', 'zh', 100, 10 + (6 * 1.2 + 1)];
  check([
    ['the fold of the title', [zh('vlog日常', 'daily')], ' V\tLOG 日常\n', ['daily', '', 'vlog日常', 'zh', 100, 10 + (6 * 1.2 + 1)]],
    ['blanks, and an English reading', [hotpot], ['  ', 'hot pot'], ['food', '', 'hotpot', 'en', 100, 10 + (6 * 0.9 + 1)]],
    ['en, found in raw, no reading', [hotpot], 'hotpot', null],
    ['en, inside a word of the reading', [cat], ['拼接', 'concatenate'], null],
    ['en, its own word, its place in raw counts', [cat], ['concat', 'con cat'], ['pet', '', 'cat', 'en', 100, 7 + (3 * 0.9 + 1)]],
    ['en, two words, many blanks', [street], ['小吃', '  best street   food '], streetHit],
    ['en, a tab does not separate', [street], ['小吃', 'street\tfood'], null],
    ['en, the reading in mixed case', [street], ['小吃', 'Street food'], null],
    ['zh, no word of the reading, stays', [zh('hotpot', 'food')], ['火', 'myhotpots'], native],
    ['another language is held against raw', [row('ja')('なべ', 'food')], 'なべ', ['food', '', 'なべ', 'ja', 100, 10 + (2 * 0.9 + 1)]],
  ]);
  const others = { facet: [['火锅', 'f', 'k', '1', 'zh']], location: [['火锅', ...food.slice(1)]], celebrity: [food] };
  assert.equal(answer(packOf([zh('旅行', 'travel')], [], others), '火锅'), null, 'other sections hold no scenes');
});

test('score: position, length, priority', () => {
  const ten = '一二三四五六七八九十';
  const rows = [
    // term, priority, raw, score. Found in the compacted title, counted in raw, at the first occurrence; nothing from the tenth on.
    ['火锅', '3.5', '火锅店', 15.9], ['火锅', '1', '我 们火锅', 7 + (2.4 + 1)], ['火', '0', '一火火', 9 + 1.2],
    ['火锅', '1', `${ten.slice(1)}火锅`, 1 + (2.4 + 1)], ['火锅', '1', `${ten}一火锅`, 0 + (2.4 + 1)],
    // Ten characters give 12, more no more. The order of additions: any other ends in …99.
    [ten, '0', ten, 22], [`${ten}一`, '0', `${ten}一`, 22], ['火', '0.2', '火', 11.4],
    ...['3.5x', '3,5', '3\0', '3 ', ' '].map((priority) => ['火锅', priority, '火锅', 0]),
    ...[[' 3', 3], ['', 0], ['-1e1', -10], ['0x1p3', 8], ['1e999', Infinity], ['-inf', -Infinity], ['nan', NaN]]
      .map(([priority, value]) => ['火锅', priority, '火锅', 10 + (2.4 + value)]),
  ];
  for (const [term, priority, raw, score] of rows) {
    assert.equal(answer(packOf([zh(term, 'k', 'category', '', priority)]), raw)[5], score, `${term} ${priority} ${raw}`);
  }
});

test('order of candidates', () => {
  const kinds = ['short', 'conflict', 'compound', 'detail', 'category', 'Short'];
  const at = (term, key, priority = '0', kind = 'category') => zh(term, key, kind, '', priority);
  check([
    ...kinds.slice(1).map((kind, i) => [`${kinds[i]} before ${kind}`, [at('甲乙丙', 'weak', '9', kind), at('丁', 'top', '0', kinds[i])]]),
    ['length before score', [at('甲乙', 'weak', '9'), at('丙丁戊', 'top')]],
    ['length in bytes', [at('aé', 'weak', '9'), at('甲乙', 'top')]],
    ['score: priority outweighs two places', [at('甲乙', 'weak'), at('丙丁', 'top', '3')]],
    ['score: earlier', [at('丙丁', 'weak'), at('甲乙', 'top')]],
    // 丙 E4 B8 99, 丁 E4 B8 81, 甲 E7 94 B2. No priority is a number, so all scores are 0.
    ['bytes of the term', [at('甲', 'weak', 'x'), at('丙', 'weak', 'x'), at('丁', 'top', 'x')]],
  ].map(([what, rows]) => [what, rows, 'aé甲乙丙丁戊己庚辛', ['top']]));
  // Scores that are no numbers never confuse the sort.
  const characters = Array.from({ length: 400 }, (_, i) => String.fromCodePoint(0x4e00 + i));
  const weights = ['nan', 'inf', '-inf', '1', 'x', '-nan'];
  const rows = characters.map((term, i) => at(term, `k${i}`, weights[(i * 7 + (i >> 3)) % 6]));
  check([['infinite and first in bytes', rows, characters.join(''), [rows.find((each) => each[3] === 'inf')[1]]]]);
});

test('a row that is the whole title goes to the front', () => {
  const [compound, short] = [zh('旅行', 'travel', 'compound', 'tour', '0'), zh('旅行', 'travel', 'short', 'brief')];
  const whole = (kind, key = 'food') => zh('火锅旅行', key, kind, `${kind} whole`);
  const brief = ['travel', 'brief', '旅行', 'zh', 500, 8 + 2.4];
  const twice = 'hotpottriphotpottrip';
  check([
    ['a category before a compound part', [compound, whole('category')], '火锅 旅行', ['food', 'category whole', '火锅旅行', 'zh', 100, 10 + (4 * 1.2 + 1)]],
    ['a short row that is a part stays, and ranks first', [food, short, compound], '火锅旅行', brief],
    ['of two, the higher rank', [short, whole('category'), whole('detail', 'event')], '火锅旅行', ['event', 'detail whole', '火锅旅行', 'zh', 200]],
    ['of one rank, the longer', [short, whole('category'), en(twice, 'event')], ['火锅旅行', 'hotpot trip hotpot trip'], ['event', '', twice]],
    ['en is the whole English reading', [short, en('hotpottrip', 'event')], ['火锅旅行', 'hotpot trip'], ['event', '', 'hotpottrip']],
    ['zh is not', [short, zh('hotpottrip', 'event')], ['火锅旅行', 'hotpot trip'], brief],
    ['a kind of rank 0 is not promoted', [short, whole('other')], '火锅旅行', brief],
    ['four fields are not promoted', [short, whole('compound').slice(0, 5)], '火锅旅行', brief],
    ['five fields are', [short, whole('compound').slice(0, 6)], '火锅旅行', ['food', 'compound whole', '火锅旅行', 'zh', 300]],
  ]);
});

test('scene detail', () => {
  const detail = (term, name, make = zh, priority = '1') => make(term, 'food', 'detail', name, priority);
  const top = (term, kind, name = 'own') => zh(term, 'food', kind, name);
  const ten = '一二三四五六七八九十';
  const [pots, meats] = ['锅'.repeat(12), '肉'.repeat(13)];
  const both = ten + pots + meats;
  const bbq = detail('烤肉', 'second');
  check([
    ['a whole override keeps its own', [top('吃火锅', 'compound'), detail('吃', 'dining')], '吃火锅', ['food', 'own', '吃火锅']],
    ['an override that is a part does not', [top('火锅', 'short'), detail('吃', 'dining')], '吃火锅', ['food', 'dining', '火锅']],
    ['a whole category does not', [top('吃火锅', 'category'), detail('吃', 'dining')], '吃火锅', ['food', 'dining', '吃火锅']],
    ['rows of other scenes say nothing', [top('火锅', 'short'), zh('吃', 'travel', 'detail', 'tour')], '吃火锅', ['food', 'own', '火锅']],
    // 8 - 8 + (3 × 0.9 + 6) against 8 + (2 × 0.9 + 6); 8 + (1 × 0.9 + 6) against 7 + (3 × 0.9 + 6)
    ['early beats long', [detail('火锅店', 'late'), detail('早茶', 'early')], '早茶三四五六七八火锅店', ['food', 'early', '火锅店']],
    ['long beats early', [detail('甲', 'early'), detail('乙丙丁', 'long')], '甲乙丙丁', ['food', 'long', '乙丙丁']],
    ['priority plays no part', [detail('甲乙', 'early'), detail('丙丁', 'late', zh, '99')], '甲乙丙丁', ['food', 'early', '丙丁']],
    // Each counts in its own form of the title: 7 + (2 × 0.9 + 6) against 8 + (4 × 0.7 + 6)
    ['two forms', [detail('甲乙', 'native'), detail('soup', 'english', en)], ['一甲乙', 'soup now'], ['food', 'english', '甲乙']],
    ['zh that is only in the reading has no detail', [top('甲', 'short'), detail('soup', 'reading')], ['甲', 'soup'], ['food', 'own', '甲']],
    // Beyond the eighth character and equally long, the first in order wins: 火锅, unless it has changed places with the whole title.
    ['equal scores: the first in order', [bbq, detail('火锅', 'first', zh, '2')], `${ten}火锅烤肉`, ['food', 'first', '火锅']],
    ['promotion swaps two places', [detail('火锅', 'first', zh, '2'), bbq, top(`${ten}火锅烤肉`, 'category')], `${ten}火锅烤肉`, ['food', 'second']],
    // 0 + (12 × 0.9 → 10) + 6 for both; the longer comes later.
    ['equal scores: the longer term', [detail(pots, 'twelve'), detail(meats, 'thirteen'), top(both, 'category')], both, ['food', 'thirteen']],
  ]);
});

test('rows that are shorter or longer than the convention', () => {
  const fields = ['food', 'd', '7', 'short', 'zh', 'L', 'A', 'C', 'I', 'D', 'P', 'more'];
  for (let count = 0; count <= 12; ++count) {
    const [key, detail, priority, , type, ...labels] = fields.map((field, i) => (i < count ? field : ''));
    const { sceneDetail, intentHit: hit } = resolve(packOf([['火锅', ...fields.slice(0, count)]]), '火锅');
    assert.deepEqual([sceneDetail, hit.type, hit.rank, hit.score, ...Object.values(hit.entry)], [
      detail, type, count > 3 ? 500 : 0, count > 4 ? 10 + (2.4 + 7) : 0, key, count > 9 ? 'D' : detail, count > 10 ? 'P' : priority,
      ...labels.slice(0, 4)], `${count} fields`);
  }
});

test('human phrases', () => {
  const master = zh('聚餐', 'food', 'category', 'eating', '5');
  const implied = (alias, type, score, detail = 'hearty') => ['food', detail, alias, type, 400, score];
  const [party, plain2, full] = [['partynight', 'food', 'hearty', ''], ['partynight', 'food', 'hearty'], ['吃撑', 'food', 'hearty']];
  check([
    ['a part of the title speaks for all of it', full, '今天 吃撑了', implied('今天吃撑了', 'zh', 10 + 5 * 1.2)],
    ['plain: a run inside the reading speaks for all of it', party, ['周末', 'my party night'], implied('mypartynight', 'en', 10 + 12 * 0.9)],
    ['plain: two fields make it zh', plain2, ['周末', 'party night'], implied('partynight', 'zh', 10 + 12)],
    ['plain: not inside a word', party, ['周末', 'party nights'], null],
    ['plain: equals the reading in mixed case, three fields', party, ['周末', 'Party Night'], null],
    ['plain: equals the reading in mixed case, two fields', plain2, ['周末', 'Party Night'], implied('partynight', 'zh', 10 + 12)],
    ['plain: equals raw, no reading, three fields', party, 'Party Night', null],
    ['plain: equals raw, no reading, two fields: an empty alias', plain2, 'Party Night', implied('', 'zh', 10)],
    ['plain: equals raw, another reading', plain2, ['partynight', 'fest'], implied('fest', 'zh', 10 + 4 * 1.2)],
    ['native: equals the reading', full, ['周末', '吃 撑'], implied('吃撑', 'zh', 10 + 2 * 1.2)],
    ['native: only a part of the reading', full, ['周末', '今天吃撑'], null],
    ['one field', ['吃撑', 'food'], '吃撑', null],
    ['an empty detail', ['吃撑', 'food', ''], '吃撑', implied('吃撑', 'zh', 12.4, '')],
    ['no scene', ['吃撑', '', 'veto'], '吃撑', null],
    ['a scene without a category row', full, '吃撑', null, [zh('聚餐', 'food', 'detail')]],
    ['a category row of ten fields is no master row', full, '吃撑', null, [master.slice(0, 11)]],
    ['beats a compound row', full, '今天吃撑', implied('今天吃撑', 'zh', 10 + 4 * 1.2), [master, zh('今天吃撑', 'travel', 'compound')]],
    ['the whole title goes before a short row that is a part', full, '今天吃撑', implied('今天吃撑', 'zh', 14.8), [master, zh('今', 'travel', 'short')]],
    ['loses to a short row that is the whole title', full, '今天吃撑', ['travel'], [master, zh('今天吃撑', 'travel', 'short')]],
    ['sorts behind a short row if it is not the whole title', plain2, ['周末', 'party night'], ['travel'], [master, zh('周', 'travel', 'short')]],
  ].map(([what, human, title, expected, scene = [master]]) => [what, scene, title, expected, [human]]));
  const { intentHit: { entry } } = resolve(packOf([master.with(4, 'detail').with(11, '4'), master, master.with(11, '6')], [full]), '吃撑');
  assert.deepEqual([entry.priority, entry.label, entry.icon], ['5', 'food label', 'food-icon'], 'the first master row describes the scene');
});
