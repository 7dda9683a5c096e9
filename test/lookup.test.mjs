// lookupBinaryIndex and lookupBinaryIndexOverlay: rows by term, their order, scores and candidates; two packs as one.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertRequiredOptions, assertSame, spoil, thrownBy, writeStamped } from './support/outcome.mjs';
import { indexDocument, packBytes, root, sceneRow, writeFile, writePack } from './support/packs.mjs';
import { buildLocationShard } from '../tools/index.mjs';

const lookup = (rows, term, { section = 'scene', ...more } = {}) =>
  addon.lookupBinaryIndex({ ...writePack({ sections: { [section]: rows } }), section, term, ...more });

test('a result, property by property', () => {
  const [term, ...fields] = sceneRow('城市散步', 'walk', 'category', { detail: '散步', priority: '3.5' });
  const head = { ok: true, section: 'scene', term, mode: 'exact' };
  const score = { candidateRank: 100, candidateType: 'category', candidateScore: 10 + (4 * 1.2 + 3.5), detailScore: 0 };
  const match = { section: 'scene', term, fields, ...score };
  const scene = { sceneKey: 'walk', detailLabel: '散步', bestRank: 100, candidateCount: 1, bestDetailScore: 0, candidateTypes: ['category'] };
  const result = { ...head, matches: [match], scoreContract: 'native-candidate-v1', sceneCandidates: [scene] };
  assertSame(lookup([[term, ...fields]], term), result);
  assertSame(lookup([[term, ...fields], ['市']], '城市'), { ...result, term: '城市', matches: [], sceneCandidates: [] }, 'exact is the default');
});

test('scores of a row', () => {
  const ranks = { short: 500, conflict: 400, compound: 300, detail: 200, category: 100 };
  const rows = [
    // Term and fields, text asked about, candidateScore, detailScore.
    ['a', 'a', 10 + 1.2, 0], ['food k d 1.0 short', 'food', 10 + (4.8 + 1), 0], ['a k d 3.5x other zh', 'a', 10 + 1.2, 0],
    ['life k d -9 conflict en', 'life', 10 + (3.6 - 9) - 26, 0], ['shoppings k d 0 compound en', 'shoppings', 10 + 8.1, 0],
    ['?? k d 0 category zh', '??', 10 + 2.4 - 26, 0], ['?? k d 0 category fr', '??', 10 + 1.8 - 26, 0],
    ['?? k d 0 category en', '??', 10 + 1.8, 0],
    [`${'字'.repeat(20)} k d 1 detail zh`, '字'.repeat(20), 10 + (12 + 1), 8 + 10 + 6],
    // The sum of length and weight comes first: added from the left, it would end in another bit.
    ['夜市 k d 0.3 detail', '我夜市', 9 + (2.4 + 0.3), 7 + 1.8 + 6],
    ['night k d 1 detail en', '一二三四五六七八九night', 1 + (4.5 + 1), 0 + 3.5 + 6],
    ['night k d 1 detail en', '一二三四五六七八九十十二night', 0 + (4.5 + 1), 0 + 3.5 + 6],
  ];
  for (const [row, asked, candidateScore, detailScore] of rows) {
    const [term, ...fields] = row.split(' ');
    const [candidateType, candidateRank] = [fields[3] ?? '', ranks[fields[3]] ?? 0];
    for (const section of ['scene', 'human', 'celebrity', 'location', 'facet']) {
      const { matches, sceneCandidates } = lookup([[term, ...fields]], asked, { section, mode: 'contains' });
      assertSame(matches, [{ section, term, fields, candidateRank, candidateType, candidateScore, detailScore }], row);
      assert.equal(sceneCandidates.length > 0, section === 'scene' && fields.length > 1);
    }
  }
  const penalties = { life: 26, record: 24, daily: 22, event: 18, show: 18, social: 16, city: 14, travel: 12, trip: 12, sport: 12,
    mood: 12, pet: 10, food: 10, walk: 8, chat: 8, talk: 8, meal: 8, shopping: 8, lif: 0, lifes: 0, Life: 0 };
  for (const [term, penalty] of Object.entries(penalties)) {
    const [{ candidateScore }] = lookup([[term, 'k', 'd', '0', 'category', 'en']], term).matches;
    assert.equal(candidateScore, 10 + term.length * 0.9 - penalty, term);
  }
});

