// The rows that the options "sceneOverlay", "locationOverlay" and "celebrityOverlay" add, seen through the batches: what
// is of a wrong type or throws is absent, and nothing else is lost.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { sceneRow, writePack } from './support/packs.mjs';

// Only the second is the scene's first master row: the first is too short by a field.
const pack = writePack({ sections: { scene: [sceneRow('宠物', 'pet', 'category', { priority: '5' }).slice(0, -1),
  sceneRow('猫', 'pet', 'category', { priority: '7' }), sceneRow('宠', 'pet', 'category', { priority: '8' })] } });
const zh = (raw) => ({ raw });
const en = (normalizedEnglish) => ({ raw: '-', normalizedEnglish });
const scenes = (sceneOverlay, cases) => addon.resolveSceneIntentBatch({ ...pack, sceneOverlay, cases }).results;
const places = (locationOverlay, cases) => addon.resolveSceneIntentBatch({ ...pack, locationOverlay, cases }).results;
const people = (celebrityOverlay, cases) => addon.resolveCelebrityBadgeBatch({ ...pack, celebrityOverlay, cases }).results;

/** One overlay of each kind in which every place shows in the answers; `number` names what takes numbers. */
const overlays = {
  scene: {
    number: 'priority',
    answers: (overlay) => scenes(overlay, [...['甲', '乙', 'KEY WORD', '丙', '丁', '戊', '己'].map(zh),
      ...['tokyo tower', 'night view', 'short one', 'com pound', 'con flict'].map(en)]).map(({ intentHit }) => intentHit),
    value: () => ({
      categories: [{ key: 'k1', label: 'L1', archiveLabel: 'A1', archiveCode: 'C1', icon: 'I1', defaultDetail: 'D1', priority: 3,
        zh: ['甲'], aliases: ['乙'], keywords: ['Key Word'], en: [' Tokyo Tower '], details: [{ label: 'dl', zh: ['丙'], en: ['Night View'] }] }],
      shortTitleOverrides: [{ sceneKey: 'k1', detailLabel: 'sd', zh: ['丁'], en: ['Short One'] }],
      compoundOverrides: [{ sceneKey: 'k1', detailLabel: 'cd', zh: ['戊'], en: ['Com Pound'] }],
      conflictOverrides: [{ sceneKey: 'k1', detailLabel: 'fd', zh: ['己'], en: ['Con Flict'] }],
    }),
  },
  location: {
    number: '4',
    answers: (overlay) => places(overlay, [zh('游老城OldTown'), zh('新城'), en('the old town')])
      .map(({ locationCodes, locationMeta }) => [locationCodes, locationMeta]),
    value: () => ({ aliasesZh: { 'Old Town': [['X1', , , , 3.5, '老城']], 新城: [['X3']] }, aliasesEn: { 'Old Town': [['X2', , , , 1.5, 'old']] } }),
  },
  celebrity: {
    number: 'priority',
    answers: (overlay) => people(overlay, [...['甲星', '乙星', '乙星丙星'].map(zh), en('Star B')]).map(({ celebrityHits }) => celebrityHits),
    value: () => [{ id: 'a', name: '甲星', kind: 'actor', region: 'JP', photoKey: 'z', aliases: { zh: ['丙星'] } },
      { id: 'a', name: '甲星', kind: 'actor', region: 'JP', photoKey: 'p', priority: '2', tags: ['t1', 't2'], aliases: { zh: ['乙星'], en: ['Star B'] } }],
  },
};

test('the rows of an overlay', () => {
  const { scene, location, celebrity } = overlays;
  const entry = { key: 'k1', defaultDetail: 'D1', priority: '3.000000', label: 'L1', archiveLabel: 'A1', archiveCode: 'C1', icon: 'I1' };
  const hits = [['甲', 'zh', 'D1', 100, 14.2], ['乙', 'zh', 'D1', 100, 14.2], ['keyword', 'zh', 'D1', 100, 21.4],
    ['丙', 'zh', 'dl', 200, 14.2], ['丁', 'zh', 'sd', 500, 11.2], ['戊', 'zh', 'cd', 300, 11.2], ['己', 'zh', 'fd', 400, 11.2],
    ['tokyotower', 'en', 'D1', 100, 22], ['nightview', 'en', 'dl', 200, 21.1], ['shortone', 'en', 'sd', 500, 17.2],
    ['compound', 'en', 'cd', 300, 17.2], ['conflict', 'en', 'fd', 400, 17.2]];
  assert.deepEqual(scene.answers(scene.value()).map((hit) => ({ ...hit, score: Math.round(hit.score * 1e9) / 1e9 })),
    hits.map(([alias, type, detail, rank, score]) => ({ alias, type, sceneKey: 'k1', detail, rank, score, entry })));
  const place = (code, label, index, len, weight, name = label) => [[code], {
    countryCode: code, countryCodes: [code], countryLabel: code, locationLabel: name, shortLabel: `${code} · ${name}`,
    fullLabel: `${code} · ${name}`, primaryHit: { alias: label, code, index, label, len, source: 'location-overlay', weight },
  }];
  assert.deepEqual(location.answers(location.value()),
    [place('X1', '老城', 3, 2, 3.5), place('X3', '新城', 0, 2, 0), place('X2', 'old', 3, 3, 1.5, 'Old')]);
  const [name, actor] = ['甲星', { region: 'JP', kind: 'actor' }];
  const star = (alias, photoKey, tags, type = 'zh') =>
    [{ id: 'a', name, ...actor, photoKey, alias, type, sourceKind: 'alias', index: 0, len: Buffer.byteLength(alias), tags }];
  assert.deepEqual(celebrity.answers(celebrity.value()),
    [star(name, 'z', []), star('乙星', 'p', ['t1', 't2']), star('丙星', 'z', []), star('starb', 'p', ['t1', 't2'], 'en')]);
});

