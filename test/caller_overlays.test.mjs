// The rows that the options "sceneOverlay", "locationOverlay" and "celebrityOverlay" add, seen through the batches:
// what is of a wrong type or throws is absent, and nothing else is lost.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { sceneRows, writePack } from './support/packs.mjs';

// Only the second is the scene's first master row: the first is too short by a field.
const [first, ...others] = sceneRows('宠物 pet category - 5, 猫 pet category - 7, 宠 pet category - 8');
const pack = writePack({ sections: { scene: [first.slice(0, -1), ...others] } });
/** Cases from titles: raw, or [English reading]. */
const casesOf = (titles) => titles.map((title) =>
  (typeof title === 'string' ? { raw: title } : { raw: '-', normalizedEnglish: title[0] }));
const ask = (name, option) => (overlay, titles) =>
  addon[name]({ ...pack, [option]: overlay, cases: casesOf(titles) }).results;
const scenes = ask('resolveSceneIntentBatch', 'sceneOverlay');
const places = ask('resolveSceneIntentBatch', 'locationOverlay');
const people = ask('resolveCelebrityBadgeBatch', 'celebrityOverlay');

const flat = ({ entry, score, ...hit }) =>
  [...Object.values(hit), ...(entry ? [score.toFixed(6) / 1, ...Object.values(entry)] : [])].join(' ');
/** An overlay of each kind, in which every place shows in the answers; `number` names what takes numbers. */
const overlays = {
  scene: {
    number: 'priority',
    answers: (overlay) => scenes(overlay, ['甲', '乙', 'KEY WORD', '丙', '丁', '戊', '己', ['tokyo tower'],
      ['night view'], ['short one'], ['com pound'], ['con flict']]).map(({ intentHit }) => flat(intentHit ?? {})),
    value: () => ({
      categories: [{ key: 'k1', label: 'L1', archiveLabel: 'A1', archiveCode: 'C1', icon: 'I1', defaultDetail: 'D1',
        priority: 3, zh: ['甲'], aliases: ['乙'], keywords: ['Key Word'], en: [' Tokyo Tower '],
        details: [{ label: 'dl', zh: ['丙'], en: ['Night View'] }] }],
      shortTitleOverrides: [{ sceneKey: 'k1', detailLabel: 'sd', zh: ['丁'], en: ['Short One'] }],
      compoundOverrides: [{ sceneKey: 'k1', detailLabel: 'cd', zh: ['戊'], en: ['Com Pound'] }],
      conflictOverrides: [{ sceneKey: 'k1', detailLabel: 'fd', zh: ['己'], en: ['Con Flict'] }],
    }),
    all: ['甲 zh k1 D1 100 14.2', '乙 zh k1 D1 100 14.2', 'keyword zh k1 D1 100 21.4', '丙 zh k1 dl 200 14.2',
      '丁 zh k1 sd 500 11.2', '戊 zh k1 cd 300 11.2', '己 zh k1 fd 400 11.2', 'tokyotower en k1 D1 100 22',
      'nightview en k1 dl 200 21.1', 'shortone en k1 sd 500 17.2', 'compound en k1 cd 300 17.2',
      'conflict en k1 fd 400 17.2'].map((hit) => `${hit} k1 D1 3.000000 L1 A1 C1 I1`),
  },
  location: {
    number: '4',
    answers: (overlay) => places(overlay, ['游老城OldTown', '新城', ['the old town']]).map(({ locationMeta }) => {
      const { countryCodes, countryLabel, locationLabel, primaryHit } = locationMeta ?? {};
      return `${countryCodes} ${countryLabel} ${locationLabel} ${flat(primaryHit ?? {})}`;
    }),
    value: () => ({ aliasesZh: { 'Old Town': [['X1', , , , 3.5, '老城']], 新城: [['X3']] },
      aliasesEn: { 'Old Town': [['X2', , , , 1.5, 'old']] } }),
    all: ['X1 X1 老城 老城 X1 3 老城 2 location-overlay 3.5', 'X3 X3 新城 新城 X3 0 新城 2 location-overlay 0',
      'X2 X2 Old old X2 3 old 3 location-overlay 1.5'],
  },
  celebrity: {
    number: 'priority',
    answers: (overlay) => people(overlay, ['甲星', '乙星', '乙星丙星', ['Star B']])
      .map(({ celebrityHits }) => celebrityHits.map(flat).join()),
    value: () => [{ id: 'a', name: '甲星', kind: 'actor', region: 'JP', photoKey: 'z', aliases: { zh: ['丙星'] } },
      { id: 'a', name: '甲星', kind: 'actor', region: 'JP', photoKey: 'p', priority: '2', tags: ['t1', 't2'],
        aliases: { zh: ['乙星'], en: ['Star B'] } }],
    all: ['z 甲星 zh alias 0 6 ', 'p 乙星 zh alias 0 6 t1,t2', 'z 丙星 zh alias 0 6 ', 'p starb en alias 0 5 t1,t2']
      .map((hit) => `a 甲星 JP actor ${hit}`),
  },
};

