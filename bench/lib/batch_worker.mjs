// A worker of the benchmark "workers": resolves batches from a given moment on, for a given time.
import { createRequire } from 'node:module';
import { resolve } from 'node:path';
import { parentPort, workerData } from 'node:worker_threads';

import { lexiconOf } from './lexicons.mjs';
import { threadClock } from './measure.mjs';

const addon = createRequire(import.meta.url)(workerData.binary ? resolve(workerData.binary) : '../../lib/index.cjs');
const { pack, cases } = lexiconOf({ size: workerData.size });
const options = { ...pack, cases: cases.slice(0, 1000) };
for (let i = 0; i < 20; i += 1) addon.resolveSceneIntentBatch(options);

parentPort.on('message', ({ startAt, ms }) => {
  while (Date.now() < startAt);
  const before = threadClock();
  let titles = 0;
  while (Date.now() < startAt + ms) titles += addon.resolveSceneIntentBatch(options).count;
  const after = threadClock();
  const [cpu, waiting, wall] = ['cpu', 'waiting', 'wall'].map((key) => after[key] - before[key]);
  parentPort.postMessage({ titles, cpu, waiting, wall });
});
parentPort.postMessage('ready');
