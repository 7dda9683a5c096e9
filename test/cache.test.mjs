// The cache: one slot for the base pack and one for the overlay pack, each with what was loaded last. That a pack is in
// a slot shows when its file is spoiled: as many other bytes at the same time still give its rows.
import assert from 'node:assert/strict';
import { utimesSync } from 'node:fs';
import { dirname } from 'node:path';
import { test } from 'node:test';

import { buildManifest } from '../tools/index.mjs';
import { addon } from './support/addon.mjs';
import { thrownBy } from './support/outcome.mjs';
import { packBytes, root, spoil, writeAt, writeFile, writePack, writeStamped } from './support/packs.mjs';

const ids = { baseRuleSetId: 'rules-1', ruleSetId: 'rules-2' };
const sections = { scene: [['a', 'x']], celebrity: [['a', 'id', 'name', 'singer', '', '', '']] };
const patch = { sections, metadata: { kind: 'patch', ...ids } };
const MAGIC = 'Error: semantic rule-pack magic is invalid';
const [plain, otherPatch, noPack] = [writePack({ sections }).packPath, writePack(patch).packPath, writeFile('')];

const options = { allowedRoot: root, section: 'scene', term: 'a', raw: 'a' };
const inspect = (packPath) => addon.inspectRulePack({ ...options, packPath });
const lookupPair = (basePackPath, overlayPackPath) =>
  addon.lookupBinaryIndexOverlay({ ...options, basePackPath, overlayPackPath });

/** The slots in which a pack is after its file has been spoiled. */
function slotsOf(path) {
  spoil(path);
  const ask = { base: () => inspect(path), overlay: () => lookupPair(plain, path) };
  return Object.keys(ask).filter((slot) => thrownBy(ask[slot]) === 'no error').join(' ');
}

test('the slots that each function fills', async () => {
  const cases = [options];
  const delta = (packPath) => ({ ...options, packPath, ...ids });
  const withOverlay = (overlayPackPath, packPath = plain) =>
    ({ ...options, packPath, overlayPackPath, overlayAllowedRoot: root, cases: [] });
  const verify = (packPath) => addon.verifySemanticDeltaManifest(
    { ...delta(packPath), manifestPath: writeFile(buildManifest({ packPath }), 'manifest.json') });
  const table = [
    // What is called for a pack, the slots in which the pack is then, and how the call fails.
    ['inspectRulePack', inspect, 'base'],
    ['inspectSemanticDelta', (path) => addon.inspectSemanticDelta(delta(path)), 'base'],
    ['… refused', (path) => addon.inspectSemanticDelta({ ...delta(path), ruleSetId: 'x' }), 'base', /does not match/],
    ['verifySemanticDeltaManifest', verify, 'overlay'],
    ['lookupBinaryIndex', (path) => addon.lookupBinaryIndex({ ...options, packPath: path }), 'base'],
    ['lookupBinaryIndexOverlay, base', (path) => lookupPair(path, otherPatch), 'base'],
    ['… without an overlay', (path) => lookupPair(path, noPack), 'base', /stat/],
    ['… overlay', (path) => lookupPair(plain, path), 'overlay'],
    ['extractSemanticFacets', (path) => addon.extractSemanticFacets({ ...options, packPath: path }), 'base'],
    ['resolveSceneIntent', (path) => addon.resolveSceneIntent({ ...options, packPath: path }), 'base'],
    ['resolveSceneIntentBatch, base', (path) => addon.resolveSceneIntentBatch({ ...delta(path), cases }), 'base'],
    ['… overlay', (path) => addon.resolveSceneIntentBatch(withOverlay(path)), 'overlay'],
    ['resolveCelebrityBadgeBatch, base', (path) => addon.resolveCelebrityBadgeBatch({ ...delta(path), cases }), 'base'],
    ['… without a title', (path) => addon.resolveCelebrityBadgeBatch({ ...delta(path), cases: [{}] }), ''],
    ['… overlay', (path) => addon.resolveCelebrityBadgeBatch(withOverlay(path)), 'overlay'],
    ['warmSemanticRulePack', (path) => addon.warmSemanticRulePack(withOverlay(path, path)), 'base overlay'],
    ['… without an overlay', (path) => addon.warmSemanticRulePack(withOverlay(noPack, path)), 'base', /stat/],
  ];
  for (const [what, call, slots, failure] of table) {
    const path = writeStamped(patch);
    const failed = await (async () => call(path))().then(() => undefined, String);
    assert.match(failed ?? '', failure ?? /^$/, what);
    assert.equal(slotsOf(path), slots, what);
  }
  const base = writeStamped({ sections });
  for (let i = 0; i < 2; ++i) {
    assert.equal(thrownBy(() => lookupPair(plain, base)), 'Error: semantic overlay pack must be a patch');
    spoil(base); // refused, but kept
  }
});

