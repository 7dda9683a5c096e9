// The addon in worker threads: one cache for all, and environments that end while work is under way. The main thread of this
// file never loads the addon, because the module would otherwise stay loaded whatever the workers do.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { test } from 'node:test';
import { setTimeout as delay } from 'node:timers/promises';
import { Worker } from 'node:worker_threads';

import { packBytes, root, writeAt, writeFile, writePack } from './support/packs.mjs';

/** A worker's script behind what all of them need: the addon, and what the test hands over. */
const scriptOf = (script, data) => `
  import { parentPort } from 'node:worker_threads';
  import { setImmediate as turn } from 'node:timers/promises';
  const { addon } = await import(${JSON.stringify(new URL('support/addon.mjs', import.meta.url).href)});
  const data = ${JSON.stringify(data)};
  ${script}`;

/** What a worker posts, and the status with which it ends: by itself, or terminated after so many milliseconds. */
async function runWorker(script, data, terminateAfter) {
  const worker = new Worker(new URL(`data:text/javascript,${encodeURIComponent(scriptOf(script, data))}`));
  const ended = once(worker, 'exit');
  const [message] = await once(worker, 'message');
  if (terminateAfter !== undefined) await delay(terminateAfter).then(() => worker.terminate());
  return [message, ...await ended];
}

const rowsOf = (count, tag) => Array.from({ length: count }, (_, i) => [`${tag}${i}`, 'k', 'd', '1', 'category', 'zh']);
// Loads of tens of milliseconds, in turns, so that none is a hit.
const big = ['x', 'y'].map((tag) => writePack({ sections: { scene: rowsOf(30_000, tag) } }));
const small = writePack({ sections: { scene: rowsOf(10, 'a'), facet: [['a1', 'd', 'k', '1', 'zh']] } });

test('workers one after the other share one cache', async () => {
  const packPath = writeFile('');
  const pack = packBytes({ sections: { scene: [['old', 'x']] } });
  const find = `try { parentPort.postMessage(addon.lookupBinaryIndex({ ...data, section: 'scene', term: 'old' }).matches.length); }
    catch (error) { parentPort.postMessage(error.message); }`;
  const rows = [[pack, 0, 1], [Buffer.alloc(pack.length), 0, 1], [Buffer.alloc(pack.length), 1, 'semantic rule-pack magic is invalid']];
  for (const [bytes, seconds, expected] of rows) {
    writeAt(packPath, bytes, 1_000_000_000 + seconds);
    assert.deepEqual(await runWorker(find, { packPath, allowedRoot: root }), [expected, 0]);
  }
});

test('workers that are terminated: with warm-ups queued, running and done; while a large result is built', async () => {
  const warm = `for (let i = 0; i < 6; ++i) addon.warmSemanticRulePack(data.packs[i % 2]).catch(() => {});
    if (data.round % 2) await addon.warmSemanticRulePack(data.packs[2]);
    parentPort.postMessage('started');
    for (;;) if (data.round % 3) await turn();`;
  const build = `parentPort.postMessage('started');
    for (;;) addon.lookupBinaryIndex({ ...data.packs[0], section: 'scene', term: data.term, mode: 'contains' });`;
  const term = rowsOf(3000, 'x').map(([name]) => name).join('');
  for (let round = 0; round < 16; ++round) {
    const data = { packs: [...big, small], round, term };
    assert.deepEqual(await runWorker(round < 12 ? warm : build, data, (round % 4) * 15), ['started', 1]);
  }
  const after = 'parentPort.postMessage((await addon.warmSemanticRulePack(data)).prewarmed)';
  assert.deepEqual(await runWorker(after, small), [true, 0], 'the cache is sound and its lock is free');
});

test('workers that call and warm at once', async () => {
  const script = `const answers = [];
    for (let i = 0; i < 6; ++i) {
      const pack = data.packs[(data.number + i) % 2];
      answers.push(addon.warmSemanticRulePack({ ...pack, overlayPackPath: data.small.packPath, overlayAllowedRoot: pack.allowedRoot }));
      answers.push(addon.lookupBinaryIndex({ ...pack, section: 'scene', term: 'x7 y7', mode: 'contains' }).matches.length);
      answers.push(addon.extractSemanticFacets({ ...data.small, raw: 'a1' }).hits.length, await turn());
    }
    parentPort.postMessage((await Promise.all(answers)).map((answer) => answer?.prewarmed ?? answer).join());`;
  const answers = await Promise.all([0, 1, 2].map((number) => runWorker(script, { number, packs: big, small })));
  assert.deepEqual(answers, Array(3).fill([Array(6).fill('true,1,1,').join(), 0]));
});

test('a process that ends with warm-ups under way: by itself only behind them', () => {
  const exit = 'process.exit(7)';
  for (const [end, status] of [[exit, 7], [`setTimeout(() => ${exit}, 30)`, 7], ['throw new Error("mine")', 1], ['process.exitCode = 5', 5]]) {
    const script = scriptOf(`for (let i = 0; i < 8; ++i) addon.warmSemanticRulePack(data[i % 2]); ${end};`, big);
    const child = spawnSync(process.execPath, ['--input-type=module', '--eval', script], { encoding: 'utf8' });
    assert.deepEqual([child.status, child.signal], [status, null], `${end}: ${child.stderr}`);
  }
});
