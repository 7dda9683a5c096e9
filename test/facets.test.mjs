// extractSemanticFacets: which aliases are hits, where, how strong, and how they add up.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertRequiredOptions, assertSame, spoil, thrownBy, writeStamped } from './support/outcome.mjs';
import { root, writePack } from './support/packs.mjs';

const zh30 = '日'.repeat(30);
const zh10 = '月'.repeat(10);

// rows: [term, dimension, facetKey, weight, lang]; hits: the seven values of a hit; groups: the five of a group.
const cases = [
  {
    name: 'an alias that stands twice is one hit, at the first position, in characters',
    rows: [['街拍', 'kind', 'street', '2', 'zh']],
    raw: '上海街拍和街拍',
    hits: [['kind', 'street', '街拍', 'zh', 2, 2, 3.2]],
    groups: [['kind', 'street', 1, 3.2, 2]],
  },
  {
    name: 'two aliases of a facet: two hits in row order, one group, scores added in that order',
    rows: [['vlog', 'kind', 'vlog', '0.1', 'en'], ['日记', 'kind', 'vlog', '0.2', 'zh'], ['旅行', 'kind', 'trip', '1', 'zh']],
    raw: '日记 vlog 旅行',
    hits: [['kind', 'vlog', 'vlog', 'en', 3, 4, 1.6 + 0.1], ['kind', 'vlog', '日记', 'zh', 0, 2, 1.2 + 0.2],
      ['kind', 'trip', '旅行', 'zh', 8, 2, 2.2]],
    groups: [['kind', 'vlog', 2, 1.6 + 0.1 + (1.2 + 0.2), 0], ['kind', 'trip', 1, 2.2, 8]],
  },
  {
    name: 'positions are those of the text of each hit; groups compare them all the same',
    rows: [['food', 'topic', 'food', '0', 'en'], ['美食', 'topic', 'food', '0', 'zh']],
    raw: '去吃美食',
    english: 'a food',
    hits: [['topic', 'food', '美食', 'zh', 2, 2, 1.2], ['topic', 'food', 'food', 'en', 2, 4, 1.6]],
    groups: [['topic', 'food', 2, 1.2 + 1.6, 2]],
  },
  {
    name: 'firstIndex is lowered by a later hit',
    rows: [['food', 'topic', 'food', '0', 'en'], ['美食', 'topic', 'food', '0', 'zh']],
    raw: '去吃美食',
    english: 'food',
    hits: [['topic', 'food', '美食', 'zh', 2, 2, 1.2], ['topic', 'food', 'food', 'en', 0, 4, 1.6]],
    groups: [['topic', 'food', 2, 1.2 + 1.6, 0]],
  },
  {
    name: 'an alias in both texts is a hit of the raw text, whatever its language',
    rows: [['vlog', 'kind', 'vlog', '1', 'en']],
    raw: '我的vlog',
    english: 'vlog',
    hits: [['kind', 'vlog', 'vlog', 'en', 2, 4, 2.6]],
    groups: [['kind', 'vlog', 1, 2.6, 2]],
  },
  {
    name: 'nothing is folded and no blank is skipped',
    rows: [['streetfood', 'a', 'b', '1', 'en'], ['vlog', 'a', 'c', '1', 'en']],
    raw: 'street food VLOG',
    english: '',
    hits: [],
    groups: [],
  },
  {
    name: 'weights are numbers of the C library; no number is no hit, an empty text is 0',
    rows: [['a', 'w', '1', 'abc', 'zh'], ['b', 'w', '2', '', 'zh'], ['c', 'w', '3', ' 2', 'zh'], ['d', 'w', '4', '0x10', 'zh'],
      ['e', 'w', '5', '2 ', 'zh'], ['f', 'w', '6', '-1e1', 'zh']],
    raw: 'abcdef',
    hits: [['w', '2', 'b', 'zh', 1, 1, 0.6], ['w', '3', 'c', 'zh', 2, 1, 2.6], ['w', '4', 'd', 'zh', 3, 1, 16.6],
      ['w', '6', 'f', 'zh', 5, 1, -9.4]],
    groups: [['w', '2', 1, 0.6, 1], ['w', '3', 1, 2.6, 2], ['w', '4', 1, 16.6, 3], ['w', '6', 1, -9.4, 5]],
  },
  {
    name: 'a bad weight blocks its good twin; a row of three fields blocks nothing; of two weights the first counts',
    rows: [['甲', 'd', 'k', 'bad', 'zh'], ['甲', 'd', 'k', '1', 'zh'], ['乙', 'd', 'k', '1'], ['乙', 'd', 'k', '2', 'zh'],
      ['丙', 'd', 'k', '3', 'zh'], ['丙', 'd', 'k', '4', 'zh'], ['丙', 'd', 'k', '5', 'ja', 'more']],
    raw: '甲乙丙',
    hits: [['d', 'k', '乙', 'zh', 1, 1, 2.6], ['d', 'k', '丙', 'zh', 2, 1, 3.6], ['d', 'k', '丙', 'ja', 2, 1, 5.4]],
    groups: [['d', 'k', 3, 2.6 + 3.6 + 5.4, 1]],
  },
  {
    name: 'the length counts to 8 at most; "zh" weighs more than all else',
    rows: [[zh30, 'l', '1', '0', 'zh'], [zh10, 'l', '2', '0', 'zh'], [zh10, 'l', '3', '0', 'en'], [zh10, 'l', '4', '0', 'ZH']],
    raw: zh30 + zh10,
    hits: [['l', '1', zh30, 'zh', 0, 30, 8], ['l', '2', zh10, 'zh', 30, 10, 6], ['l', '3', zh10, 'en', 30, 10, 4],
      ['l', '4', zh10, 'ZH', 30, 10, 4]],
    groups: [['l', '1', 1, 8, 0], ['l', '2', 1, 6, 30], ['l', '3', 1, 4, 30], ['l', '4', 1, 4, 30]],
  },
  {
    name: 'keys are joined with the four characters \\x1f: where they are part of a name, two rows are one',
    rows: [['x', 'a\\x1fb', 'c', '1', 'zh'], ['x', 'a', 'b\\x1fc', '1', 'zh'], ['y', 'a', 'b\\x1fc', '2', 'zh']],
    raw: 'xy',
    hits: [['a\\x1fb', 'c', 'x', 'zh', 0, 1, 1.6], ['a', 'b\\x1fc', 'y', 'zh', 1, 1, 2.6]],
    groups: [['a\\x1fb', 'c', 2, 1.6 + 2.6, 0]],
  },
  {
    name: 'the control byte 0x1F joins nothing',
    rows: [['x', 'a\x1fb', 'c', '1', 'zh'], ['x', 'a', 'b\x1fc', '1', 'zh']],
    raw: 'x',
    hits: [['a\x1fb', 'c', 'x', 'zh', 0, 1, 1.6], ['a', 'b\x1fc', 'x', 'zh', 0, 1, 1.6]],
    groups: [['a\x1fb', 'c', 1, 1.6, 0], ['a', 'b\x1fc', 1, 1.6, 0]],
  },
];

