// Calls at random, each held against its recorded outcome. This is also the script of worker threads and processes that make
// them, and then end in a given way while warm-ups are under way. Their data, which a process reads from a file:
// { worlds, seed, milliseconds, end, threads }. Without `end` they end by themselves, with nothing under way.
import { readFileSync } from 'node:fs';
import { setImmediate as turn } from 'node:timers/promises';
import { fileURLToPath } from 'node:url';
import { deserialize } from 'node:v8';
import { isMainThread, parentPort, Worker, workerData } from 'node:worker_threads';

import { makeDraw } from '../../bench/lib/random.mjs';
import { addon } from './addon.mjs';
import { outcomeOf, spelled } from './outcome.mjs';

const outcomeText = async (call) => JSON.stringify(await outcomeOf(addon, call), spelled);

/** Calls with their outcomes: [{ call, outcome }, …]. */
export async function recordCalls(calls) {
  const recorded = [];
  for (const call of calls) recorded.push({ call, outcome: await outcomeText(call) });
  return recorded;
}

/**
 * Goes from world to world, a list of recorded calls each, and makes a few calls of each, until the time is over. Warm-ups are
 * under way during the others. Throws if an outcome is not the recorded one; gives how often each function was called.
 */
export async function callAtRandom(worlds, { below }, milliseconds) {
  const counts = {};
  const begin = performance.now();
  do {
    const calls = worlds[below(worlds.length)];
    const from = below(calls.length);
    await Promise.all(calls.slice(from, from + 1 + below(8)).map(async ({ call, outcome }) => {
      const now = await outcomeText(call);
      if (now !== outcome) throw new Error(`${JSON.stringify(call, spelled)}\n  recorded ${outcome}\n  now      ${now}`);
      counts[call[0]] = (counts[call[0]] ?? 0) + 1;
    }));
    await turn();
  } while (performance.now() - begin < milliseconds);
  return counts;
}

const ends = {
  'by itself': () => {},
  'by process.exit': () => process.exit(7),
  'by an exception': () => { throw new Error('mine'); },
};
export const waysToEnd = Object.keys(ends);

/** A thread with the given data. */
export const startThread = (data) => new Worker(new URL(import.meta.url), { workerData: data });

async function run({ worlds, seed, milliseconds, end, threads = 0 }) {
  for (let i = 0; i < threads; ++i) startThread({ worlds, seed: seed + i, milliseconds: Infinity }).unref();
  parentPort?.postMessage('begins');
  const counts = await callAtRandom(worlds, makeDraw(seed), milliseconds);
  parentPort?.postMessage(counts);
  if (!end) return;
  const warmUps = worlds.flat().filter(({ call }) => call[0] === 'warmSemanticRulePack');
  for (let i = 0; i < 8; ++i) outcomeOf(addon, warmUps[i % warmUps.length].call);
  ends[end]();
}

if (isMainThread) {
  if (process.argv[1] === fileURLToPath(import.meta.url)) await run(deserialize(readFileSync(process.argv[2])));
} else if (workerData?.worlds) {
  await run(workerData);
}
