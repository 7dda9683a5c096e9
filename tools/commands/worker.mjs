// klrx worker: takes part in the runs of klrx bulk --queue.

import { availableParallelism, hostname } from 'node:os';
import { MAX_JOBS } from '../lib/answer_pool.mjs';
import { countOf, misuse, no, readCount } from '../lib/command_line.mjs';
import { isDirectory } from '../lib/files.mjs';
import { openQueues, QUEUE_URL } from '../lib/queue.mjs';
import { takePart } from '../lib/queue_worker.mjs';

const MAX_LEASE = 3600;

/** @param {import('../lib/command_line.mjs').Call} call */
async function run({ values, positionals, io, warn, tell }) {
  if (positionals.length > 0) throw misuse(`worker takes no ${positionals[0]}; packs are given with --packs`);
  if (values.queue === undefined) throw misuse('worker needs --queue URL');
  if (values.packs === undefined) throw misuse('worker needs --packs DIR');
  const jobs = readCount('jobs', values.jobs ?? String(availableParallelism()), MAX_JOBS);
  const lease = readCount('lease', values.lease, MAX_LEASE);
  if (!isDirectory(values.packs)) throw no(`${values.packs}: is no directory`);
  const queues = await openQueues(io, values.queue, warn);
  const worker = { io, queues, name: `${hostname()}:${process.pid}`, jobs, lease, warn, answered: 0 };
  const say = (message) => { if (!values.json) tell(`klrx: ${message}\n`); };
  say(`worker ${worker.name} at ${queues.name} with ${countOf(jobs, 'thread')}; Ctrl+C ends it`);
  try {
    await takePart(worker, values.packs, io.untilStopped(queues.name), say);
  } finally {
    queues.close();
  }
  return { report: { worker: worker.name, chunks: worker.answered }, text: `${countOf(worker.answered, 'chunk')} answered\n` };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const worker = {
  summary: 'do the work of klrx bulk --queue, on any number of machines',
  usage: '--queue URL --packs DIR [options]',
  about: 'A worker takes part in a run if DIR has a pack of the same name with the same SHA-256; otherwise it says why not, here and '
    + 'where klrx bulk runs, and leaves the work to others. It needs nothing else: titles come and answers go through the queue. '
    + 'It runs until it is ended. When it is killed or its machine fails, others do its work again.\n'
    + 'The packages bullmq and ioredis have to be installed, and a Redis server has to run; docs/scale.md says more.',
  options: {
    queue: { type: 'string', value: 'URL', help: QUEUE_URL },
    packs: { type: 'string', value: 'DIR', help: 'where the packs are' },
    jobs: { type: 'string', value: 'N', help: 'worker threads; as many as there are processors by default' },
    lease: { type: 'string', value: 'S', default: '30', help: 'seconds after which the work of a worker that is gone is given to others; 30 by default' },
  },
  examples: [['on each machine', 'klrx worker --queue redis://localhost --packs packs']],
  run,
};