test('what is of a wrong type or throws is absent, at every place', () => {
  const thrower = () => { throw new Error('from inside an overlay'); };
  const traps = (target) => new Proxy(target, { get: thrower, has: thrower, ownKeys: thrower, getPrototypeOf: thrower });
  const revoked = (target) => { const { proxy, revoke } = Proxy.revocable(target, {}); revoke(); return proxy; };
  const hostile = [{}, [], () => {}].flatMap((target) => [target, traps(target), revoked(target)]);
  const wrong = [null, true, Symbol('x'), 1n, ...hostile];
  const pathsOf = (value, path = []) => typeof value !== 'object' ? []
    : Object.keys(value).flatMap((name) => [[...path, name], ...pathsOf(value[name], [...path, name])]);
  for (const [kind, { answers, value, number }] of Object.entries(overlays)) {
    const [all, nothing] = [answers(value()), answers(undefined)];
    for (const given of [...wrong, 7, 'x']) assert.deepEqual(answers(given), nothing, `${kind} ${typeof given}`);
    for (const path of pathsOf(value())) {
      const at = `${kind} ${path.join('.')}`;
      const changed = (property) => {
        const whole = value();
        const owner = path.slice(0, -1).reduce((object, name) => object[name], whole);
        Object.defineProperty(owner, path.at(-1), { enumerable: true, ...property });
        return answers(whole);
      };
      const absent = changed({ value: undefined });
      assert.notDeepEqual(absent, all, `${at} shows`);
      assert.deepEqual(changed({ get: thrower }), absent, `${at} throws`);
      for (const given of path.at(-1) === number ? wrong : [...wrong, 7]) assert.deepEqual(changed({ value: given }), absent, `${at} ${typeof given}`);
    }
    // Functions count as objects, and all is read through prototypes and proxies.
    const deep = (inner, wrap) => typeof inner !== 'object' ? inner : Array.isArray(inner) ? inner.map((element) => deep(element, wrap))
      : wrap(Object.fromEntries(Object.entries(inner).map(([name, part]) => [name, deep(part, wrap)])));
    const asFunction = (object) => Object.defineProperties(() => {}, Object.getOwnPropertyDescriptors(object));
    for (const wrap of [asFunction, Object.create, (object) => new Proxy(object, {})]) assert.deepEqual(answers(deep(value(), (o) => wrap(o))), all);
  }
});

test('numbers as text', () => {
  const priorities = [[3, '3.000000'], ['3.5x', '3.5x'], ['', ''], [true, ''], [-0, '-0.000000'], [1e21, `1${'0'.repeat(21)}.000000`],
    [Number.MAX_VALUE, `${BigInt(Number.MAX_VALUE)}.000000`], [Number.MIN_VALUE, '0.000000'], [NaN, 'nan'], [-Infinity, '-inf'],
    [2 ** -7, '0.007812'], [3 * 2 ** -7, '0.023438'], [1.0000005, '1.000001']]; // ties go to the even digit
  for (const [priority, text] of priorities) {
    assert.equal(scenes({ categories: [{ key: 'k', priority, zh: ['甲'] }] }, [zh('甲')])[0].intentHit.entry.priority, text);
  }
  for (const [given, weight] of [[1.23456789, 1.234568], ['2', 0], [1e300, 1e300], [1e-9, 0], [-2.5, -2.5]]) {
    assert.equal(places({ aliasesZh: { 老城: [['X', 0, 0, 0, given]] } }, [zh('老城')])[0].locationMeta.primaryHit.weight, weight);
  }
});

