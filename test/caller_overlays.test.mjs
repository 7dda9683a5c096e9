// The rows that the options "sceneOverlay", "locationOverlay" and "celebrityOverlay" add, seen through the batches, and
// how they are read: what is of a wrong type or throws is absent, and nothing else is lost.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { sceneRow, writePack } from './support/packs.mjs';

const pack = writePack({ sections: { scene: [
  // Only the third is the scene's first master row: the first is too short by a field.
  sceneRow('宠物', 'pet', 'category', { priority: '5' }).slice(0, -1), sceneRow('狗', 'pet', 'detail', { priority: '6' }),
  sceneRow('猫', 'pet', 'category', { priority: '7' }), sceneRow('宠', 'pet', 'category', { priority: '8' }),
] } });

const scenes = (sceneOverlay, cases) => addon.resolveSceneIntentBatch({ ...pack, sceneOverlay, cases }).results;
const places = (locationOverlay, cases) => addon.resolveSceneIntentBatch({ ...pack, locationOverlay, cases }).results;
const people = (celebrityOverlay, cases) => addon.resolveCelebrityBadgeBatch({ ...pack, celebrityOverlay, cases }).results;

const zh = (raw) => ({ raw });
const en = (normalizedEnglish) => ({ raw: '-', normalizedEnglish });

/** One overlay of each kind in which every place shows in the answers to the cases. */
const overlays = {
  scene: {
    answers: (overlay) => scenes(overlay, [
      ...['甲', '乙', 'KEY WORD', '丙', '丁', '戊', '己'].map(zh),
      ...['tokyo tower', 'night view', 'short one', 'com pound', 'con flict'].map(en),
    ]).map(({ intentHit }) => intentHit),
    value: () => ({
      categories: [{
        key: 'k1', label: 'L1', archiveLabel: 'A1', archiveCode: 'C1', icon: 'I1', defaultDetail: 'D1', priority: 3,
        zh: ['甲'], aliases: ['乙'], keywords: ['Key Word'], en: [' Tokyo Tower '],
        details: [{ label: 'dl', zh: ['丙'], en: ['Night View'] }],
      }],
      shortTitleOverrides: [{ sceneKey: 'k1', detailLabel: 'sd', zh: ['丁'], en: ['Short One'] }],
      compoundOverrides: [{ sceneKey: 'k1', detailLabel: 'cd', zh: ['戊'], en: ['Com Pound'] }],
      conflictOverrides: [{ sceneKey: 'k1', detailLabel: 'fd', zh: ['己'], en: ['Con Flict'] }],
    }),
    // "7" would be a priority like any other.
    takesNumber: (name) => name === 'priority',
  },
  location: {
    answers: (overlay) => places(overlay, [zh('游老城OldTown'), zh('新城'), en('the old town')])
      .map(({ locationCodes, locationMeta }) => [locationCodes, locationMeta]),
    value: () => ({
      aliasesZh: { 'Old Town': [['X1', , , , 3.5, '老城']], 新城: [['X3']] },
      aliasesEn: { 'Old Town': [['X2', , , , 1.5, 'old']] },
    }),
    takesNumber: (name) => name === '4',
  },
  celebrity: {
    answers: (overlay) => people(overlay, [...['甲星', '乙星', '丙星', '乙星丙星'].map(zh), en('Star B')])
      .map(({ celebrityHits }) => celebrityHits),
    value: () => [
      { id: 'a', name: '甲星', kind: 'actor', region: 'JP', photoKey: 'z', aliases: { zh: ['丙星'] } },
      {
        id: 'a', name: '甲星', kind: 'actor', region: 'JP', photoKey: 'p', priority: '2', tags: ['t1', 't2'],
        aliases: { zh: ['乙星'], en: ['Star B'] },
      },
    ],
    takesNumber: (name) => name === 'priority',
  },
};

const hit = (alias, type, detail, rank, score) => ({
  alias, type, sceneKey: 'k1', detail, rank, score,
  entry: { key: 'k1', defaultDetail: 'D1', priority: '3.000000', label: 'L1', archiveLabel: 'A1', archiveCode: 'C1', icon: 'I1' },
});