test('the rows of an overlay; what is of a wrong type or throws is absent, at every place', () => {
  const get = () => { throw new Error('from inside an overlay'); };
  const traps = (target) => new Proxy(target, { get, has: get, ownKeys: get, getPrototypeOf: get });
  const revoked = (target) => { const { proxy, revoke } = Proxy.revocable(target, {}); revoke(); return proxy; };
  const wrong = [null, true, Symbol('x'), 1n,
    ...[{}, [], () => {}].flatMap((target) => [target, traps(target), revoked(target)])];
  const pathsOf = (value, path = []) => typeof value !== 'object' ? []
    : Object.keys(value).flatMap((name) => [[...path, name], ...pathsOf(value[name], [...path, name])]);
  // Functions count as objects, and all is read through prototypes and proxies.
  const asFunction = (object) => Object.defineProperties(() => {}, Object.getOwnPropertyDescriptors(object));
  const wraps = [(object) => object, asFunction, (object) => Object.create(object), (object) => new Proxy(object, {})];
  const deep = (value, wrap) => {
    if (typeof value !== 'object') return value;
    if (Array.isArray(value)) return value.map((element) => deep(element, wrap));
    return wrap(Object.fromEntries(Object.entries(value).map(([name, inner]) => [name, deep(inner, wrap)])));
  };
  for (const [kind, { answers, value, number, all }] of Object.entries(overlays)) {
    for (const wrap of wraps) assert.deepEqual(answers(deep(value(), wrap)), all);
    for (const given of [...wrong, 7, 'x']) assert.deepEqual(answers(given), answers(undefined), typeof given);
    for (const path of pathsOf(value())) {
      const changed = (property) => {
        const whole = value();
        const owner = path.slice(0, -1).reduce((object, name) => object[name], whole);
        Object.defineProperty(owner, path.at(-1), { enumerable: true, ...property });
        return answers(whole);
      };
      const absent = changed({ value: undefined });
      assert.notDeepEqual(absent, all, `${kind} ${path} shows`);
      assert.deepEqual(changed({ get }), absent, `${kind} ${path} throws`);
      for (const given of path.at(-1) === number ? wrong : [...wrong, 7]) {
        assert.deepEqual(changed({ value: given }), absent, `${kind} ${path} ${typeof given}`);
      }
    }
  }
});

test('numbers as text', () => {
  for (const [priority, text] of [[3.5, '3.500000'], ['3.5x', '3.5x'], ['', ''], [true, ''], [-0, '-0.000000'],
    [Number.MAX_VALUE, `${BigInt(Number.MAX_VALUE)}.000000`], [NaN, 'nan'], [3 * 2 ** -7, '0.023438']]) {
    const [{ intentHit }] = scenes({ categories: [{ key: 'k', priority, zh: ['甲'] }] }, ['甲']);
    assert.equal(intentHit.entry.priority, text);
  }
  for (const [given, weight] of [[1.23456789, 1.234568], ['2', 0], [-2.5, -2.5]]) {
    const [{ locationMeta }] = places({ aliasesZh: { 老城: [['X', 0, 0, 0, given]] } }, ['老城']);
    assert.equal(locationMeta.primaryHit.weight, weight);
  }
});

