// The caller's own code inside a call, and an environment that ends while it loads the module.
import assert from 'node:assert/strict';
import { createRequire } from 'node:module';
import { test } from 'node:test';
import { Worker } from 'node:worker_threads';

import { addon } from './support/addon.mjs';
import { sceneRow, writePack } from './support/packs.mjs';

const place = (code) => ['东京', code, 'location', '1', '东京', 'zh', code];
const pack = writePack({ sections: { scene: [sceneRow('火锅', 'food', 'category')], location: [place('A')] } });
const other = writePack({ sections: { scene: [sceneRow('猫', 'pet', 'category')], location: [place('B')] } });
const cases = [{ raw: '东京火锅' }];

test('getters of overlay options that load another pack', () => {
  for (const name of ['sceneOverlay', 'overlayPackPath', 'overlayAllowedRoot']) {
    const options = { ...pack, cases, get [name]() { return void addon.resolveSceneIntentBatch({ ...other, cases }); } };
    const [result] = addon.resolveSceneIntentBatch(options).results;
    assert.deepEqual([result.sceneKey, result.locationCodes], ['food', ['A']], name);
  }
});

test('a setter on Object.prototype that calls the addon', () => {
  let calls = 0;
  const set = () => { calls += addon.resolveSceneIntent({ ...other, raw: '猫' }) ? 1 : 0; };
  Object.defineProperty(Object.prototype, 'locationMeta', { configurable: true, set });
  try {
    assert.equal(addon.resolveSceneIntentBatch({ ...pack, cases }).results[0].sceneKey, 'food');
  } finally {
    delete Object.prototype.locationMeta;
  }
  assert.equal(calls, 1);
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
