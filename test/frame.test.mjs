// The seam between JavaScript and the core: what is exported, how options are read, what a failure looks like.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { test } from 'node:test';

import { addon } from './support/addon.mjs';
import { packBytes, root, sceneRow, writeAt, writeFile, writePack } from './support/packs.mjs';

const NAMES = [
  'getSemanticInfo', 'inspectRulePack', 'inspectSemanticDelta', 'verifySemanticDeltaManifest', 'lookupBinaryIndex',
  'lookupBinaryIndexOverlay', 'evaluateWorkflowPolicy', 'extractSemanticFacets', 'resolveSceneIntent',
  'resolveSceneIntentBatch', 'resolveCelebrityBadgeBatch', 'warmSemanticRulePack',
];
const STRICT = NAMES.filter((name) => name !== 'getSemanticInfo' && name !== 'evaluateWorkflowPolicy');

/** What a call throws, as "Kind: message"; a value that comes back is a fault of its own. */
function thrownBy(call) {
  try {
    return `returned ${JSON.stringify(call())}`;
  } catch (error) {
    return error instanceof Error ? `${error.constructor.name}: ${error.message}` : error;
  }
}

const good = writePack({ sections: { scene: [sceneRow('火锅', 'food', 'category')] } });

test('twelve functions in the order of registration, each without a name', () => {
  assert.deepEqual(Object.keys(addon), NAMES);
  for (const name of NAMES) assert.equal(addon[name].name, '', name);
});

test('getSemanticInfo states the contract, whatever it is given', () => {
  const expected = {
    ok: true,
    module: 'CorvendaSemantic',
    market: 'EN',
    contractVersion: 1,
    stage: 'native-stage-semantic-rule-pack-v1',
    binary: 'corvenda_semantic.node',
    packSchema: 'corvenda.semantic-rule-pack.v1',
    packVersion: 1,
    testKeyOnly: false,
    releaseKeyId: 'release-v1',
  };
  for (const args of [[], [1, 2, 3], [null], [[]], [1, 2, 3, 4, 5, 6, 7, 8]]) {
    const info = addon.getSemanticInfo(...args);
    assert.deepEqual(info, expected);
    assert.deepEqual(Object.keys(info), Object.keys(expected));
  }
  assert.notEqual(addon.getSemanticInfo(), addon.getSemanticInfo());
});

test('entry check: exactly one object or function that is no array', () => {
  const object = {};
  const refused = [
    [], [undefined], [null], [1], ['{}'], [true], [Symbol('s')], [1n], [[]], [[object]],
    [object, object], [object, undefined], [object, 1, 2, 3, 4, 5, 6, 7, 8],
  ];
  for (const name of STRICT) {
    for (const args of refused) {
      assert.equal(thrownBy(() => addon[name](...args)), `TypeError: ${name} requires one options object`, `${name} of ${args.length}`);
    }
  }
});

test('what passes the entry check is read as options', () => {
  const missing = 'TypeError: semantic native option is missing: packPath';
  const passes = [{}, () => {}, class {}, new Proxy([], {}), new Map(), new Proxy(() => {}, {})];
  for (const options of passes) assert.equal(thrownBy(() => addon.inspectRulePack(options)), missing);
  assert.equal(addon.inspectRulePack(Object.assign(() => {}, good)).ok, true);
  assert.equal(addon.inspectRulePack(Object.create(good)).ok, true, 'options on the prototype');
  assert.equal(addon.inspectRulePack(new Proxy(Object.assign([], good), {})).ok, true, 'a proxy of an array');
});

test('required options: in order, strings only, not empty', () => {
  const lists = { inspectRulePack: ['packPath', 'allowedRoot'], resolveSceneIntent: ['packPath', 'allowedRoot', 'raw'] };
  for (const [name, required] of Object.entries(lists)) {
    for (const [i, key] of required.entries()) {
      // Those before are good, those behind are wrong: the first that fails is told.
      const options = Object.fromEntries(required.map((other, j) => [other, j < i ? { ...good, raw: '火锅' }[other] : 7]));
      const bad = [undefined, null, 0, 1, true, {}, [], new String('x'), () => 'x', 1n, Symbol('x')];
      for (const value of bad) {
        assert.equal(thrownBy(() => addon[name]({ ...options, [key]: value })), `TypeError: semantic native option is missing: ${key}`);
      }
      assert.equal(thrownBy(() => addon[name]({ ...options, [key]: '' })), `TypeError: semantic native option is empty: ${key}`);
    }
  }
  assert.equal(thrownBy(() => addon.inspectRulePack({ packPath: ' ', allowedRoot: ' ' })),
    'Error: semantic rule-pack path is outside the approved root', 'blanks are no options failure');
  assert.equal(thrownBy(() => addon.inspectRulePack({ packPath: '\ud800', allowedRoot: root })),
    'Error: semantic rule-pack path is outside the approved root', 'a lone surrogate becomes U+FFFD');
});

