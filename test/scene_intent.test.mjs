// Which scene a title speaks of, a title a line. Scores are worked out by hand: early + (length + priority).
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertSame } from './support/outcome.mjs';
import { sceneRows, writePack } from './support/packs.mjs';

const packOf = (scene, human = []) => writePack({ sections: { scene, human } });
const resolve = (pack, raw, normalizedEnglish) =>
  addon.resolveSceneIntent({ ...pack, raw, ...(normalizedEnglish !== undefined && { normalizedEnglish }) });

/** The answer's texts, as `sceneRows` writes them, and its score: ["sceneKey sceneDetail alias type rank", score]. */
function answer(pack, ...title) {
  const { sceneKey, sceneDetail, intentHit: hit } = resolve(pack, ...title);
  if (!hit) return [sceneKey + sceneDetail];
  assert.deepEqual([sceneKey, sceneDetail], [hit.sceneKey, hit.detail]);
  const texts = [sceneKey, sceneDetail, hit.alias, hit.type, String(hit.rank)];
  return [texts.map((text) => text.replaceAll(' ', '_') || '-').join(' '), hit.score];
}

/** Runs rows of [what, scene rows, raw or [raw, english], as much of the answer as matters, score, human row]. */
function check(table) {
  for (const [what, rows, title, expected, expectedScore, human] of table) {
    const pack = packOf(typeof rows === 'string' ? sceneRows(rows) : rows, human && [human]);
    const [texts, score] = answer(pack, ...[title].flat());
    const told = expected && texts.split(' ').slice(0, expected.split(' ').length).join(' ');
    assert.deepEqual([told || texts, expectedScore && score], [expected, expectedScore], what);
  }
}

test('the result: properties, order, values', () => {
  const entry = { key: 'food', defaultDetail: 'food default', priority: '1', label: 'food label',
    archiveLabel: 'food archive', archiveCode: 'food-code', icon: 'food-icon' };
  const score = 7 + (2 * 1.2 + 1);
  const hit = { alias: '火锅', type: 'zh', sceneKey: 'food', detail: 'eating', rank: 100, score, entry };
  const pack = packOf(sceneRows('火锅 food category eating'));
  const found = { sceneKey: 'food', sceneDetail: 'eating', intentHit: hit };
  for (const [raw, expected] of [['今天吃火锅', found], ['今天', { sceneKey: '', sceneDetail: '', intentHit: null }]]) {
    assertSame(resolve(pack, raw), { ok: true, sceneContract: 'native-scene-v1', ...expected });
  }
});

test('rows of the two forms of a title', () => {
  const [hotpot, cat, street] = ['en:hotpot food', 'en:cat pet', 'en:streetfood food'];
  check([
    ['the fold of the title', 'vlog日常 daily', ' V\tLOG 日常\n', 'daily - vlog日常 zh 100', 10 + (6 * 1.2 + 1)],
    ['blanks, and an English reading', hotpot, ['  ', 'hot pot'], 'food - hotpot en 100', 10 + (6 * 0.9 + 1)],
    ['en, found in raw, no reading', hotpot, 'hotpot', ''],
    ['en, inside a word of the reading', cat, ['拼接', 'concatenate'], ''],
    ['en, the beginning of one, the end of another', cat, ['拼接', 'cats tomcat'], ''],
    ['en, its own word, its place in raw counts', cat, ['concat', 'con cat'], 'pet - cat en 100', 7 + (3 * 0.9 + 1)],
    ['en, two words, many blanks', street, ['小吃', '  best street   food '], 'food', 10 + (10 * 0.9 + 1)],
    ['en, a tab does not separate', street, ['小吃', 'street\tfood'], ''],
    ['en, the reading in mixed case', street, ['小吃', 'Street food'], ''],
    ['zh, no word of the reading, stays', 'hotpot food', ['火', 'myhotpots'], 'food - hotpot zh', 10 + (6 * 1.2 + 1)],
    ['another language is held against raw', 'ja:なべ food', 'なべ', 'food - なべ ja 100', 10 + (2 * 0.9 + 1)],
  ]);
  const food = sceneRows('火锅 food');
  const sections = { scene: sceneRows('旅行 travel'), facet: food, location: food, celebrity: food };
  assert.deepEqual(answer(writePack({ sections }), '火锅'), [''], 'other sections hold no scenes');
});

