// lookupBinaryIndex and lookupBinaryIndexOverlay: rows by term, their order, scores and candidates; two packs as one.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';
import { indexDocument, packBytes, root, sceneRows, writeFile, writePack } from './support/packs.mjs';
import { buildLocationShard } from '../tools/index.mjs';

const lookup = (rows, term, { section = 'scene', ...more } = {}) =>
  addon.lookupBinaryIndex({ ...writePack({ sections: { [section]: rows } }), section, term, ...more });

test('a result, property by property', () => {
  const [term, ...fields] = sceneRows('城市散步 walk category 散步 3.5')[0];
  const match = (section) => ({ section, term, fields, candidateRank: 100, candidateType: 'category',
    candidateScore: 10 + (4 * 1.2 + 3.5), detailScore: 0 });
  const result = { ok: true, section: 'scene', term, mode: 'exact', matches: [match('scene')],
    scoreContract: 'native-candidate-v1',
    sceneCandidates: [{ sceneKey: 'walk', detailLabel: '散步', bestRank: 100, candidateCount: 1, bestDetailScore: 0,
      candidateTypes: ['category'] }] };
  assertSame(lookup([[term, ...fields]], term), result);
  const none = { ...result, term: '城市', matches: [], sceneCandidates: [] };
  assertSame(lookup([[term, ...fields], ['市']], '城市'), none, 'exact is the default');
  for (const section of ['human', 'celebrity', 'location', 'facet']) {
    const { matches, sceneCandidates } = lookup([[term, ...fields]], term, { section });
    assertSame([matches, sceneCandidates], [[match(section)], []]);
  }
});

test('scores of a row', () => {
  const [twenty, ten] = ['字'.repeat(20), '一二三四五六七八九十'];
  const table = [
    // Term and fields, text asked about, candidateScore, detailScore. The language decides the worth of a character.
    ['a', 'a', 10 + 1.2, 0], ['a k d 3.5x other zh', 'a', 10 + 1.2, 0], ['?? k d 0 x fr', '??', 10 + 1.8 - 26, 0],
    ['food k d 1.0 short', 'food', 10 + (4.8 + 1), 0], ['shoppings k d 0 compound en', 'shoppings', 10 + 8.1, 0],
    [`${twenty} k d 1 detail zh`, twenty, 10 + (12 + 1), 8 + 10 + 6],
    // The sum of length and weight comes first: added from the left, it would end in another bit.
    ['夜市 k d 0.3 detail', '我夜市', 9 + (2.4 + 0.3), 7 + 1.8 + 6],
    ['night k d 1 detail en', `${ten.slice(1)}night`, 1 + (4.5 + 1), 0 + 3.5 + 6],
    ['night k d 1 detail en', `${ten}十二night`, 0 + (4.5 + 1), 0 + 3.5 + 6],
  ];
  const scoresOf = (row, asked) => {
    const [term, ...fields] = row.split(' ');
    const [{ candidateScore, detailScore }] = lookup([[term, ...fields]], asked, { mode: 'contains' }).matches;
    return [candidateScore, detailScore];
  };
  for (const [row, asked, ...expected] of table) assert.deepEqual(scoresOf(row, asked), expected, row);
  const penalties = { life: 26, record: 24, daily: 22, event: 18, show: 18, social: 16, city: 14, travel: 12, trip: 12,
    sport: 12, mood: 12, pet: 10, food: 10, walk: 8, chat: 8, talk: 8, meal: 8, shopping: 8, lif: 0, Life: 0, '??': 0 };
  for (const [term, penalty] of Object.entries(penalties)) {
    assert.equal(scoresOf(`${term} k d 0 category en`, term)[0], 10 + term.length * 0.9 - penalty, term);
  }
});

test('which rows match, their order, and the scenes that they speak for', () => {
  // Rank, then bytes of the term, then the first field as unsigned bytes; one candidate a scene.
  const rows = ['ab é d1 - category', 'ab z d2 - category', 'ab', 'abcd a d3 - category', 'a a d4 - detail',
    '字 a d5 - category', 'ab z d6 - detail', 'abcd a d7 - unknown', 'ab zz d8 - category', 'ab b two', 'abc one',
    'abc c d9 - short', 'a c d10 - conflict', 'a c d11 - compound'].map((row) => row.split(' '));
  const found = (text, mode) =>
    lookup(rows, text, { mode }).matches.map(({ term, fields }) => [term, ...fields].join(' '));
  assert.deepEqual(found('abcd字', 'contains'), ['abc c d9 - short', 'a c d10 - conflict', 'a c d11 - compound',
    'ab z d6 - detail', 'a a d4 - detail', 'abcd a d3 - category', '字 a d5 - category', 'ab z d2 - category',
    'ab zz d8 - category', 'ab é d1 - category', 'abcd a d7 - unknown', 'abc one', 'ab', 'ab b two']);
  const others = [found('字', 'exact'), found('abcd字', 'exact'), found('ABCD', 'contains')];
  assert.deepEqual(others, [['字 a d5 - category'], [], []]);
  const { matches, sceneCandidates } = lookup(rows, 'abcd字', { mode: 'contains' });
  assert.deepEqual(matches.slice(0, 5).map(({ candidateRank }) => candidateRank), [500, 400, 300, 200, 200]);
  assert.deepEqual(sceneCandidates.map(Object.values), [
    ['c', 'd9', 500, 3, 0, ['short', 'conflict', 'compound']], ['z', 'd6', 200, 2, 8 + 1.8 + 6, ['detail', 'category']],
    ['a', 'd4', 200, 4, 8 + 0.9 + 6, ['detail', 'category', 'unknown']], ['zz', 'd8', 100, 1, 0, ['category']],
    ['é', 'd1', 100, 1, 0, ['category']], ['b', 'two', 0, 1, 0, []]]);
  // A location query also takes the sections whose names begin with "location-".
  const records = [{ code: 'FR', englishFlag: 0, weight: 1, label: '', countryLabel: '' }];
  const shard = { type: 6, encoding: 2, name: 'location-eu', data: buildLocationShard([{ alias: '巴黎', records }]) };
  const pack = writePack({ documents: [indexDocument({ location: [['巴黎']], scene: [['巴黎']] }), shard] });
  for (const [section, expected] of [['location', ['location', 'location-eu']], ['scene', ['scene']]]) {
    const { matches: places } = addon.lookupBinaryIndex({ ...pack, section, term: '巴黎' });
    assert.deepEqual(places.map((match) => match.section).sort(), expected);
  }
});