test('which rows match, their order, and the scenes that they speak for', () => {
  // Rank, then bytes of the term, then the first field as unsigned bytes; one candidate a scene.
  const rows = ['ab é d1 - category', 'ab z d2 - category', 'ab', 'abcd a d3 - category', 'a a d4 - detail', '字 a d5 - category',
    'ab z d6 - detail', 'abcd a d7 - unknown', 'ab zz d8 - category', 'ab b two', 'abc one'].map((row) => row.split(' '));
  const found = (term, mode) => lookup(rows, term, { mode }).matches.map((match) => [match.term, ...match.fields].join(' '));
  assert.deepEqual(found('abcd字', 'contains'), ['ab z d6 - detail', 'a a d4 - detail', 'abcd a d3 - category', '字 a d5 - category',
    'ab z d2 - category', 'ab zz d8 - category', 'ab é d1 - category', 'abcd a d7 - unknown', 'abc one', 'ab', 'ab b two']);
  assert.deepEqual([found('字', 'exact'), found('abcd字', 'exact'), found('ABCD', 'contains')], [['字 a d5 - category'], [], []]);
  assert.deepEqual(lookup(rows, 'abcd字', { mode: 'contains' }).sceneCandidates.map(Object.values), [
    ['z', 'd6', 200, 2, 8 + 1.8 + 6, ['detail', 'category']], ['a', 'd4', 200, 4, 8 + 0.9 + 6, ['detail', 'category', 'unknown']],
    ['zz', 'd8', 100, 1, 0, ['category']], ['é', 'd1', 100, 1, 0, ['category']], ['b', 'two', 0, 1, 0, []]]);
  // A location query also takes the sections whose names begin with "location-".
  const data = buildLocationShard([{ alias: '巴黎', records: [{ code: 'FR', englishFlag: 0, weight: 1, label: '', countryLabel: '' }] }]);
  const index = indexDocument({ location: [['巴黎']], scene: [['巴黎']] });
  const pack = writePack({ documents: [index, { type: 'location-shard', encoding: 2, name: 'location-eu', data }] });
  const { matches } = addon.lookupBinaryIndex({ ...pack, section: 'location', term: '巴黎' });
  assert.deepEqual(matches.map(({ section }) => section).sort(), ['location', 'location-eu']);
});

const base = writePack({ sections: { scene: [['a', 'x']] } });
const patch = writePack({ sections: { scene: [['a', 'y']] }, metadata: { kind: 'patch', ruleSetId: 'rules-2' } });
const single = { ...base, section: 'scene', term: 'a' };
const paired = { basePackPath: base.packPath, overlayPackPath: patch.packPath, allowedRoot: root, section: 'scene', term: 'a' };

test('options are checked in order, before any pack is touched', () => {
  assertRequiredOptions('lookupBinaryIndex', ['packPath', 'allowedRoot', 'section', 'term'], single);
  assertRequiredOptions('lookupBinaryIndexOverlay', ['basePackPath', 'overlayPackPath', 'allowedRoot', 'section', 'term'], paired);
  for (const [name, good] of Object.entries({ lookupBinaryIndex: single, lookupBinaryIndexOverlay: paired })) {
    const nowhere = { ...good, packPath: 'nowhere', basePackPath: 'nowhere' };
    const call = (options) => thrownBy(() => addon[name](Object.setPrototypeOf(options, nowhere)));
    const [section, mode] = [`RangeError: ${name} section is unsupported`, `${name} mode must be exact or contains`];
    for (const word of ['scenes', 'Scene', 'location-cn', ' scene']) assert.equal(call({ section: word, mode: 'x' }), section);
    for (const value of [undefined, null, 1, []]) assert.equal(call({ mode: value }), `TypeError: ${mode}`);
    for (const value of ['Exact', '', 'contain', 'exact ']) assert.equal(call({ mode: value }), `RangeError: ${mode}`);
    assert.equal(call({ mode: 'exact' }), 'Error: semantic rule-pack path is outside the approved root');
    assert.equal(call({ get mode() { throw new Error('mine'); } }), 'Error: mine');
    // The section comes before the mode in the one, behind the mode's type in the other.
    const [ofType, ofGetter] = good === single ? [section, section] : [`TypeError: ${mode}`, 'Error: mine'];
    assert.equal(call({ section: 'x', mode: 1 }), ofType);
    assert.equal(call({ section: 'x', get mode() { throw new Error('mine'); } }), ofGetter);
  }
});