test('score: position, length, priority', () => {
  const ten = '一二三四五六七八九十';
  const table = [
    // Term, priority, raw, score. Found in the compacted title, counted in raw, at the first occurrence; the tenth and
    // later characters are worth nothing.
    ['火锅', '3.5', '火锅店', 15.9], ['火锅', '1', '我 们火锅', 7 + (2.4 + 1)], ['火', '0', '一火火', 9 + 1.2],
    ['火锅', '1', `${ten.slice(1)}火锅`, 1 + (2.4 + 1)], ['火锅', '1', `${ten}一火锅`, 0 + (2.4 + 1)],
    // Ten characters give 12, more no more. The order of additions: any other ends in …99.
    [ten, '0', ten, 22], [`${ten}一`, '0', `${ten}一`, 22], ['火', '0.2', '火', 11.4],
    ...['3.5x', '3\0', ' '].map((priority) => ['火锅', priority, '火锅', 0]),
    ...[['', 0], ['-1e1', -10], ['1e999', Infinity], ['nan', NaN]]
      .map(([priority, value]) => ['火锅', priority, '火锅', 10 + (2.4 + value)]),
  ];
  for (const [term, priority, raw, score] of table) {
    const pack = packOf([[term, 'k', '', priority, 'category', 'zh']]);
    assert.equal(answer(pack, raw)[1], score, `${term} ${priority} ${raw}`);
  }
});

test('order of candidates', () => {
  const kinds = ['short', 'conflict', 'compound', 'detail', 'category', 'Short'];
  check([
    ...kinds.slice(1).map((kind, i) =>
      [`${kinds[i]} before ${kind}`, `甲乙丙 weak ${kind} - 9, 丁 top ${kinds[i]} - 0`]),
    ['length before score', '甲乙 weak category - 9, 丙丁戊 top category - 0'],
    ['length in bytes', 'aé weak category - 9, 甲乙 top category - 0'],
    ['score: priority outweighs two places', '甲乙 weak category - 0, 丙丁 top category - 3'],
    ['score: earlier', '丙丁 weak, 甲乙 top'],
    // 丙 E4 B8 99, 丁 E4 B8 81, 甲 E7 94 B2. No priority is a number, so all scores are 0.
    ['bytes of the term', '甲 weak category - x, 丙 weak category - x, 丁 top category - x'],
  ].map(([what, rows]) => [what, rows, 'aé甲乙丙丁戊己庚辛', 'top']));
  // Scores that are no numbers never confuse the sort.
  const characters = Array.from({ length: 400 }, (_, i) => String.fromCodePoint(0x4e00 + i));
  const weights = ['nan', 'inf', '-inf', '1', 'x', '-nan'];
  const rows = characters.map((term, i) => `${term} k${i} category - ${weights[(i * 7 + (i >> 3)) % 6]}`);
  const first = rows.find((row) => row.endsWith(' inf')).split(' ')[1];
  check([['infinite and first in bytes', rows.join(', '), characters.join(''), first]]);
});

