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
  const row = sceneRow('城市散步', 'citywalk', 'category', { detail: '散步', priority: '3.5' });
  const [term, ...fields] = row;
  assertSame(lookup([row], term), {
    ok: true, section: 'scene', term, mode: 'exact',
    matches: [{ section: 'scene', term, fields, candidateRank: 100, candidateType: 'category',
      candidateScore: 10 + (4 * 1.2 + 3.5), detailScore: 0 }],
    scoreContract: 'native-candidate-v1',
    sceneCandidates: [{ sceneKey: 'citywalk', detailLabel: '散步', bestRank: 100, candidateCount: 1, bestDetailScore: 0,
      candidateTypes: ['category'] }],
  });
  assertSame(lookup([row], '城市'), { ok: true, section: 'scene', term: '城市', mode: 'exact', matches: [],
    scoreContract: 'native-candidate-v1', sceneCandidates: [] });
});

test('scores of a row', () => {
  const long = '字'.repeat(20);
  // Row; text asked about (its own term if left out); candidateRank, candidateType, candidateScore, detailScore.
  const rows = [
    [['a'], undefined, 0, '', 10 + 1.2, 0],
    [['a', 'k', 'd', '2'], undefined, 0, '', 10 + (1.2 + 2), 0],
    [['food', 'k', 'd', '1.0', 'short', 'en'], undefined, 500, 'short', 10 + (3.6 + 1) - 10, 0],
    [['food', 'k', 'd', '1.0', 'short', 'EN'], undefined, 500, 'short', 10 + (3.6 + 1), 0],
    [['food', 'k', 'd', '1.0', 'short'], undefined, 500, 'short', 10 + (4.8 + 1), 0],
    [['life', 'k', 'd', '-9', 'conflict', 'en'], undefined, 400, 'conflict', 10 + (3.6 - 9) - 26, 0],
    [['shopping', 'k', 'd', '0', 'compound', 'en'], undefined, 300, 'compound', 10 + 7.2 - 8, 0],
    [['shoppings', 'k', 'd', '0', 'compound', 'en'], undefined, 300, 'compound', 10 + 8.1, 0],
    [['??', 'k', 'd', '0', 'category', 'zh'], undefined, 100, 'category', 10 + 2.4 - 26, 0],
    [['??', 'k', 'd', '0', 'category', 'fr'], undefined, 100, 'category', 10 + 1.8 - 26, 0],
    [['??', 'k', 'd', '0', 'category', 'en'], undefined, 100, 'category', 10 + 1.8, 0],
    [['生活', 'k', 'd', '0', 'category', 'zh'], undefined, 100, 'category', 10 + 2.4, 0],
    [['a', 'k', 'd', '3.5x', 'other', 'zh'], undefined, 0, 'other', 10 + 1.2, 0],
    [['a', 'k', 'd', '', 'category', 'zh'], undefined, 100, 'category', 10 + 1.2, 0],
    [[long, 'k', 'd', '1', 'detail', 'zh'], undefined, 200, 'detail', 10 + (12 + 1), 8 + 10 + 6],
    [['夜市', 'k', 'd', '1', 'detail', 'zh'], '我去夜市', 200, 'detail', 8 + (2.4 + 1), 6 + 1.8 + 6],
    [['夜市', 'k', 'd', '1', 'detail'], '我去夜市', 200, 'detail', 8 + (2.4 + 1), 6 + 1.8 + 6],
    [['night', 'k', 'd', '1', 'detail', 'en'], 'night', 200, 'detail', 10 + (4.5 + 1), 8 + 3.5 + 6],
    [['night', 'k', 'd', '1', 'detail', 'en'], '一二三四五六七八九night', 200, 'detail', 1 + (4.5 + 1), 0 + 3.5 + 6],
    [['night', 'k', 'd', '1', 'detail', 'en'], '一二三四五六七八九十十二night', 200, 'detail', 0 + (4.5 + 1), 0 + 3.5 + 6],
  ];
  for (const [row, term = row[0], candidateRank, candidateType, candidateScore, detailScore] of rows) {
    for (const section of ['scene', 'human', 'celebrity', 'location', 'facet']) {
      const result = lookup([row], term, { section, mode: 'contains' });
      assertSame(result.matches, [{ section, term: row[0], fields: row.slice(1), candidateRank, candidateType, candidateScore,
        detailScore }], row.join());
      if (section !== 'scene') assert.deepEqual(result.sceneCandidates, []);
    }
  }
});