test('the same path, size and time are served unread; a failure leaves the slot as it was', () => {
  const bytes = (ruleSetId) => packBytes({ sections, metadata: { ruleSetId } });
  const [a, b] = ['aaaa', 'bbbb'].map((id) => writeFile(bytes(id)));
  const id = (packPath, allowedRoot = root) => {
    try { return addon.inspectRulePack({ packPath, allowedRoot }).ruleSetId; } catch (error) { return String(error); }
  };
  writeAt(a, bytes('aaaa'));
  assert.equal(id(a), 'aaaa');
  spoil(a);
  assert.equal(id(`${root}/x/../${a.slice(root.length)}`, dirname(root)), 'aaaa', 'the key is the canonical path');
  const tampered = Buffer.concat([bytes('dddd').subarray(0, -16), Buffer.alloc(16)]);
  for (const bad of [Buffer.alloc(64), tampered, packBytes({ stored: 'x' }), packBytes({ payload: Buffer.alloc(9) })]) {
    assert.match(id(writeFile(bad)), /^Error: semantic rule-pack/);
    assert.equal(id(a), 'aaaa');
  }
  utimesSync(a, 1_000_000_001, 1_000_000_001);
  for (let i = 0; i < 2; ++i) assert.equal(id(a), MAGIC, 'a new time: read again, each time');
  utimesSync(a, 1_000_000_000, 1_000_000_000);
  assert.equal(id(a), 'aaaa', 'the old time is back');
  for (const next of ['eeee', 'fffff']) {
    writeAt(a, bytes(next), 1_000_000_002);
    assert.equal(id(a), next, 'a new time, then a new size');
  }
  spoil(a, 1_000_000_002);
  assert.deepEqual([id(b), id(a), id(b)], ['bbbb', MAGIC, 'bbbb'], 'another file takes the slot');
});

test("the places of a batch follow the base pack, the overlay pack and the caller's rows", () => {
  const location = (code) => [['a'], ['东京', code, 'location', '1', '东京', 'zh', '日本']];
  const bytesOf = (code) => packBytes({ sections: { location: location(code) } });
  const [path, overlayPath] = [writeFile(bytesOf('A')), writeFile(bytesOf('P'))];
  const ask = (options) => addon.resolveSceneIntentBatch(
    { packPath: path, allowedRoot: root, cases: [{ raw: '东京' }], ...options }).results[0].locationCodes.join();
  const pack = { overlayPackPath: overlayPath, overlayAllowedRoot: root };
  const rows = (...codes) => ({ locationOverlay: { aliasesZh: { 东京: codes.map((code) => [code]) } } });
  const table = [[{}, 'A'], [rows('X', 'Y'), 'A,X,Y'], [rows('Y', 'X'), 'A,Y,X'], [{ ...pack, ...rows('X') }, 'A,X,P']];
  for (const [options, expected] of table) assert.equal(ask(options), expected);
  for (const [code, time] of [['Q', 1_000_000_000], ['R', 1_000_000_001], ['RR', 1_000_000_001]]) {
    writeAt(overlayPath, bytesOf(code), time); // another time, then another size
    assert.equal(ask(pack), `A,${code}`);
  }
  writeAt(path, bytesOf('B'));
  assert.deepEqual([ask(pack), ask({})], ['B,RR', 'B'], 'a touched base pack is another pack');
  // A file that is bad by now leaves the old pack, and its view, in place until it is good again.
  spoil(path, 1_000_000_001);
  assert.equal(thrownBy(() => ask({})), MAGIC);
  spoil(path);
  assert.equal(ask({}), 'B');
});

test("code of the caller's that runs while a batch is opened is seen by the next look at the pack", () => {
  const bytesOf = (code) => packBytes({ sections: { location: [['东京', code, 'location', '1', '东京', 'zh', '日本']] } });
  const path = writeFile(bytesOf('A'));
  const options = { packPath: path, allowedRoot: root, cases: [{ raw: '东京' }] };
  const acting = (act) => ({ configurable: true, get() { act(); return undefined; } });
  const trap = (target, act) => new Proxy(target, { has: (of, key) => { if (key === 'sceneOverlay') act(); return key in of; } });
  const inherited = (key, act) => Object.defineProperty(Object.prototype, key, acting(act));
  const ways = {
    'a trap': (act) => trap({ ...options }, act),
    'a trap of the prototype': (act) => Object.setPrototypeOf({ ...options }, trap({}, act)),
    'a trap, behind two prototypes': (act) => Object.assign(Object.create(Object.create(trap({}, act))), options),
    ...Object.fromEntries(['sceneOverlay', 'overlayPackPath', 'overlayAllowedRoot'].flatMap((key) => [
      [`a getter of ${key}`, (act) => Object.defineProperty({ ...options }, key, acting(act))],
      [`an inherited getter of ${key}`, (act) => { inherited(key, act); return { ...options }; }],
    ])),
  };
  for (const [name, make] of Object.entries(ways)) {
    writeAt(path, bytesOf('A'));
    let acted = 0;
    const given = make(() => { acted += 1; writeAt(path, bytesOf('BB')); });
    try {
      assert.deepEqual([addon.resolveSceneIntentBatch(given).results[0].locationCodes, acted], [['BB'], 1], name);
    } finally {
      for (const key of ['sceneOverlay', 'overlayPackPath', 'overlayAllowedRoot']) delete Object.prototype[key];
    }
  }
});