test('the rows of an overlay', () => {
  const { scene, location, celebrity } = overlays;
  const close = (score) => Math.round(score * 1e9) / 1e9;
  assert.deepEqual(scene.answers(scene.value()).map((found) => ({ ...found, score: close(found.score) })), [
    hit('甲', 'zh', 'D1', 100, 14.2), hit('乙', 'zh', 'D1', 100, 14.2), hit('keyword', 'zh', 'D1', 100, 21.4),
    hit('丙', 'zh', 'dl', 200, 14.2), hit('丁', 'zh', 'sd', 500, 11.2), hit('戊', 'zh', 'cd', 300, 11.2), hit('己', 'zh', 'fd', 400, 11.2),
    hit('tokyotower', 'en', 'D1', 100, 22), hit('nightview', 'en', 'dl', 200, 21.1), hit('shortone', 'en', 'sd', 500, 17.2),
    hit('compound', 'en', 'cd', 300, 17.2), hit('conflict', 'en', 'fd', 400, 17.2),
  ]);
  const place = (code, label, index, len, weight, name = label) => [[code], {
    countryCode: code, countryCodes: [code], countryLabel: code, locationLabel: name, shortLabel: `${code} · ${name}`,
    fullLabel: `${code} · ${name}`, primaryHit: { alias: label, code, index, label, len, source: 'location-overlay', weight },
  }];
  assert.deepEqual(location.answers(location.value()),
    [place('X1', '老城', 3, 2, 3.5), place('X3', '新城', 0, 2, 0), place('X2', 'old', 3, 3, 1.5, 'Old')]);
  const star = (alias, photoKey, tags, type = 'zh') => [{
    id: 'a', name: '甲星', region: 'JP', kind: 'actor', photoKey, alias, type, sourceKind: 'alias', index: 0,
    len: Buffer.byteLength(alias), tags,
  }];
  assert.deepEqual(celebrity.answers(celebrity.value()),
    [star('甲星', 'z', []), star('乙星', 'p', ['t1', 't2']), star('丙星', 'z', []), star('丙星', 'z', []), star('starb', 'p', ['t1', 't2'], 'en')]);
});

/** The paths of all values inside `value`. */
function* pathsOf(value, path = []) {
  if (typeof value !== 'object') return;
  for (const name of Object.keys(value)) {
    yield [...path, name];
    yield* pathsOf(value[name], [...path, name]);
  }
}

/** `value` with the property at `path` defined anew. */
function withProperty(value, path, descriptor) {
  const owner = path.slice(0, -1).reduce((object, name) => object[name], value);
  Object.defineProperty(owner, path.at(-1), { enumerable: true, configurable: true, ...descriptor });
  return value;
}

const thrower = () => { throw new Error('from inside an overlay'); };
const trapsThrow = (target) => new Proxy(target, Object.fromEntries(
  ['get', 'has', 'ownKeys', 'getOwnPropertyDescriptor', 'getPrototypeOf'].map((name) => [name, thrower])));
const revoked = (target) => {
  const { proxy, revoke } = Proxy.revocable(target, {});
  revoke();
  return proxy;
};
const wrong = [
  null, true, Symbol('x'), 1n, new Date(0), {}, [], () => {}, trapsThrow({}), trapsThrow([]), trapsThrow(() => {}), revoked({}),
  revoked([]), revoked(() => {}),
];

test('what is of a wrong type or throws is absent, at every place', () => {
  for (const [kind, { answers, value, takesNumber }] of Object.entries(overlays)) {
    const all = answers(value());
    const nothing = answers(undefined);
    assert.notDeepEqual(nothing, all);
    for (const given of [...wrong, 7, 'x']) assert.deepEqual(answers(given), nothing, `${kind} ${typeof given}`);
    for (const path of pathsOf(value())) {
      const at = `${kind} ${path.join('.')}`;
      const absent = answers(withProperty(value(), path, { value: undefined }));
      assert.notDeepEqual(absent, all, `${at} shows`);
      assert.deepEqual(answers(withProperty(value(), path, { get: thrower })), absent, `${at} throws`);
      for (const given of takesNumber(path.at(-1)) ? wrong : [...wrong, 7]) {
        assert.deepEqual(answers(withProperty(value(), path, { value: given })), absent, `${at} is ${typeof given}`);
      }
    }
  }
});