test('every generic English word and its penalty', () => {
  const penalties = { life: 26, record: 24, daily: 22, event: 18, show: 18, social: 16, city: 14, travel: 12, trip: 12, sport: 12,
    mood: 12, pet: 10, food: 10, walk: 8, chat: 8, talk: 8, meal: 8, shopping: 8, lif: 0, lifes: 0, Life: 0 };
  const rows = Object.keys(penalties).map((term) => [term, 'k', 'd', '0', 'category', 'en']);
  const { packPath, allowedRoot } = writePack({ sections: { scene: rows } });
  for (const [term, penalty] of Object.entries(penalties)) {
    const { matches } = addon.lookupBinaryIndex({ packPath, allowedRoot, section: 'scene', term });
    assert.deepEqual(matches.map((match) => match.candidateScore), [10 + Math.min(term.length * 0.9, 12) - penalty], term);
  }
});

test('which rows match', () => {
  const rows = [['城市'], ['散步'], ['城市散步'], ['城市散步记录'], ['paris']];
  const terms = (term, mode) => lookup(rows, term, { mode }).matches.map((match) => match.term);
  assert.deepEqual(terms('城市散步', 'exact'), ['城市散步']);
  assert.deepEqual(terms('城市散步', 'contains').sort(), ['城市', '城市散步', '散步'].sort());
  assert.deepEqual(terms('Paris', 'exact'), []);
  assert.deepEqual(terms('in paris', 'contains'), ['paris']);
  assert.equal(lookup(rows, 'paris').mode, 'exact');
});

test('a location query also takes the sections whose names begin with "location-"', () => {
  const shard = buildLocationShard([{ alias: '巴黎', records: [{ code: 'FR-75', englishFlag: 0, weight: 1, label: '巴黎', countryLabel: '法国' }] }]);
  const documents = [
    indexDocument({ location: [['巴黎', 'FR-PAR', 'location', '1', '巴黎', 'zh', '法国']], scene: [['巴黎', 'trip', '']] }),
    { type: 'location-shard', encoding: 2, name: 'location-eu', data: shard },
  ];
  const { matches } = addon.lookupBinaryIndex({ ...writePack({ documents }), section: 'location', term: '巴黎' });
  assert.deepEqual(matches.map(({ section, fields }) => [section, fields[0]]).sort(), [['location', 'FR-PAR'], ['location-eu', 'FR-75']]);
});

test('order: rank, then bytes of the term, then the first field as unsigned bytes', () => {
  const rows = [
    ['ab', 'é', '', '', 'category'], ['ab', 'z', '', '', 'category'], ['ab'], ['ab', 'zz', '', '', 'category'], ['abcd', 'a', '', '', 'category'],
    ['a', 'a', '', '', 'short'], ['字', 'a', '', '', 'category'], ['ab', 'a', '', '', 'conflict'], ['abcd', 'a', '', '', 'unknown'],
  ];
  const { matches } = lookup(rows, 'abcd字', { mode: 'contains' });
  assert.deepEqual(matches.map(({ term, fields }) => [term, fields[0], fields[3]]), [
    ['a', 'a', 'short'], ['ab', 'a', 'conflict'], ['abcd', 'a', 'category'], ['字', 'a', 'category'], ['ab', 'z', 'category'],
    ['ab', 'zz', 'category'], ['ab', 'é', 'category'], ['abcd', 'a', 'unknown'], ['ab', undefined, undefined],
  ]);
});

