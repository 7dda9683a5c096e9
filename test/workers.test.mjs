// The addon in worker threads: one cache for all, and environments that end while work is under way. The main thread of this
// file never loads the addon, because the module would otherwise stay loaded whatever the workers do.
import assert from 'node:assert/strict';
import { spawnSync } from 'node:child_process';
import { once } from 'node:events';
import { test } from 'node:test';
import { Worker } from 'node:worker_threads';

import { packBytes, root, writeAt, writeFile, writePack } from './support/packs.mjs';

/** The start of every script: the addon, and what the test hands over. */
const prelude = (data) => `
  import { parentPort } from 'node:worker_threads';
  import { setImmediate as turn } from 'node:timers/promises';
  const { addon } = await import(${JSON.stringify(new URL('support/addon.mjs', import.meta.url).href)});
  const data = ${JSON.stringify(data)};
`;
const startWorker = (script, data) =>
  new Worker(new URL(`data:text/javascript,${encodeURIComponent(prelude(data) + script)}`));

/** What the worker posts, once it has ended by itself. */
async function runWorker(script, data) {
  const worker = startWorker(script, data);
  const ended = once(worker, 'exit');
  const [message] = await once(worker, 'message');
  assert.deepEqual(await ended, [0]);
  return message;
}

const rowsOf = (count, tag) => Array.from({ length: count }, (_, i) => [`${tag}${i}`, 'k', 'd', '1', 'category', 'zh']);
// Loads of tens of milliseconds, in turns, so that none is a hit.
const big = ['x', 'y'].map((tag) => writePack({ sections: { scene: rowsOf(100_000, tag), human: rowsOf(20_000, tag) } }));
const small = writePack({ sections: { scene: rowsOf(10, 'a'), facet: [['a1', 'd', 'k', '1', 'zh']] } });

test('three workers one after the other share one cache', async () => {
  const packPath = writeFile('');
  const pack = packBytes({ sections: { scene: [['old', 'x']] } });
  const find = `parentPort.postMessage(addon.lookupBinaryIndex({ ...data, section: 'scene', term: 'old' }).matches.length)`;
  writeAt(packPath, pack);
  assert.equal(await runWorker(find, { packPath, allowedRoot: root }), 1);
  writeAt(packPath, Buffer.alloc(pack.length));
  assert.equal(await runWorker(find, { packPath, allowedRoot: root }), 1, 'the second worker reads no file');
  assert.equal(await runWorker(find, { packPath, allowedRoot: root }), 1, 'nor does the third');
  writeAt(packPath, Buffer.alloc(pack.length), 1_000_000_001);
  const fail = `try { ${find} } catch (error) { parentPort.postMessage(error.message) }`;
  assert.equal(await runWorker(fail, { packPath, allowedRoot: root }), 'semantic rule-pack magic is invalid');
});

test('workers that are terminated with warm-ups queued, running and done', async () => {
  for (let round = 0; round < 20; ++round) {
    const worker = startWorker(
      `for (let i = 0; i < 6; ++i) addon.warmSemanticRulePack(data.packs[i % 2]).catch(() => {});
       if (data.round % 2) await addon.warmSemanticRulePack(data.packs[2]);
       parentPort.postMessage('queued');
       for (;;) if (data.round % 3) await turn();`,
      { packs: [...big, small], round },
    );
    const ended = once(worker, 'exit');
    assert.deepEqual(await once(worker, 'message'), ['queued']);
    if (round % 4 === 3) await new Promise((resolve) => setTimeout(resolve, round * 5));
    await worker.terminate();
    assert.deepEqual(await ended, [1]);
  }
  const after = `parentPort.postMessage((await addon.warmSemanticRulePack(data)).prewarmed)`;
  assert.equal(await runWorker(after, small), true, 'the cache is sound and its lock is free');
});

test('workers that are terminated while a large result is built', async () => {
  const term = rowsOf(3000, 'x').map(([name]) => name).join('');
  for (let round = 0; round < 4; ++round) {
    const worker = startWorker(
      `parentPort.postMessage('started');
       for (;;) addon.lookupBinaryIndex({ ...data.pack, section: 'scene', term: data.term, mode: 'contains' });`,
      { pack: big[0], term },
    );
    const ended = once(worker, 'exit');
    await once(worker, 'message');
    await new Promise((resolve) => setTimeout(resolve, 30 * round));
    await worker.terminate();
    assert.deepEqual(await ended, [1]);
  }
});

test('workers that call and warm at once', async () => {
  const script = `
    const warm = [];
    let hits = 0;
    for (let i = 0; i < data.rounds; ++i) {
      const pack = data.packs[(data.number + i) % 2];
      warm.push(addon.warmSemanticRulePack({ ...pack, overlayPackPath: data.small.packPath, overlayAllowedRoot: pack.allowedRoot }));
      hits += addon.lookupBinaryIndex({ ...pack, section: 'scene', term: 'x7 y7', mode: 'contains' }).matches.length;
      hits += addon.extractSemanticFacets({ ...data.small, raw: 'a1' }).hits.length;
      await turn();
    }
    const results = await Promise.all(warm);
    parentPort.postMessage([hits, results.filter((result) => result.prewarmed).length]);`;
  const rounds = 6;
  const answers = await Promise.all([0, 1, 2].map((number) => runWorker(script, { number, rounds, packs: big, small })));
  for (const answer of answers) assert.deepEqual(answer, [2 * rounds, rounds]);
});

test('a process that ends with warm-ups under way', () => {
  const rows = [
    ['process.exit', 'process.exit(7);', 7],
    ['process.exit, a little later', 'setTimeout(() => process.exit(7), 30);', 7],
    ['an exception that nobody catches', 'throw new Error("mine");', 1],
    ['the end of the script waits for the work', 'process.exitCode = 5;', 5],
  ];
  for (const [name, end, status] of rows) {
    const script = `${prelude(big)} for (let i = 0; i < 8; ++i) addon.warmSemanticRulePack(data[i % 2]); ${end}`;
    const child = spawnSync(process.execPath, ['--input-type=module', '--eval', script], { encoding: 'utf8' });
    assert.deepEqual([child.status, child.signal], [status, null], `${name}: ${child.stderr}`);
  }
});
