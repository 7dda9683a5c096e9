// extractSemanticFacets: which aliases are hits, where, how strong, and how they add up.
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertSame } from './support/outcome.mjs';
import { writePack } from './support/packs.mjs';

const [zh30, zh10] = ['日'.repeat(30), '月'.repeat(10)];
const table = [
  // Name, rows as "term dimension facetKey weight lang", title, English reading, the values of hits and of groups.
  ['an alias that stands twice is one hit, at the first position, in characters',
    '街拍 kind street 2 zh', '上海街拍和街拍', undefined, 'kind street 街拍 zh 2 2 3.2', 'kind street 1 3.2 2'],
  ['hits in row order, scores added in that order; a later hit lowers firstIndex',
    'vlog kind vlog 0.1 en, 日记 kind vlog 0.2 zh, 旅行 kind trip 1 zh', '日记 vlog 旅行', '',
    `kind vlog vlog en 3 4 ${1.6 + 0.1}, kind vlog 日记 zh 0 2 ${1.2 + 0.2}, kind trip 旅行 zh 8 2 2.2`,
    `kind vlog 2 ${1.6 + 0.1 + (1.2 + 0.2)} 0, kind trip 1 2.2 8`],
  ['positions are those of each text; what is in both is a hit of the title, whatever its language; nothing is folded',
    'food topic food 0 en, 美食 topic food 0 zh, vlog kind vlog 1 en, streetfood a b 1 en, go a c 1 en',
    '去吃美食vlog GO', 'vlog: street food',
    'topic food 美食 zh 2 2 1.2, kind vlog vlog en 4 4 2.6, topic food food en 13 4 1.6',
    `topic food 2 ${1.2 + 1.6} 2, kind vlog 1 2.6 4`],
  ['weights are numbers of the C library; no number is no hit, an empty text is 0',
    'a w 1 abc zh, b w 2  zh, c w 3 \t2 zh, d w 4 0x10 zh, e w 5 2\t zh, f w 6 -1e1 zh', 'abcdef', undefined,
    'w 2 b zh 1 1 0.6, w 3 c zh 2 1 2.6, w 4 d zh 3 1 16.6, w 6 f zh 5 1 -9.4',
    'w 2 1 0.6 1, w 3 1 2.6 2, w 4 1 16.6 3, w 6 1 -9.4 5'],
  ['a bad weight blocks its good twin; a row of three fields blocks nothing; of two weights the first counts',
    '甲 d k bad zh, 甲 d k 1 zh, 乙 d k 1, 乙 d k 2 zh, 丙 d k 3 zh, 丙 d k 4 zh, 丙 d k 5 ja more',
    '甲乙丙', undefined, 'd k 乙 zh 1 1 2.6, d k 丙 zh 2 1 3.6, d k 丙 ja 2 1 5.4', `d k 3 ${2.6 + 3.6 + 5.4} 1`],
  ['the length counts to 8 at most; "zh" weighs more than all else',
    `${zh30} l 1 0 zh, ${zh10} l 2 0 zh, ${zh10} l 3 0 ZH`, zh30 + zh10, undefined,
    `l 1 ${zh30} zh 0 30 8, l 2 ${zh10} zh 30 10 6, l 3 ${zh10} ZH 30 10 4`, 'l 1 1 8 0, l 2 1 6 30, l 3 1 4 30'],
  ['keys are joined with four characters, \\x1f: where names hold them, two rows are one; the byte itself joins none',
    'x a\\x1fb c 1 zh, x a b\\x1fc 1 zh, y a b\\x1fc 2 zh, z a\x1fb c 3 zh, z a b\x1fc 4 zh', 'xyz', undefined,
    'a\\x1fb c x zh 0 1 1.6, a b\\x1fc y zh 1 1 2.6, a\x1fb c z zh 2 1 3.6, a b\x1fc z zh 2 1 4.6',
    `a\\x1fb c 2 ${1.6 + 2.6} 0, a\x1fb c 1 3.6 2, a b\x1fc 1 4.6 2`],
];
const split = (rows) => rows.split(', ').map((row) => row.split(' '));
/** Objects of the named properties; "#" marks those that are numbers. */
const objects = (names, rows) => split(rows).map((row) => Object.fromEntries(names.split(' ').map((name, i) =>
  (name.startsWith('#') ? [name.slice(1), Number(row[i])] : [name, row[i]]))));

test('hits and groups', () => {
  for (const [name, rows, raw, normalizedEnglish, hits, groups] of table) {
    const facet = split(rows);
    const title = normalizedEnglish === undefined ? { raw } : { raw, normalizedEnglish };
    assertSame(addon.extractSemanticFacets({ ...writePack({ sections: { scene: facet, facet } }), ...title }), {
      ok: true, facetContract: 'native-facet-v1',
      hits: objects('dimension facetKey alias type #index #len #score', hits),
      groups: objects('dimension facetKey #count #score #firstIndex', groups),
    }, name);
  }
});