test('scene candidates: one a scene, best first', () => {
  const rows = [
    ['夜市', 'food', 'short detail', '1', 'detail', 'zh'], ['夜市小吃', 'food', 'long detail', '1', 'detail', 'zh'],
    ['吃', 'food', 'the category', '1', 'category', 'zh'], ['夜市小吃', 'walk', 'w', '1', 'category', 'zh'], ['夜', 'night', 'n', '1', 'category', 'zh'],
    ['市', 'city', 'c', '1', 'category', 'zh'], ['夜市', 'odd', 'two fields'], ['夜市', 'dropped'], ['夜市'],
  ];
  const { matches, sceneCandidates } = lookup(rows, '夜市小吃', { mode: 'contains' });
  assert.equal(matches.length, rows.length);
  assertSame(sceneCandidates, [
    { sceneKey: 'food', detailLabel: 'long detail', bestRank: 200, candidateCount: 3, bestDetailScore: 8 + 3.6 + 6, candidateTypes: ['detail', 'category'] },
    { sceneKey: 'walk', detailLabel: 'w', bestRank: 100, candidateCount: 1, bestDetailScore: 0, candidateTypes: ['category'] },
    { sceneKey: 'city', detailLabel: 'c', bestRank: 100, candidateCount: 1, bestDetailScore: 0, candidateTypes: ['category'] },
    { sceneKey: 'night', detailLabel: 'n', bestRank: 100, candidateCount: 1, bestDetailScore: 0, candidateTypes: ['category'] },
    { sceneKey: 'odd', detailLabel: 'two fields', bestRank: 0, candidateCount: 1, bestDetailScore: 0, candidateTypes: [] },
  ]);
});

const base = writePack({ sections: { scene: [['a', 'x']] } });
const patch = writePack({ sections: { scene: [['a', 'y']] }, metadata: { kind: 'patch', ruleSetId: 'rules-2' } });
const single = { ...base, section: 'scene', term: 'a' };
const paired = { basePackPath: base.packPath, overlayPackPath: patch.packPath, allowedRoot: root, section: 'scene', term: 'a' };

test('options are checked in order, before any pack is touched', () => {
  assertRequiredOptions('lookupBinaryIndex', ['packPath', 'allowedRoot', 'section', 'term'], single);
  assertRequiredOptions('lookupBinaryIndexOverlay', ['basePackPath', 'overlayPackPath', 'allowedRoot', 'section', 'term'], paired);
  const modeMessage = (name) => `${name} mode must be exact or contains`;
  const section = (name) => `RangeError: ${name} section is unsupported`;
  for (const [name, good] of Object.entries({ lookupBinaryIndex: single, lookupBinaryIndexOverlay: paired })) {
    const call = (options) => thrownBy(() => addon[name]({ ...good, packPath: 'nowhere', basePackPath: 'nowhere', ...options }));
    for (const word of ['scenes', 'Scene', 'location-cn', 'celebrity-overlay', ' scene']) assert.equal(call({ section: word }), section(name));
    for (const mode of [undefined, null, 1, []]) assert.equal(call({ mode }), `TypeError: ${modeMessage(name)}`);
    for (const mode of ['Exact', '', 'contain', 'exact ']) assert.equal(call({ mode }), `RangeError: ${modeMessage(name)}`);
    assert.equal(call({ section: 'x', mode: 'x' }), section(name), 'the section comes before the value of the mode');
    assert.equal(call({ mode: 'exact' }), 'Error: semantic rule-pack path is outside the approved root');
    const throwing = { section: 'scene', get mode() { throw new Error('mine'); } };
    assert.equal(thrownBy(() => addon[name](Object.defineProperties({ ...good }, Object.getOwnPropertyDescriptors(throwing)))), 'Error: mine');
  }
  assert.equal(thrownBy(() => addon.lookupBinaryIndex({ ...single, section: 'x', mode: 1 })), section('lookupBinaryIndex'));
  assert.equal(thrownBy(() => addon.lookupBinaryIndex({ ...single, section: 'x', get mode() { throw new Error('mine'); } })), section('lookupBinaryIndex'));
  assert.equal(thrownBy(() => addon.lookupBinaryIndexOverlay({ ...paired, section: 'x', mode: 1 })), `TypeError: ${modeMessage('lookupBinaryIndexOverlay')}`);
});

