// The addon in worker threads: one cache for all, and environments that end while work is under way. The main thread of
// this file never loads the addon, because the module would otherwise stay loaded whatever the workers do.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { createRequire } from 'node:module';
import { resolve } from 'node:path';
import { test } from 'node:test';
import { setTimeout as delay } from 'node:timers/promises';
import { Worker } from 'node:worker_threads';

import { packBytes, root, sceneRows, writeAt, writeFile, writePack } from './support/packs.mjs';

/** A script with what all of them need before it: the addon, and what the test hands over. */
const scriptOf = (script, data) => `
  import { createRequire } from 'node:module';
  import { parentPort } from 'node:worker_threads';
  import { setImmediate as turn } from 'node:timers/promises';
  const { addon } = await import(${JSON.stringify(new URL('support/addon.mjs', import.meta.url).href)});
  const data = ${JSON.stringify(data)};
  ${script}`;

// An emulator takes about ten times as long for everything.
const atOnce = process.env.CORVENDA_TEST_EMULATED ? 15_000 : 1500; // milliseconds

/** What a worker posts, and the status with which it ends: by itself, or terminated after so many milliseconds. */
async function runWorker(script, data, terminateAfter) {
  const worker = new Worker(new URL(`data:text/javascript,${encodeURIComponent(scriptOf(script, data))}`));
  const messages = [];
  worker.on('message', (message) => messages.push(message));
  const ended = once(worker, 'exit');
  await once(worker, 'message');
  if (terminateAfter !== undefined) {
    await delay(terminateAfter);
    const begin = performance.now();
    await worker.terminate();
    assert.ok(performance.now() - begin < atOnce, 'ends at once');
  }
  return [...messages, ...await ended];
}

const rowsOf = (count, tag) => Array.from({ length: count }, (_, i) => [`${tag}${i}`, 'k', 'd', '1', 'category', 'zh']);
// Loads of tens of milliseconds, in turns, so that none is a hit.
const big = ['x', 'y'].map((tag) => writePack({ sections: { scene: rowsOf(30_000, tag) } }));
const person = ['林小北', 'lin', 'name', 'singer', 'CN', '1', ''];
const small = writePack({ sections: { scene: [...rowsOf(9, 'a'), ...sceneRows('火锅 food')],
  celebrity: [person], facet: [['a1', 'd', 'k', '1', 'zh']] } });

test('workers one after the other share one cache', async () => {
  const packPath = writeFile('');
  const pack = packBytes({ sections: { scene: [['old', 'x']] } });
  const find = `const ask = () => addon.lookupBinaryIndex({ ...data, section: 'scene', term: 'old' }).matches.length;
    try { parentPort.postMessage(ask()); } catch (error) { parentPort.postMessage(error.message); }`;
  const zeros = Buffer.alloc(pack.length);
  const table = [[pack, 0, 1], [zeros, 0, 1], [zeros, 1, 'semantic rule-pack magic is invalid']];
  for (const [bytes, seconds, expected] of table) {
    writeAt(packPath, bytes, 1_000_000_000 + seconds);
    assert.deepEqual(await runWorker(find, { packPath, allowedRoot: root }), [expected, 0]);
  }
});

test('workers that are terminated', async () => {
  const module = resolve(process.env.CORVENDA_TEST_BINARY ?? createRequire(import.meta.url).resolve('../lib/load.cjs'));
  const term = rowsOf(3000, 'x').map(([name]) => name).join('');
  const title = { raw: '火锅林小北', normalizedEnglish: 'hot pot' };
  const begin = "parentPort.postMessage('begins');";
  const table = [
    // Rounds and script. Where there is one round, the call would run for many seconds.
    [12, `for (let i = 0; i < 6; ++i) addon.warmSemanticRulePack(data.packs[i % 2]).catch(() => {});
      if (data.round % 2) await addon.warmSemanticRulePack(data.small); // so there are queued, running and done ones
      ${begin} for (;;) if (data.round % 3) await turn();`],
    [4, `const options = { ...data.packs[0], section: 'scene', term: data.term, mode: 'contains' };
      ${begin} for (;;) addon.lookupBinaryIndex(options);`],
    [4, `const cases = Array(10000).fill(data.title);
      ${begin} for (;;) addon.resolveSceneIntentBatch({ ...data.small, cases });`],
    [1, `const cases = Array(5e6).fill(data.title);
      ${begin} addon.resolveCelebrityBadgeBatch({ ...data.small, cases });`],
    [1, `const celebrityOverlay = Array(2e7).fill({ name: 'x' });
      ${begin} addon.resolveCelebrityBadgeBatch({ ...data.small, cases: [], celebrityOverlay });`],
    [30, `const require = createRequire('/');
      ${begin} for (;;) { delete require.cache[data.module]; require(data.module); }`],
  ];
  for (const [rounds, script] of table) {
    for (let round = 0; round < rounds; ++round) {
      const data = { packs: big, small, round, term, title, module };
      // In a function, because entering one is where the engine looks whether it has to end.
      const whole = `${script}\n (() => parentPort.postMessage('runs on'))();`;
      const after = rounds === 1 ? 200 : (round % 4) * 15;
      assert.deepEqual(await runWorker(whole, data, after), ['begins', 1], script);
    }
  }
  const after = 'parentPort.postMessage((await addon.warmSemanticRulePack(data)).prewarmed)';
  assert.deepEqual(await runWorker(after, small), [true, 0], 'the cache is sound and its lock is free');
});

test('workers that call and warm at once', async () => {
  const script = `const answers = [];
    for (let i = 0; i < 6; ++i) {
      const pack = data.packs[(data.number + i) % 2];
      const overlay = { overlayPackPath: data.small.packPath, overlayAllowedRoot: pack.allowedRoot };
      answers.push(addon.warmSemanticRulePack({ ...pack, ...overlay }));
      const { matches } = addon.lookupBinaryIndex({ ...pack, section: 'scene', term: 'x7 y7', mode: 'contains' });
      answers.push(matches.length, addon.extractSemanticFacets({ ...data.small, raw: 'a1' }).hits.length, await turn());
    }
    parentPort.postMessage((await Promise.all(answers)).map((answer) => answer?.prewarmed ?? answer).join());`;
  const answers = await Promise.all([0, 1, 2].map((number) => runWorker(script, { number, packs: big, small })));
  assert.deepEqual(answers, Array(3).fill([Array(6).fill('true,1,1,').join(), 0]));
});

test('a process that ends with warm-ups under way: by itself only after them', () => {
  const exit = 'process.exit(7)';
  const table = { [exit]: 7, [`setTimeout(() => ${exit}, 9)`]: 7, 'throw Error("mine")': 1, 'process.exitCode = 5': 5 };
  for (const [end, status] of Object.entries(table)) {
    const script = scriptOf(`for (let i = 0; i < 8; ++i) addon.warmSemanticRulePack(data[i % 2]); ${end};`, big);
    const child = spawnSync(process.execPath, ['--input-type=module', '--eval', script], { encoding: 'utf8' });
    assert.deepEqual([child.status, child.signal], [status, null], `${end}: ${child.stderr}`);
  }
});