test('normalizedEnglish: absent or a string', () => {
  const options = { ...good, raw: '火锅' };
  const message = 'TypeError: normalizedEnglish must be a string';
  for (const value of [undefined, null, 1, {}, ['hotpot'], new String('hotpot')]) {
    assert.equal(thrownBy(() => addon.resolveSceneIntent({ ...options, normalizedEnglish: value })), message);
  }
  const inherited = Object.assign(Object.create({ normalizedEnglish: 1 }), options);
  assert.equal(thrownBy(() => addon.resolveSceneIntent(inherited)), message, 'prototypes count');
  assert.equal(thrownBy(() => addon.resolveSceneIntent({ ...options, raw: '', normalizedEnglish: 1 })),
    'TypeError: semantic native option is empty: raw', 'the required ones come first');
  assert.equal(thrownBy(() => addon.resolveSceneIntent({ ...options, packPath: '/nowhere', normalizedEnglish: 1 })), message, 'before any load');
  for (const english of ['', 'hotpot']) assert.equal(addon.resolveSceneIntent({ ...options, normalizedEnglish: english }).sceneKey, 'food');
});

test('a getter or trap that throws: JavaScript sees its exception and the process lives', () => {
  const boom = { not: 'an Error' };
  const throwing = (key, rest) => Object.defineProperty({ ...rest }, key, { enumerable: true, get() { throw boom; } });
  const options = { ...good, raw: '火锅' };
  for (const key of ['packPath', 'allowedRoot', 'raw', 'normalizedEnglish']) {
    assert.equal(thrownBy(() => addon.resolveSceneIntent(throwing(key, options))), boom, key);
  }
  for (const key of ['raw', 'normalizedEnglish', 'sceneKey', 'alias', 'detail', 'overrideType']) {
    assert.equal(thrownBy(() => addon.evaluateWorkflowPolicy(throwing(key, {}))), boom, key);
  }
  const has = new Proxy(options, { has() { throw boom; } });
  assert.equal(thrownBy(() => addon.resolveSceneIntent(has)), boom, 'has trap');
  assert.equal(thrownBy(() => addon.resolveSceneIntent(new Proxy({ ...options, packPath: '/nowhere' }, { has() { throw boom; } }))), boom,
    'the call runs on, and the failure of the load does not hide the exception');
  const { proxy, revoke } = Proxy.revocable({}, {});
  revoke();
  assert.match(thrownBy(() => addon.inspectRulePack(proxy)), /^TypeError: .*revoked/);

  // The trap threw, yet the load took place: the slot holds the pack, and what lies in the file now is not read.
  const bytes = packBytes({ metadata: { ruleSetId: 'other' } });
  const other = { packPath: writeFile(bytes), allowedRoot: root };
  writeAt(other.packPath, bytes);
  assert.equal(thrownBy(() => addon.resolveSceneIntent(new Proxy({ ...other, raw: 'x' }, { has() { throw boom; } }))), boom);
  writeAt(other.packPath, Buffer.alloc(bytes.length));
  assert.equal(addon.inspectRulePack(other).ruleSetId, 'other');
});

test('options are read in their order, each once', () => {
  const seen = [];
  const spy = new Proxy({ ...good, raw: '火锅', normalizedEnglish: 'hotpot' }, {
    get(target, key) { seen.push(`get ${key}`); return target[key]; },
    has(target, key) { seen.push(`has ${key}`); return key in target; },
  });
  addon.resolveSceneIntent(spy);
  assert.deepEqual(seen, ['get packPath', 'get allowedRoot', 'get raw', 'has normalizedEnglish', 'get normalizedEnglish']);
  seen.length = 0;
  addon.inspectRulePack(spy);
  assert.deepEqual(seen, ['get packPath', 'get allowedRoot']);
});

test('a failed call is an Error with the words of the core alone', () => {
  const path = writeFile(Buffer.alloc(64), 'junk.klrx');
  assert.throws(() => addon.inspectRulePack({ packPath: path, allowedRoot: root }), (error) => {
    assert.equal(Object.getPrototypeOf(error), Error.prototype);
    assert.equal(error.message, 'semantic rule-pack magic is invalid');
    assert.equal('code' in error, false);
    return true;
  });
});

test('no pack key stands in one piece in the binary', () => {
  const require = createRequire(import.meta.url);
  const binary = readFileSync(Object.keys(require.cache).find((path) => path.endsWith('.node')));
  const { packKeys } = JSON.parse(readFileSync(new URL('../trust/development.json', import.meta.url), 'utf8'));
  const { block, values } = packKeys['test-v1'];
  const tables = packKeys['release-v1'].tables.map((hex) => Buffer.from(hex, 'hex'));
  const holds = (bytes) => binary.includes(bytes);
  for (const piece of [block, ...values].map((hex) => Buffer.from(hex, 'hex')).concat(tables)) assert(holds(piece), 'a piece is there');
  assert(!holds(Buffer.from(block + values.join(''), 'hex')), 'test-v1');
  assert(!holds(Buffer.from(values.join(''), 'hex')) && !holds(Buffer.from(block + values[0], 'hex')), 'test-v1, half joined');
  assert(!holds(Buffer.from(tables[0].map((byte, i) => byte ^ tables[1][i]))), 'release-v1');
});