test('an overlay result, property by property', () => {
  assertSame(addon.lookupBinaryIndexOverlay(paired), {
    ok: true, contract: 'native-semantic-overlay-lookup-v1', section: 'scene', term: 'a', mode: 'exact', overlayFirst: true,
    overlayRuleSetId: 'rules-2', baseRuleSetId: 'rules-1',
    matches: [{ section: 'scene', term: 'a', source: 'overlay', fields: ['y'] }, { section: 'scene', term: 'a', source: 'base', fields: ['x'] }],
  });
});

test('the merge of two packs', () => {
  // Rows of the base, rows of the patch, matches as "source term field field".
  const rows = [
    ['the same row in both is the patch\'s', [['a', '1']], [['a', '1']], ['overlay a 1']],
    ['no fields at all', [['a']], [['a']], ['overlay a']],
    ['other fields', [['a', '1']], [['a', '2']], ['overlay a 2', 'base a 1']],
    ['where a field ends counts', [['a', 'ab']], [['a', 'a', 'b']], ['overlay a a b', 'base a ab']],
    ['no field and an empty one', [['a', '']], [['a']], ['overlay a', 'base a ']],
    ['repeated inside a pack', [['a', '1'], ['a', '2'], ['a', '1']], [['b', '1'], ['b', '1']], ['overlay b 1', 'base a 1', 'base a 2']],
    ['row order, whatever the rank or length', [['ab', '1'], ['a', '1', '', '', 'short']], [['a', '2'], ['ab', '2', '', '', 'short']],
      ['overlay a 2', 'overlay ab 2   short', 'base ab 1', 'base a 1   short']],
    ['no hit', [['x']], [['y']], []],
  ];
  for (const [name, baseRows, patchRows, expected] of rows) {
    const options = {
      ...paired, term: 'ab', mode: 'contains',
      basePackPath: writePack({ sections: { human: baseRows, facet: [['a', 'other section']] } }).packPath,
      overlayPackPath: writePack({ sections: { human: patchRows }, metadata: { kind: 'patch' } }).packPath,
      section: 'human',
    };
    const { matches } = addon.lookupBinaryIndexOverlay(options);
    assert.deepEqual(matches.map(({ source, term, fields }) => [source, term, ...fields].join(' ')), expected, name);
  }
  const { matches, baseRuleSetId } = addon.lookupBinaryIndexOverlay({ ...paired, basePackPath: patch.packPath });
  assert.deepEqual(matches.map(({ source, fields }) => [source, ...fields]), [['overlay', 'y']], 'one file for both');
  assert.equal(baseRuleSetId, 'rules-2');
});

test('packs that are refused, and what stays in the slots', () => {
  const call = (changed) => thrownBy(() => addon.lookupBinaryIndexOverlay({ ...paired, ...changed }));
  const missing = `${root}/missing.klrx`;
  const stat = 'Error: semantic rule-pack file stat is invalid';
  assert.equal(call({ basePackPath: missing, overlayPackPath: root }), stat, 'the base is loaded first');
  assert.equal(call({ overlayPackPath: missing }), stat);
  assert.equal(call({ overlayPackPath: writeFile(packBytes({ stored: 'x' })) }), 'Error: semantic rule-pack payload digest is invalid');

  const refused = 'Error: semantic overlay pack must be a patch';
  const [newBase, noPatch] = [writeStamped({ sections: { scene: [['a']] } }), writeStamped({})];
  assert.equal(call({ basePackPath: newBase, overlayPackPath: noPatch }), refused);
  spoil(newBase);
  spoil(noPatch);
  assert.equal(call({ basePackPath: newBase, overlayPackPath: noPatch }), refused, 'each pack is served from its own slot');
  assert.equal(addon.lookupBinaryIndex({ ...single, packPath: newBase }).matches.length, 1, 'the base slot has changed');
  assert.equal(thrownBy(() => addon.inspectRulePack({ packPath: noPatch, allowedRoot: root })), 'Error: semantic rule-pack magic is invalid');
});
