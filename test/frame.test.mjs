// The seam between JavaScript and the core: what is exported, how options are read, what a failure looks like.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { assertSame, spoil, thrownBy, writeStamped } from './support/outcome.mjs';
import { root, sceneRow, writeFile, writePack } from './support/packs.mjs';

const NAMES = [
  'getSemanticInfo', 'inspectRulePack', 'inspectSemanticDelta', 'verifySemanticDeltaManifest', 'lookupBinaryIndex',
  'lookupBinaryIndexOverlay', 'evaluateWorkflowPolicy', 'extractSemanticFacets', 'resolveSceneIntent',
  'resolveSceneIntentBatch', 'resolveCelebrityBadgeBatch', 'warmSemanticRulePack',
];
const good = { ...writePack({ sections: { scene: [sceneRow('火锅', 'food', 'category')] } }), raw: '火锅' };
const inspect = (options) => thrownBy(() => addon.inspectRulePack(options));
const resolve = (options) => thrownBy(() => addon.resolveSceneIntent(options));

test('twelve functions in the order of registration, each without a name; the contract, whatever it is given', () => {
  assert.deepEqual(Object.entries(addon).map(([key, { name }]) => [key, name]), NAMES.map((name) => [name, '']));
  for (const args of [[], [null], [[]], [1, 2, 3, 4, 5, 6, 7, 8]]) {
    assertSame(addon.getSemanticInfo(...args), {
      ok: true, module: 'CorvendaSemantic', market: 'EN', contractVersion: 1, stage: 'native-stage-semantic-rule-pack-v1',
      binary: 'corvenda_semantic.node', packSchema: 'corvenda.semantic-rule-pack.v1', packVersion: 1, testKeyOnly: false,
      releaseKeyId: 'release-v1',
    });
  }
});

test('entry check: exactly one object or function that is no array', () => {
  const refused = [[], [undefined], [null], [1], ['{}'], [true], [Symbol('s')], [1n], [[]], [{}, {}], [{}, undefined], [{}, 2, 3]];
  for (const name of NAMES.filter((each) => each !== 'getSemanticInfo' && each !== 'evaluateWorkflowPolicy')) {
    for (const args of refused) assert.equal(thrownBy(() => addon[name](...args)), `TypeError: ${name} requires one options object`);
  }
  const missing = 'TypeError: semantic native option is missing: packPath';
  for (const options of [{}, () => {}, class {}, new Proxy([], {}), new Map()]) assert.equal(inspect(options), missing);
  for (const base of [() => {}, Object.create(good), new Proxy([], {})]) assert.equal(inspect(Object.assign(base, good)), 'no error');
  assert.equal(inspect(Object.create(good)), 'no error', 'options on the prototype');
});

test('options: in order, strings only, the required ones not empty, the optional one absent or a string', () => {
  const bad = [undefined, null, 0, true, {}, [], ['x'], new String('x'), () => 'x', 1n, Symbol('x')];
  const required = ['packPath', 'allowedRoot', 'raw'];
  for (const [i, key] of required.entries()) {
    // Those before are good, those behind are wrong: the first that fails is told.
    const options = { ...good, normalizedEnglish: 7, ...Object.fromEntries(required.slice(i).map((later) => [later, 7])) };
    for (const value of bad) assert.equal(resolve({ ...options, [key]: value }), `TypeError: semantic native option is missing: ${key}`);
    assert.equal(resolve({ ...options, [key]: '' }), `TypeError: semantic native option is empty: ${key}`);
  }
  const message = 'TypeError: normalizedEnglish must be a string';
  for (const value of bad) assert.equal(resolve({ ...good, packPath: '/before any load', normalizedEnglish: value }), message);
  assert.equal(resolve(Object.assign(Object.create({ normalizedEnglish: 1 }), good)), message, 'prototypes count');
  for (const english of ['', 'hotpot']) assert.equal(addon.resolveSceneIntent({ ...good, normalizedEnglish: english }).sceneKey, 'food');
  const outside = 'Error: semantic rule-pack path is outside the approved root';
  assert.equal(inspect({ packPath: '\ud800', allowedRoot: root }), outside, 'a lone surrogate becomes U+FFFD');

  const seen = [];
  addon.resolveSceneIntent(new Proxy({ ...good, normalizedEnglish: 'hotpot' }, {
    get(target, key) { seen.push(`get ${key}`); return target[key]; },
    has(target, key) { seen.push(`has ${key}`); return key in target; },
  }));
  assert.deepEqual(seen, ['get packPath', 'get allowedRoot', 'get raw', 'has normalizedEnglish', 'get normalizedEnglish'], 'each once');
});

test('a getter or trap that throws: JavaScript sees its exception and the process lives', () => {
  const boom = { not: 'an Error' };
  const raise = () => { throw boom; };
  const throwing = (key, rest) => Object.defineProperty({ ...rest }, key, { enumerable: true, get: raise });
  for (const key of ['packPath', 'allowedRoot', 'raw', 'normalizedEnglish']) assert.equal(resolve(throwing(key, good)), boom, key);
  for (const key of ['raw', 'normalizedEnglish', 'sceneKey', 'alias', 'detail', 'overrideType']) {
    assert.equal(thrownBy(() => addon.evaluateWorkflowPolicy(throwing(key))), boom, key);
  }
  const { proxy, revoke } = Proxy.revocable({}, {});
  revoke();
  assert.match(inspect(proxy), /^TypeError: .*revoked/);
  // The call runs on: the failure of a load doesn't hide the exception, and a load that succeeds fills the slot.
  const packPath = writeStamped({ metadata: { ruleSetId: 'other' } });
  for (const path of ['/nowhere', packPath]) assert.equal(resolve(new Proxy({ ...good, packPath: path }, { has: raise })), boom);
  spoil(packPath);
  assert.equal(addon.inspectRulePack({ packPath, allowedRoot: root }).ruleSetId, 'other');
});

test('a failed call is an Error with the words of the core alone', () => {
  assert.throws(() => addon.inspectRulePack({ packPath: writeFile(Buffer.alloc(64)), allowedRoot: root }), (error) => {
    assert.deepEqual(Reflect.ownKeys(error).sort(), ['message', 'stack']);
    return error.message === 'semantic rule-pack magic is invalid' && Object.getPrototypeOf(error) === Error.prototype;
  });
});

test('no pack key stands in one piece in the binary', () => {
  const binary = readFileSync(Object.keys(createRequire(import.meta.url).cache).find((path) => path.endsWith('.node')));
  const { packKeys } = JSON.parse(readFileSync(new URL('../trust/development.json', import.meta.url), 'utf8'));
  const { block, values } = packKeys['test-v1'];
  const [one, two] = packKeys['release-v1'].tables;
  const release = Buffer.from(one, 'hex').map((byte, i) => byte ^ Buffer.from(two, 'hex')[i]).toString('hex');
  const holds = (hex) => binary.includes(Buffer.from(hex, 'hex'));
  assert.deepEqual([block, ...values, one, two].map(holds), [true, true, true, true, true], 'the pieces are there');
  assert.deepEqual([values.join(''), block + values[0], release].map(holds), [false, false, false]);
});
