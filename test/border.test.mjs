// The border with JavaScript: what is exported, how options are read, what a failure looks like, and that the caller's
// own code may throw, call the addon or change what is being read.
import assert from 'node:assert/strict';
import { test } from 'node:test';

import { buildManifest } from '../tools/index.mjs';
import { addon } from './support/addon.mjs';
import { assertSame, thrownBy } from './support/outcome.mjs';
import { root, sceneRows, writeFile, writePack } from './support/packs.mjs';

const ids = { baseRuleSetId: 'rules-1', ruleSetId: 'rules-2' };
/** A scene, a place, a person and a facet for one title. */
const packOf = (mark) => writePack({ metadata: { kind: 'patch', ...ids }, sections: {
  scene: sceneRows(`火锅 food_${mark}`),
  location: [['东京', `JP ${mark}`, 'location', '1', '东京', 'zh', 'Japan']],
  celebrity: [['林小北', `lin ${mark}`, 'name', 'singer', 'CN', '1', '', 'pop\x1Erock']],
  facet: [['火锅', 'topic', 'food', '1', 'zh']],
} });
const [pack, other, patch, otherPatch] = ['a', 'b', 'c', 'd'].map(packOf);
const title = { raw: '东京火锅林小北', normalizedEnglish: 'hotpot', mediaType: 'photo' };
const overlay = ({ packPath }) => ({ overlayPackPath: packPath, overlayAllowedRoot: root });

/** What each function reads, in order. "!" marks what is required, "?" what is asked for before it is read. */
const reads = {
  inspectRulePack: '!packPath !allowedRoot',
  inspectSemanticDelta: '!packPath !allowedRoot !baseRuleSetId !ruleSetId',
  verifySemanticDeltaManifest: '!manifestPath !packPath !allowedRoot !baseRuleSetId !ruleSetId',
  lookupBinaryIndex: '!packPath !allowedRoot !section !term ?mode',
  lookupBinaryIndexOverlay: '!basePackPath !overlayPackPath !allowedRoot !section !term ?mode',
  evaluateWorkflowPolicy: 'raw normalizedEnglish sceneKey alias detail overrideType',
  extractSemanticFacets: '!packPath !allowedRoot !raw ?normalizedEnglish',
  resolveSceneIntent: '!packPath !allowedRoot !raw ?normalizedEnglish',
  resolveSceneIntentBatch:
    '!packPath !allowedRoot cases ?sceneOverlay ?overlayPackPath ?overlayAllowedRoot ?locationOverlay',
  resolveCelebrityBadgeBatch: '!packPath !allowedRoot cases ?celebrityOverlay overlayPackPath overlayAllowedRoot',
  warmSemanticRulePack: '!packPath !allowedRoot ?overlayPackPath overlayAllowedRoot',
};
const values = {
  ...pack, ...title, ...ids, ...overlay(patch), basePackPath: pack.packPath,
  manifestPath: writeFile(buildManifest(pack)), section: 'scene', term: '火锅', mode: 'exact', sceneKey: 'food',
  alias: 'a', detail: 'd', overrideType: 'o', cases: [title],
  sceneOverlay: {}, locationOverlay: {}, celebrityOverlay: [],
};
const functions = Object.entries(reads).map(([name, list]) => {
  const options = list.split(' ').map((word) => ({ mark: word.match(/^\W?/)[0], key: word.match(/\w+/)[0] }));
  return { name, options, good: Object.fromEntries(options.map(({ key }) => [key, values[key]])) };
});
const batches = functions.filter(({ name }) => name.endsWith('Batch'));
const call = (name, ...args) => thrownBy(() => addon[name](...args));

test('twelve functions in the order of registration, each without a name; the contract, whatever it is given', () => {
  assert.deepEqual(Object.entries(addon).map(([key, { name }]) => [key, name]),
    ['getSemanticInfo', ...Object.keys(reads)].map((name) => [name, '']));
  for (const args of [[], [null], [[]], [1, 2, 3, 4, 5, 6, 7, 8]]) {
    assertSame(addon.getSemanticInfo(...args), {
      ok: true, module: 'CorvendaSemantic', market: 'EN', contractVersion: 1,
      stage: 'native-stage-semantic-rule-pack-v1', binary: 'corvenda_semantic.node',
      packSchema: 'corvenda.semantic-rule-pack.v1', packVersion: 1, testKeyOnly: false, releaseKeyId: 'release-v1',
    });
  }
});

test('exactly one argument, an object or function that is no array', () => {
  const refused = [[], [undefined], [null], [1], ['{}'], [true], [Symbol('s')], [1n], [[]], [{}, {}], [{}, undefined]];
  for (const { name } of functions.filter((each) => each.name !== 'evaluateWorkflowPolicy')) {
    for (const args of refused) assert.equal(call(name, ...args), `TypeError: ${name} requires one options object`);
  }
  for (const object of [{}, () => {}, class {}, new Map(), new Proxy([], {}), Object.create(pack)]) {
    const inherits = 'packPath' in object;
    assert.equal(call('inspectRulePack', object),
      inherits ? 'no error' : 'TypeError: semantic native option is missing: packPath');
    assert.equal(call('inspectRulePack', Object.assign(object, pack)), 'no error');
  }
});