test('a row that is the whole title goes to the front', () => {
  const [short, compound] = ['旅行 travel short brief', '旅行 travel compound tour'];
  const whole = (kind, key = 'food') => `火锅旅行 ${key} ${kind} ${kind}_whole`;
  const category = whole('category');
  const brief = 'travel brief 旅行 zh 500';
  const reading = ['火锅旅行', 'hotpot trip'];
  const [twice, reading2] = ['hotpottriphotpottrip', 'hotpot trip hotpot trip'];
  check([
    ['a category before a compound part', `${compound}, ${category}`, '火锅 旅行', 'food category_whole', 15.8],
    ['a short row that is a part ranks first', `火锅 food, ${short}, ${compound}`, '火锅旅行', brief, 8 + 2.4],
    ['of two, the higher rank', `${short}, ${category}, ${whole('detail', 'event')}`, '火锅旅行', 'event detail_whole'],
    ['of one rank, the longer', `${short}, ${category}, en:${twice} event`, ['火锅旅行', reading2], `event - ${twice}`],
    ['of two, not the longer', `${short}, ${whole('detail')}, en:${twice} event`, ['火锅旅行', reading2], 'food'],
    ['en is the whole English reading', `${short}, en:hotpottrip event`, reading, 'event - hotpottrip'],
    ['zh is not', `${short}, hotpottrip event`, reading, brief],
    ['a kind of rank 0 is not promoted', `${short}, ${whole('other')}`, '火锅旅行', brief],
    ...[[4, brief], [5, 'food compound_whole 火锅旅行 zh 300']].map(([count, expected]) => [`${count} fields`,
      [...sceneRows(short), sceneRows(whole('compound'))[0].slice(0, count + 1)], '火锅旅行', expected]),
  ]);
});

test('scene detail', () => {
  const ten = '一二三四五六七八九十';
  const [pots, meats] = ['锅'.repeat(12), '肉'.repeat(13)];
  const both = ten + pots + meats;
  const [dining, first, second] = ['吃 food detail dining', '火锅 food detail first 2', '烤肉 food detail second'];
  check([
    ['a whole override keeps its own', `吃火锅 food compound own, ${dining}`, '吃火锅', 'food own 吃火锅'],
    ['an override that is a part does not', `火锅 food short own, ${dining}`, '吃火锅', 'food dining 火锅'],
    ['a whole category does not', `吃火锅 food category own, ${dining}`, '吃火锅', 'food dining 吃火锅'],
    ['rows of other scenes say nothing', '火锅 food short own, 吃 travel detail tour', '吃火锅', 'food own 火锅'],
    ['of two the higher rank', '吃火锅 food compound low, 吃火锅 food conflict own', '吃火锅', 'food own'],
    // 8 + (1 × 0.9 + 6) against 6 + (3 × 0.9 + 6) and against 7 + (3 × 0.9 + 6)
    ['early beats long', '甲 food detail early, 丙丁戊 food detail long', '甲乙丙丁戊', 'food early'],
    ['long beats early', '甲 food detail early, 乙丙丁 food detail long', '甲乙丙丁', 'food long'],
    ['priority plays no part', '甲乙 food detail early, 丙丁 food detail late 99', '甲乙丙丁', 'food early 丙丁'],
    // Each counts in its own form of the title: 7 + (2 × 0.9 + 6) against 8 + (4 × 0.7 + 6)
    ['two forms', '甲乙 food detail raw, en:soup food detail english', ['一甲乙', 'soup now'], 'food english 甲乙'],
    ['zh that is only in the reading', '甲 food short own, soup food detail lost', ['甲', 'soup'], 'food own 甲'],
    // Past the eighth character and equally long, the first in order wins, unless it has changed places with the whole
    // title.
    ['equal scores: the first in order', `${second}, ${first}`, `${ten}火锅烤肉`, 'food first 火锅'],
    ['promotion swaps two places', `${first}, ${second}, ${ten}火锅烤肉 food`, `${ten}火锅烤肉`, 'food second'],
    ['and a row counts once', `${first}, ${first}, ${second}, ${ten}火锅烤肉 food`, `${ten}火锅烤肉`, 'food second'],
    // 0 + (12 × 0.9 → 10) + 6 for both; the longer comes later.
    ['equal scores: the longer', `${pots} food detail a, ${meats} food detail b, ${both} food`, both, 'food b'],
  ]);
});