test('functions count as objects, and all is read through prototypes and proxies', () => {
  const asFunction = (object) => Object.defineProperties(() => {}, Object.getOwnPropertyDescriptors(object));
  const inherited = (object) => Object.create(object);
  const deep = (value, wrap) => typeof value !== 'object' ? value
    : Array.isArray(value) ? value.map((element) => deep(element, wrap))
      : wrap(Object.fromEntries(Object.entries(value).map(([name, inner]) => [name, deep(inner, wrap)])));
  for (const [kind, { answers, value }] of Object.entries(overlays)) {
    for (const wrap of [asFunction, inherited, (object) => new Proxy(object, {})]) {
      assert.deepEqual(answers(deep(value(), wrap)), answers(value()), `${kind} ${wrap.name}`);
    }
  }
});

test('numbers as text', () => {
  const table = [
    // priority as given, as the row has it
    [3, '3.000000'], ['3', '3'], ['', ''], ['3.5x', '3.5x'], [true, ''], [-0, '-0.000000'], [1e21, `1${'0'.repeat(21)}.000000`],
    [Number.MAX_VALUE, `${BigInt(Number.MAX_VALUE)}.000000`], [Number.MIN_VALUE, '0.000000'], [NaN, 'nan'], [-Infinity, '-inf'],
    // Ties go to the even digit.
    [2 ** -7, '0.007812'], [3 * 2 ** -7, '0.023438'], [1.0000005, '1.000001'],
  ];
  for (const [priority, text] of table) {
    const [{ intentHit }] = scenes({ categories: [{ key: 'k', priority, zh: ['甲'] }] }, [zh('甲')]);
    assert.equal(intentHit.entry.priority, text);
  }
  const weights = [[1.23456789, 1.234568], ['2', 0], [1e300, 1e300], [1e-9, 0], [-2.5, -2.5]];
  for (const [given, weight] of weights) {
    const [{ locationMeta }] = places({ aliasesZh: { 老城: [['X', 0, 0, 0, given]] } }, [zh('老城')]);
    assert.deepEqual([locationMeta.primaryHit.weight, locationMeta.primaryHit.label], [weight, '老城']);
  }
});

test('where an override finds the data of its scene', () => {
  const labels = (overlay) => {
    const [{ intentHit }] = scenes(overlay, [zh('改')]);
    return intentHit && [intentHit.sceneKey, intentHit.entry.label, intentHit.entry.priority, intentHit.entry.defaultDetail];
  };
  const override = (sceneKey) => ({ shortTitleOverrides: [{ sceneKey, detailLabel: 'd', zh: ['改'] }] });
  const mine = (key, label, ...aliases) => ({ key, label, priority: '9', defaultDetail: 'own', zh: aliases });
  const table = [
    [override('pet'), ['pet', 'pet label', '7', 'pet default']],
    [{ ...override('pet'), categories: [mine('pet', 'mine', '我')] }, ['pet', 'pet label', '7', 'pet default']],
    [{ ...override('new'), categories: [mine('new', 'first', '我'), mine('new', 'second', '你')] }, ['new', 'first', '9', 'own']],
    // A category without an alias has no row, so there is nothing to find; the override stays.
    [{ ...override('new'), categories: [mine('new', 'no alias', ' \t'), mine('new', 'second', '你')] }, ['new', 'second', '9', 'own']],
    [{ ...override('new'), categories: [mine('new', 'no alias')] }, ['new', '', '', '']],
    [{ ...override('new'), categories: [{ key: 'new', label: 'x', details: [{ zh: ['你'] }] }] }, ['new', '', '', '']],
    [override(''), null],
  ];
  for (const [overlay, expected] of table) assert.deepEqual(labels(overlay), expected, JSON.stringify(overlay));
});