const base = writePack({ sections: { scene: [['a', 'x']] } });
const patch = writePack({ sections: { scene: [['a', 'y']] }, metadata: { kind: 'patch', ruleSetId: 'rules-2' } });
const query = { allowedRoot: root, section: 'scene', term: 'a' };
const paired = { ...query, basePackPath: base.packPath, overlayPackPath: patch.packPath };

test('section and mode are checked before any pack is touched', () => {
  for (const name of ['lookupBinaryIndex', 'lookupBinaryIndexOverlay']) {
    const call = (options) =>
      thrownBy(() => addon[name]({ ...query, packPath: '/', basePackPath: '/', overlayPackPath: '/', ...options }));
    const section = `RangeError: ${name} section is unsupported`;
    const mode = `Error: ${name} mode must be exact or contains`;
    for (const word of ['scenes', 'Scene', 'location-cn', ' scene']) {
      assert.equal(call({ section: word, mode: 'x' }), section);
    }
    for (const value of [undefined, null, 1, []]) assert.equal(call({ mode: value }), `Type${mode}`);
    for (const value of ['Exact', '', 'contain', 'exact ']) assert.equal(call({ mode: value }), `Range${mode}`);
    assert.equal(call({ mode: 'exact' }), 'Error: semantic rule-pack path is outside the approved root');
    // The section comes before the mode in the one, after the mode's type in the other.
    assert.equal(call({ section: 'x', mode: 1 }), name === 'lookupBinaryIndex' ? section : `Type${mode}`);
  }
});

test('two packs as one', () => {
  const head = { ok: true, contract: 'native-semantic-overlay-lookup-v1', section: 'scene', term: 'a', mode: 'exact',
    overlayFirst: true, overlayRuleSetId: 'rules-2', baseRuleSetId: 'rules-1' };
  const match = (source, field) => ({ section: 'scene', term: 'a', source, fields: [field] });
  const call = (options) => addon.lookupBinaryIndexOverlay({ ...paired, ...options });
  assertSame(call(), { ...head, matches: [match('overlay', 'y'), match('base', 'x')] });
  const twice = { ...head, baseRuleSetId: 'rules-2', matches: [match('overlay', 'y')] };
  assertSame(call({ basePackPath: patch.packPath }), twice, 'one file for both');
  // Rows come in their own order, whatever their rank or length, and each once. Where a field ends counts, and if
  // there is one.
  const ofBase = [['ab', '1'], ['a', '1', '', '', 'short'], ['a', 'ab'], ['a', ''], ['b', '1'], ['ab', '1']];
  const ofPatch = [['a', '2'], ['ab', '2', '', '', 'short'], ['a', 'a', 'b'], ['a'], ['b', '1'], ['a', '2'], ['x']];
  const basePackPath = writePack({ sections: { human: ofBase, facet: [['a', 'other section']] } }).packPath;
  const overlayPackPath = writePack({ sections: { human: ofPatch }, metadata: { kind: 'patch' } }).packPath;
  const { matches } = call({ basePackPath, overlayPackPath, term: 'ab', mode: 'contains', section: 'human' });
  assert.deepEqual(matches.map(({ source, term, fields }) => [source, term, ...fields]), [
    ...ofPatch.slice(0, 5).map((row) => ['overlay', ...row]), ...ofBase.slice(0, 4).map((row) => ['base', ...row])]);
  const [missing, bad] = [`${root}/missing.klrx`, writeFile(packBytes({ stored: 'x' }))];
  for (const [options, failure] of [
    [{ basePackPath: missing, overlayPackPath: bad }, 'file stat is invalid'], // the base is loaded first
    [{ overlayPackPath: bad }, 'payload digest is invalid'],
  ]) assert.equal(thrownBy(() => call(options)), `Error: semantic rule-pack ${failure}`);
});