test('where an override finds the data of its scene', () => {
  const override = (sceneKey, ...categories) => ({ shortTitleOverrides: [{ sceneKey, detailLabel: 'd', zh: ['改'] }], categories });
  const mine = (key, label, ...aliases) => ({ key, label, priority: '9', defaultDetail: 'own', zh: aliases });
  const table = [
    [override('pet', mine('pet', 'mine', '我')), ['pet', 'pet label', '7', 'pet default']],
    // A category without an alias has no row, so there is nothing to find; the override stays.
    [override('new', mine('new', 'no alias', ' \t'), mine('new', 'first', '我'), mine('new', 'second', '你')), ['new', 'first', '9', 'own']],
    [override('new', mine('new', 'no alias')), ['new', '', '', '']],
    [override('new', { key: 'new', label: 'x', details: [{ zh: ['你'] }] }), ['new', '', '', '']],
    [override(''), null],
  ];
  for (const [overlay, expected] of table) {
    const [{ intentHit: hit }] = scenes(overlay, [zh('改')]);
    assert.deepEqual(hit && [hit.sceneKey, hit.entry.label, hit.entry.priority, hit.entry.defaultDetail], expected, JSON.stringify(overlay));
  }
});

test('property names come in for-in order and are folded; labels', () => {
  const entry = (code) => [[code, 0, 0, 0, 1, '城']];
  const b = entry('B');
  const table = [
    [{ b, 10: entry('TEN'), 2: entry('TWO') }, ['TWO', 'TEN', 'B']],
    [Object.assign(Object.create({ a: entry('A'), b: entry('hidden') }), { b }), ['B', 'A']],
    [Object.defineProperty({ b, [Symbol('a')]: entry('S') }, 'a', { value: entry('A') }), ['B']],
    // The value is read by the whole name: a NUL neither ends it nor stays in the term.
    [{ a: entry('A'), 'a\0b': entry('NUL') }, ['A', 'NUL']],
    [{ ' \t': entry('BLANK'), '': entry('EMPTY') }, []],
    [{ b: [[''], [], 'B', [7], {}, ...b] }, ['B']],
  ];
  for (const [aliasesZh, codes] of table) assert.deepEqual(places({ aliasesZh }, [zh('2 10 ab a 城')])[0].locationCodes, codes);
  // Without a label it is the folded alias. An empty label stays empty, and a place without a label is found by nothing.
  const labels = [[['X', 0, 0, 0, 1, '城'], '城'], [['X'], 'old城'], [['X', 0, 0, 0, 1, 5], 'old城'], [['X', 0, 0, 0, 1, undefined, '城'], 'old城'],
    [['X', 0, 0, 0, 1, ''], undefined]];
  for (const [given, label] of labels) {
    assert.equal(places({ aliasesZh: { 'Old 城': [given] } }, [zh('old城')])[0].locationMeta?.primaryHit?.label, label);
  }
});

test('a person row by row', () => {
  const base = { id: 'a', name: '甲星' };
  const table = [
    // Person, title, [alias, name, tags] or null.
    [{ ...base, aliases: ['乙星'] }, '甲星', ['甲星', '甲星', []]],
    [{ ...base, aliases: ['乙星'] }, '乙星', null],
    [{ ...base, aliases: { any: ['乙星'], nick: '丙星' } }, '乙星丙星星星', ['乙星', '甲星', []]],
    [{ ...base, aliases: { any: [7, ['x'], '\t ', null, 'Z Z'] } }, 'zz', ['zz', '甲星', []]],
    // A name of blanks is a name, but no alias.
    [{ id: 'a', name: ' ', aliases: { x: ['乙星'] } }, '乙星', ['乙星', ' ', []]],
    [{ id: 'a', name: '', aliases: { x: ['乙星'] } }, '乙星', null],
    [{ id: '', name: '甲星' }, '甲星', null],
    [{ ...base, tags: ['x', 7, '', 'y\x1Ez', null, '甲'] }, '甲星', ['甲星', '甲星', ['x', 'y', 'z', '甲']]],
  ];
  for (const [person, raw, expected] of table) {
    const [{ primaryCelebrity: star }] = people([person], [zh(raw)]);
    assert.deepEqual(star && [star.alias, star.name, star.tags], expected, JSON.stringify(person));
  }
  // An array that its own getters change is read as it stands at each element.
  const list = [{ get id() { list.push({ id: 'b', name: '乙星' }); return 'a'; }, name: '甲星' }];
  assert.deepEqual(people(list, [zh('甲星乙星')])[0].celebrityHits.map(({ id }) => id), ['a', 'b']);
  const entry = ['X', 0, 0, 0, 1, '城'];
  Object.defineProperty(entry, 0, { get() { entry.length = 5; return 'X'; } });
  assert.equal(places({ aliasesZh: { 老城: [entry] } }, [zh('老城')])[0].locationMeta.primaryHit.label, '老城');
});
