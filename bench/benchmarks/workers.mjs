// Batches in one worker, then in two at once, on one pack.
import { once } from 'node:events';
import { fileURLToPath } from 'node:url';
import { Worker } from 'node:worker_threads';

import { median } from '../lib/measure.mjs';

const script = fileURLToPath(new URL('../lib/batch_worker.mjs', import.meta.url));

/** Runs `count` workers for `ms` at once; gives what each did. */
async function runWorkers(workers, count, ms) {
  const busy = workers.slice(0, count);
  const done = busy.map((worker) => once(worker, 'message'));
  const startAt = Date.now() + 100;
  for (const worker of busy) worker.postMessage({ startAt, ms });
  return (await Promise.all(done)).map(([turn]) => turn);
}

const sum = (numbers) => numbers.reduce((total, number) => total + number, 0);
const rate = (turns) => sum(turns.map(({ titles, wall }) => titles / wall));
/** The rate that the same turns would have had on processors of their own: time spent waiting for one is taken out. */
const ownRate = (turns) => sum(turns.map(({ titles, wall, waiting }) => titles / (wall - waiting)));

export default async function run(addon, { binary, size, seconds }) {
  const workers = [0, 1].map(() => new Worker(script, { workerData: { binary, size } }));
  await Promise.all(workers.map((worker) => once(worker, 'message')));
  const rounds = [];
  for (let i = 0; i < 5; i += 1) {
    const one = await runWorkers(workers, 1, seconds * 1000);
    const two = await runWorkers(workers, 2, seconds * 1000);
    rounds.push({ measured: rate(two) / rate(one), own: ownRate(two) / ownRate(one),
      blocked: sum(two.map(({ wall, waiting, cpu }) => (wall - waiting - cpu) / wall)) / 2 });
  }
  await Promise.all(workers.map((worker) => worker.terminate()));
  const middle = (key) => median(rounds.map((round) => round[key]));
  return { measured: middle('measured'), own: middle('own'), blocked: middle('blocked') };
}