const named = (keys, rows) => rows.map((row) => Object.fromEntries(keys.map((key, i) => [key, row[i]])));

for (const { name, rows, raw, english, hits, groups } of cases) {
  test(name, () => {
    const options = { ...writePack({ sections: { scene: rows, facet: rows } }), raw };
    if (english !== undefined) options.normalizedEnglish = english;
    assertSame(addon.extractSemanticFacets(options), {
      ok: true,
      facetContract: 'native-facet-v1',
      hits: named(['dimension', 'facetKey', 'alias', 'type', 'index', 'len', 'score'], hits),
      groups: named(['dimension', 'facetKey', 'count', 'score', 'firstIndex'], groups),
    });
  });
}

test('options and failures', () => {
  const good = { ...writePack({ sections: { facet: [['a', 'd', 'k', '1', 'zh']] } }), raw: 'a' };
  assertRequiredOptions('extractSemanticFacets', ['packPath', 'allowedRoot', 'raw'], good);
  for (const value of [undefined, null, 1, {}]) {
    assert.equal(thrownBy(() => addon.extractSemanticFacets({ ...good, normalizedEnglish: value })),
      'TypeError: normalizedEnglish must be a string');
  }
  assert.equal(thrownBy(() => addon.extractSemanticFacets({ ...good, packPath: root })),
    'Error: semantic rule-pack path is outside the approved root');
});

test('the pack comes from and goes to the base slot', () => {
  const packPath = writeStamped({ sections: { facet: [['a', 'd', 'k', '1', 'zh']] } });
  addon.inspectRulePack({ packPath, allowedRoot: root });
  spoil(packPath);
  assert.equal(addon.extractSemanticFacets({ packPath, allowedRoot: root, raw: 'a' }).hits.length, 1);
});