test('property names come in for-in order and are folded', () => {
  const entry = (code, ...rest) => [[code, 0, 0, 0, 1, '城', ...rest]];
  const codes = (aliasesZh, raw = '2 10 b a 城') => places({ aliasesZh }, [zh(raw)])[0].locationCodes;
  const labelled = (value) => places({ aliasesZh: { 'Old 城': [value] } }, [zh('old城')])[0].locationMeta?.primaryHit?.label;
  const own = { b: entry('B'), 10: entry('TEN'), 2: entry('TWO') };
  assert.deepEqual(codes(own), ['TWO', 'TEN', 'B']);
  assert.deepEqual(codes(Object.assign(Object.create({ a: entry('A'), b: entry('hidden') }), { b: entry('B') })), ['B', 'A']);
  assert.deepEqual(codes(Object.defineProperty({ b: entry('B') }, 'a', { value: entry('A'), enumerable: false })), ['B']);
  assert.deepEqual(codes({ [Symbol('a')]: entry('S'), b: entry('B') }), ['B']);
  // The value is read by the whole name: a NUL neither ends it nor stays in the term.
  assert.deepEqual(codes({ a: entry('A'), 'a\0b': entry('NUL') }, 'ab城'), ['A', 'NUL']);
  assert.deepEqual(codes({ ' \t': entry('BLANK'), '': entry('EMPTY') }), []);
  assert.deepEqual(codes({ b: [[''], [], 'B', [7], {}, ['B', 0, 0, 0, 1, '城']] }), ['B']);
  assert.equal(labelled(['X', 0, 0, 0, 1, '城']), '城');
  // Without a label it is the folded alias, which starts with a letter here.
  for (const entryOf of [['X'], ['X', 0, 0, 0, 1], ['X', 0, 0, 0, 1, 5], ['X', 0, 0, 0, 1, undefined, '城']]) {
    assert.equal(labelled(entryOf), 'old城');
  }
  // An empty label stays empty, and a place without a label is found by nothing.
  assert.equal(labelled(['X', 0, 0, 0, 1, '']), undefined);
});

test('a person row by row', () => {
  const found = (person, raw) => people([person], [zh(raw)])[0].primaryCelebrity;
  const base = { id: 'a', name: '甲星' };
  const table = [
    // person, title, [alias, name, tags] or null
    [base, '甲星', ['甲星', '甲星', []]],
    [{ ...base, aliases: ['乙星'] }, '甲星', ['甲星', '甲星', []]],
    [{ ...base, aliases: ['乙星'] }, '乙星', null],
    [{ ...base, aliases: { any: ['乙星'], nick: '丙星' } }, '乙星', ['乙星', '甲星', []]],
    [{ ...base, aliases: { any: ['乙星'], nick: '丙星' } }, '丙星', null],
    [{ ...base, aliases: { any: [7, ['x'], '\t ', null, 'Z Z'] } }, 'zz', ['zz', '甲星', []]],
    // A name of blanks is a name, but no alias.
    [{ id: 'a', name: ' ', aliases: { x: ['乙星'] } }, '乙星', ['乙星', ' ', []]],
    [{ id: 'a', name: '', aliases: { x: ['乙星'] } }, '乙星', null],
    [{ id: '', name: '甲星' }, '甲星', null],
    [{ ...base, tags: ['x', 7, '', 'y\x1Ez', null, '甲'] }, '甲星', ['甲星', '甲星', ['x', 'y', 'z', '甲']]],
    [{ ...base, tags: 'x' }, '甲星', ['甲星', '甲星', []]],
  ];
  for (const [person, raw, expected] of table) {
    const star = found(person, raw);
    assert.deepEqual(star && [star.alias, star.name, star.tags], expected, JSON.stringify(person));
  }
});

test('an array that its own getters change is read as it stands at each element', () => {
  const list = [{ get id() { list.push({ id: 'b', name: '乙星' }); return 'a'; }, name: '甲星' }];
  assert.deepEqual(people(list, [zh('甲星乙星')])[0].celebrityHits.map(({ id }) => id), ['a', 'b']);
  const entry = ['X', 0, 0, 0, 1, '城'];
  Object.defineProperty(entry, 0, { get() { entry.length = 5; return 'X'; } });
  assert.equal(places({ aliasesZh: { 老城: [entry] } }, [zh('老城')])[0].locationMeta.primaryHit.label, '老城');
});
