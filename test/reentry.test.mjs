// The caller's own code inside a call, and an environment that ends while it loads the module.
import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import { test } from 'node:test';
import { Worker } from 'node:worker_threads';

import { buildManifest } from '../tools/index.mjs';
import { addon } from './support/addon.mjs';
import { sceneRow, writeFile, writePack } from './support/packs.mjs';

const place = (code) => ['东京', code, 'location', '1', '东京', 'zh', code];
const pack = writePack({ sections: { scene: [sceneRow('火锅', 'food', 'category')], location: [place('A')] } });
const other = writePack({ sections: { scene: [sceneRow('猫', 'pet', 'category')], location: [place('B')] } });
const cases = [{ raw: '东京火锅', mediaType: 'video' }];

test('getters of overlay options that load another pack', () => {
  for (const name of ['sceneOverlay', 'overlayPackPath', 'overlayAllowedRoot']) {
    const options = { ...pack, cases, get [name]() { return void addon.resolveSceneIntentBatch({ ...other, cases }); } };
    const [result] = addon.resolveSceneIntentBatch(options).results;
    assert.deepEqual([result.sceneKey, result.locationCodes], ['food', ['A']], name);
  }
});

/** All objects and arrays in a value, itself included. */
const within = (value) => (Object(value) === value ? [value, ...Object.values(value).flatMap(within)] : []);

test('results are defined, not set: nothing that stands on a prototype runs or shows', async () => {
  const ids = { baseRuleSetId: 'rules-1', ruleSetId: 'rules-2' };
  const rows = { scene: [sceneRow('火锅', 'food', 'category')], location: [place('A')], facet: [['火锅', 'd', 'k', '1', 'zh']],
    celebrity: [['东京', 'id', 'name', 'idol', 'JP', '1', 'photo', 'x\x1ey']] };
  const all = writePack({ sections: rows });
  const patch = writePack({ sections: rows, metadata: { kind: 'patch', ...ids } });
  const manifestPath = writeFile(buildManifest({ packPath: patch.packPath }));
  const pair = { basePackPath: all.packPath, overlayPackPath: patch.packPath, allowedRoot: all.allowedRoot };
  const titles = (count) => Array.from({ length: count }, () => cases[0]);
  const calls = [
    ['getSemanticInfo'], ['inspectRulePack', all], ['inspectSemanticDelta', { ...patch, ...ids }],
    ['verifySemanticDeltaManifest', { ...patch, ...ids, manifestPath }],
    ['lookupBinaryIndex', { ...all, section: 'scene', term: '火锅', mode: 'contains' }],
    ['lookupBinaryIndexOverlay', { ...pair, section: 'scene', term: '火锅', mode: 'exact' }],
    ['evaluateWorkflowPolicy', { raw: 'a', sceneKey: 'b', alias: 'c', detail: 'd', overrideType: 'e' }],
    ['extractSemanticFacets', { ...all, raw: '火锅' }], ['resolveSceneIntent', { ...all, raw: '火锅' }],
    ...[1, 300].flatMap((count) => [['resolveSceneIntentBatch', { ...all, cases: titles(count) }],
      ['resolveCelebrityBadgeBatch', { ...all, cases: titles(count) }]]),
    ['warmSemanticRulePack', all],
  ];
  for (const [name, options] of calls) {
    const expected = await addon[name](options);
    const keys = new Set(within(expected).flatMap(Object.keys).filter((key) => !(key in (options ?? {}))));
    let touched = 0;
    const trap = { configurable: true, get() { ++touched; return 'inherited'; }, set() { ++touched; } };
    for (const key of keys) Object.defineProperty(/^\d/.test(key) ? Array.prototype : Object.prototype, key, trap);
    let result;
    try { result = addon[name](options); } finally {
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

test('workers that are terminated while they load the module', async () => {
  const path = process.env.CORVENDA_TEST_BINARY ?? createRequire(import.meta.url).resolve('../lib/load.cjs');
  const script = `const { parentPort, workerData } = require('node:worker_threads');
    parentPort.postMessage('loading');
    for (;;) { delete require.cache[workerData]; require(workerData); }`;
  for (let round = 0; round < 60; ++round) {
    const worker = new Worker(script, { eval: true, workerData: path });
    await new Promise((ready) => { worker.once('message', ready); });
    assert.equal(await worker.terminate(), 1);
  }
});