test('rows that are shorter or longer than the convention', () => {
  const fields = ['food', 'd', '7', 'short', 'zh', 'L', 'A', 'C', 'I', 'D', 'P', 'more'];
  for (let count = 0; count <= 12; ++count) {
    const [key, detail, priority, , type, ...labels] = fields.map((field, i) => (i < count ? field : ''));
    const { sceneDetail, intentHit: hit } = resolve(packOf([['火锅', ...fields.slice(0, count)]]), '火锅');
    const [defaultDetail, own] = [count > 9 ? 'D' : detail, count > 10 ? 'P' : priority];
    const [rank, score] = [count > 3 ? 500 : 0, count > 4 ? 10 + (2.4 + 7) : 0];
    assert.deepEqual([sceneDetail, hit.type, hit.rank, hit.score, ...Object.values(hit.entry)],
      [detail, type, rank, score, key, defaultDetail, own, ...labels.slice(0, 4)], `${count} fields`);
  }
});

test('human phrases', () => {
  const master = '聚餐 food category eating 5';
  const [full, plain2] = ['吃撑', 'partynight'].map((phrase) => [phrase, 'food', 'hearty']);
  const plain3 = [...plain2, ''];
  const spoken = (alias, type = 'zh') => `food hearty ${alias || '-'} ${type} 400`;
  check([
    ['a part of the title speaks for all of it', full, '今天 吃撑了', spoken('今天吃撑了'), 10 + 5 * 1.2],
    ['a run inside the reading does so', plain3, ['周末', 'my party night'], spoken('mypartynight', 'en'), 20.8],
    ['two fields make it zh', plain2, ['周末', 'party night'], spoken('partynight'), 22],
    ['not inside a word', plain3, ['周末', 'party nights'], ''],
    ['equals the reading in mixed case, three fields', plain3, ['周末', 'Party Night'], ''],
    ['equals the reading in mixed case, two fields', plain2, ['周末', 'Party Night'], spoken('partynight')],
    ['equals raw, no reading, three fields', plain3, 'Party Night', ''],
    ['equals raw, no reading, two fields: an empty alias', plain2, 'Party Night', spoken(''), 10],
    ['equals raw, another reading', plain2, ['partynight', 'fest'], spoken('fest'), 10 + 4 * 1.2],
    ['native: equals the reading', full, ['周末', '吃 撑'], spoken('吃撑'), 12.4],
    ['native: only a part of the reading', full, ['周末', '今天吃撑'], ''],
    ['one field', ['吃撑', 'food'], '吃撑', ''],
    ['an empty detail', ['吃撑', 'food', ''], '吃撑', 'food - 吃撑'],
    ['no scene', ['吃撑', '', 'veto'], '吃撑', ''],
    ['a scene without a category row', full, '吃撑', '', 0, '聚餐 food detail'],
    ['a category row of ten fields is no master row', full, '吃撑', '', 0, [sceneRows(master)[0].slice(0, 11)]],
    ['beats a compound row', full, '今天吃撑', spoken('今天吃撑'), 14.8, `${master}, 今天吃撑 travel compound`],
    ['goes before a short part', full, '今天吃撑', spoken('今天吃撑'), 14.8, `${master}, 今 travel short`],
    ['loses to a short whole title', full, '今天吃撑', 'travel', 0, `${master}, 今天吃撑 travel short`],
    ['to a short part if it is itself one', plain2, ['周末', 'party night'], 'travel', 0, `${master}, 周 travel short`],
  ].map(([what, human, title, expected, score, rows = master]) => [what, rows, title, expected, score, human]));
  const masters = sceneRows('a food detail - 4, b food category - 5, c food category - 6');
  assert.equal(resolve(packOf(masters, [full]), '吃撑').intentHit.entry.priority, '5', 'the first master row speaks');
});