test('each option is read once, in order, and the first that is wrong is told', () => {
  const wrong = [undefined, null, 0, true, {}, [], ['x'], new String('x'), () => 'x', 1n, Symbol('x')];
  for (const { name, options, good } of functions) {
    const seen = [];
    call(name, new Proxy(good, {
      get(target, key) { seen.push(key); return target[key]; },
      has(target, key) { seen.push(`?${key}`); return key in target; },
    }));
    assert.deepEqual(seen, options.flatMap(({ mark, key }) => (mark === '?' ? [`?${key}`, key] : [key])), name);
    for (const [i, { mark, key }] of options.entries()) {
      if (mark !== '!') continue;
      const bad = { ...good, ...Object.fromEntries(options.slice(i).map((later) => [later.key, 7])) };
      for (const value of [...wrong, '']) {
        assert.equal(call(name, { ...bad, [key]: value }),
          `TypeError: semantic native option is ${value === '' ? 'empty' : 'missing'}: ${key}`, name);
      }
    }
  }
  for (const name of ['resolveSceneIntent', 'extractSemanticFacets']) {
    const good = { ...pack, raw: 'x' };
    assert.equal(call(name, { ...good, normalizedEnglish: '' }), 'no error');
    for (const value of wrong) {
      const options = [{ ...good, packPath: '/before any load', normalizedEnglish: value },
        Object.assign(Object.create({ normalizedEnglish: value }), good)];
      for (const each of options) assert.equal(call(name, each), 'TypeError: normalizedEnglish must be a string');
    }
  }
});

test('what a getter or a trap throws is what the caller sees', () => {
  const boom = { not: 'an Error' };
  const raise = () => { throw boom; };
  const throwing = (object, key) => Object.defineProperty({ ...object }, key, { get: raise });
  for (const { name, options, good } of functions) {
    const bad = options.map(({ key }) => throwing(good, key));
    if (options.some(({ mark }) => mark === '?')) bad.push(new Proxy(good, { has: raise }));
    for (const each of bad) assert.equal(call(name, each), boom, name);
  }
  // Nor does a failure that comes after it hide it.
  assert.equal(call('resolveSceneIntent', new Proxy({ ...values, packPath: '/gone' }, { has: raise })), boom);
  for (const { name, good } of batches) {
    const keys = ['raw', 'normalizedEnglish', ...(name === 'resolveCelebrityBadgeBatch' ? ['mediaType'] : [])];
    const bad = [...keys.map((key) => throwing(title, key)), new Proxy(title, { get: raise })];
    if (name === 'resolveSceneIntentBatch') bad.push(new Proxy(title, { has: raise }));
    for (const cases of [...bad.map((each) => [title, each, title]), Object.defineProperty([], 0, { get: raise })]) {
      assert.equal(call(name, { ...good, cases }), boom, name);
    }
  }
  const { proxy, revoke } = Proxy.revocable({}, {});
  revoke();
  assert.match(call('inspectRulePack', proxy), /^TypeError: .*revoked/);
});

test("the caller's code may call the addon for other packs, and change the list of cases", () => {
  const told = ({ sceneKey, locationCodes, celebrityHits }) =>
    (celebrityHits ? celebrityHits.map(({ id }) => id).join() : `${sceneKey}, ${locationCodes}`);
  const expected = { resolveSceneIntentBatch: 'food a, JP a,JP c', resolveCelebrityBadgeBatch: 'lin a,lin c' };
  for (const { name, options, good } of batches) {
    const disturb = () => addon[name]({ ...good, ...other, ...overlay(otherPatch) });
    for (const { key } of options.slice(3)) {
      const disturbing = Object.defineProperty({ ...good }, key, { get() { disturb(); return good[key]; } });
      assert.equal(told(addon[name](disturbing).results[0]), expected[name], `${name} ${key}`);
    }
    const cases = [{ get raw() { disturb(); cases.push(title); return title.raw; } }, title];
    const { count, results } = addon[name]({ ...good, cases });
    assert.deepEqual([count, results.map(told)], [3, Array(3).fill(expected[name])]);
  }
});

test('results are defined, not set: nothing that stands on a prototype runs or shows', async () => {
  /** All objects and arrays in a value, itself included. */
  const within = (value) => (Object(value) === value ? [value, ...Object.values(value).flatMap(within)] : []);
  const calls = [{ name: 'getSemanticInfo' }, ...functions,
    ...batches.map(({ name, good }) => ({ name, good: { ...good, cases: Array(300).fill(title) } }))];
  for (const { name, good } of calls) {
    const expected = await addon[name](good);
    const keys = new Set(within(expected).flatMap(Object.keys).filter((key) => !(key in (good ?? {}))));
    let touched = 0;
    const trap = { configurable: true, get() { ++touched; return 'inherited'; }, set() { ++touched; } };
    for (const key of keys) Object.defineProperty(/^\d/.test(key) ? Array.prototype : Object.prototype, key, trap);
    let result;
    try { result = addon[name](good); } finally {
      for (const key of keys) { delete Array.prototype[key]; delete Object.prototype[key]; }
    }
    assert.equal(touched, 0, name);
    assert.deepEqual(await result, expected, name);
    const plain = ({ writable, enumerable, configurable }) => writable && enumerable && configurable;
    for (const object of within(await result)) {
      assert.ok(Object.keys(object).every((key) => plain(Object.getOwnPropertyDescriptor(object, key))), name);
    }
  }
});

test('a failed call is an Error with the words of the core alone', () => {
  assert.throws(() => addon.inspectRulePack({ packPath: writeFile(Buffer.alloc(64)), allowedRoot: root }), (error) => {
    assert.deepEqual(Reflect.ownKeys(error).sort(), ['message', 'stack']);
    return error.message === 'semantic rule-pack magic is invalid' && Object.getPrototypeOf(error) === Error.prototype;
  });
});