test('where an override finds the data of its scene', () => {
  const mine = (label, ...aliases) => ({ key: 'new', label, priority: '9', defaultDetail: 'own', zh: aliases });
  for (const [sceneKey, categories, expected] of [
    ['pet', [{ ...mine('mine', '我'), key: 'pet' }], 'pet pet default 7 pet label pet archive pet-code pet-icon'],
    // A category without an alias has no row, so there is nothing to find; the override stays.
    ['new', [mine('no alias', ' \t'), mine('first', '我'), mine('second', '你')], 'new own 9 first   '],
    ['new', [mine('no alias')], 'new      '],
    ['new', [{ key: 'new', label: 'x', details: [{ zh: ['你'] }] }], 'new      '],
    ['', [], ''],
  ]) {
    const shortTitleOverrides = [{ sceneKey, detailLabel: 'd', zh: ['改'] }];
    const [{ intentHit }] = scenes({ shortTitleOverrides, categories }, ['改']);
    assert.equal(Object.values(intentHit?.entry ?? {}).join(' '), expected);
  }
});

test('property names come in for-in order and are folded; labels', () => {
  const entry = (code) => [[code, 0, 0, 0, 1, '城']];
  const b = entry('B');
  for (const [aliasesZh, codes] of [
    [{ b, 10: entry('TEN'), 2: entry('TWO') }, 'TWO,TEN,B'],
    [Object.assign(Object.create({ a: entry('A'), b: entry('hidden') }), { b }), 'B,A'],
    [Object.defineProperty({ b, [Symbol('a')]: entry('S') }, 'a', { value: entry('A') }), 'B'],
    // The value is read by the whole name: a NUL neither ends it nor stays in the term.
    [{ a: entry('A'), 'a\0b': entry('NUL') }, 'A,NUL'],
    [{ ' \t': entry('BLANK'), '': entry('EMPTY') }, ''], [{ b: [[''], [], 'B', [7], {}, ...b] }, 'B'],
  ]) assert.equal(places({ aliasesZh }, ['2 10 ab a 城'])[0].locationCodes.join(), codes);
  // Without a label it is the folded alias. An empty label stays empty, and a place without a label is never found.
  const shrinking = Object.defineProperty(['X', 0, 0, 0, 1, '城'], 0, { get() { shrinking.length = 5; return 'X'; } });
  for (const [given, label] of [
    [['X', 0, 0, 0, 1, '城'], '城'], [['X'], 'old城'], [['X', 0, 0, 0, 1, 5], 'old城'],
    [['X', 0, 0, 0, 1, undefined, '城'], 'old城'], [['X', 0, 0, 0, 1, ''], undefined], [shrinking, 'old城'],
  ]) {
    const [{ locationMeta }] = places({ aliasesZh: { 'Old 城': [given] } }, ['old城']);
    assert.equal(locationMeta?.primaryHit?.label, label);
  }
});

test('a person row by row', () => {
  const person = (more) => ({ id: 'a', name: '甲星', ...more });
  const growing = [{ get id() { growing.push({ id: 'b', name: '乙星' }); return 'a'; }, name: '甲星' }];
  for (const [list, title, expected] of [
    // People, title; alias, name and tags of the hits.
    [[person({ aliases: ['乙星'] })], '甲星', '甲星 甲星 '], [[person({ aliases: [['乙星']] })], '乙星', ''],
    [[person({ aliases: { any: [7, ['x'], '\t ', null, 'Z Z'], nick: '丙星' } })], 'zz', 'zz 甲星 '],
    [[person({ aliases: { nick: '丙星' } })], '丙星', ''], [[person({ id: '' })], '甲星', ''],
    // A name of blanks is a name, but no alias.
    [[person({ name: ' ', aliases: { x: ['乙星'] } })], '乙星', '乙星   '],
    [[person({ name: '', aliases: { x: ['乙星'] } })], '乙星', ''],
    [[person({ tags: ['x', 7, '', 'y\x1Ez', null, '甲'] })], '甲星', '甲星 甲星 x,y,z,甲'],
    [growing, '甲星乙星', '甲星 甲星 ;乙星 乙星 '],
  ]) {
    const [{ celebrityHits }] = people(list, [title]);
    assert.equal(celebrityHits.map(({ alias, name, tags }) => `${alias} ${name} ${tags}`).join(';'), expected);
  }
});