test('two packs as one', () => {
  const head = { ok: true, contract: 'native-semantic-overlay-lookup-v1', section: 'scene', term: 'a', mode: 'exact', overlayFirst: true };
  const match = (source, field) => ({ section: 'scene', term: 'a', source, fields: [field] });
  assertSame(addon.lookupBinaryIndexOverlay(paired),
    { ...head, overlayRuleSetId: 'rules-2', baseRuleSetId: 'rules-1', matches: [match('overlay', 'y'), match('base', 'x')] });
  assertSame(addon.lookupBinaryIndexOverlay({ ...paired, basePackPath: patch.packPath }),
    { ...head, overlayRuleSetId: 'rules-2', baseRuleSetId: 'rules-2', matches: [match('overlay', 'y')] }, 'one file for both');
  // Rows come in their own order, whatever their rank or length, and each once. Where a field ends counts, and if there is one.
  const ofBase = [['ab', '1'], ['a', '1', '', '', 'short'], ['a', 'ab'], ['a', ''], ['b', '1'], ['ab', '1']];
  const ofPatch = [['a', '2'], ['ab', '2', '', '', 'short'], ['a', 'a', 'b'], ['a'], ['b', '1'], ['a', '2'], ['x']];
  const basePackPath = writePack({ sections: { human: ofBase, facet: [['a', 'other section']] } }).packPath;
  const overlayPackPath = writePack({ sections: { human: ofPatch }, metadata: { kind: 'patch' } }).packPath;
  const asked = { ...paired, basePackPath, overlayPackPath, term: 'ab', mode: 'contains', section: 'human' };
  assert.deepEqual(addon.lookupBinaryIndexOverlay(asked).matches.map(({ source, term, fields }) => [source, term, ...fields]), [
    ...ofPatch.slice(0, 5).map((row) => ['overlay', ...row]), ...ofBase.slice(0, 4).map((row) => ['base', ...row])]);
});

test('packs that are refused, and what stays in the slots', () => {
  const call = (basePackPath, overlayPackPath) =>
    thrownBy(() => addon.lookupBinaryIndexOverlay({ ...paired, basePackPath, overlayPackPath }));
  const [missing, stat] = [`${root}/missing.klrx`, 'Error: semantic rule-pack file stat is invalid'];
  assert.deepEqual([call(missing, root), call(base.packPath, missing)], [stat, stat], 'the base is loaded first');
  const bad = writeFile(packBytes({ stored: 'x' }));
  assert.equal(call(base.packPath, bad), 'Error: semantic rule-pack payload digest is invalid');
  const [newBase, noPatch] = [writeStamped({ sections: { scene: [['a']] } }), writeStamped({})];
  for (const change of [spoil, () => {}]) {
    assert.equal(call(newBase, noPatch), 'Error: semantic overlay pack must be a patch', 'each pack is served from its own slot');
    [newBase, noPatch].forEach(change);
  }
  assert.equal(addon.lookupBinaryIndex({ ...single, packPath: newBase }).matches.length, 1, 'the base slot has changed');
  assert.equal(thrownBy(() => addon.inspectRulePack({ ...single, packPath: noPatch })), 'Error: semantic rule-pack magic is invalid');
});
