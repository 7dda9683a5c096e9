// Threads that answer titles. What they do is in answer_worker.mjs.

import { packPathsOf } from './answers.mjs';
import { no } from './command_line.mjs';
import { ask } from './native.mjs';

export const MAX_JOBS = 999;

/**
 * @typedef {object} AnswerPool
 * @property {(what: 'answers' | 'packedPart' | 'writtenPart', task: any) => Promise<any>} run a function of answer_worker.mjs; what it
 *   refuses is the answer
 * @property {() => Promise<void>} close once the tasks under way are done
 */

/**
 * @param {import('./command_line.mjs').Io} io
 * @param {import('./answers.mjs').Packs} packs
 * @param {number} jobs threads
 * @param {import('./identified_files.mjs').IdentifiedFile[]} [sealed] what the packs have to be all the time
 * @returns {Promise<AnswerPool>}
 */
export async function answerPool(io, packs, jobs, sealed = []) {
  const { Piscina } = await import('piscina'); // whoever has no use for threads does not wait for it
  const pool = new Piscina({
    filename: new URL('./answer_worker.mjs', import.meta.url).href,
    minThreads: jobs,
    maxThreads: jobs,
    workerData: { addonUrl: io.addonUrl, packs, sealed },
  });
  /** @type {Set<Promise<any>>} */
  const running = new Set();
  return {
    run: async (name, task) => {
      const reply = pool.run(task, { name });
      running.add(reply);
      const { value, refusal, packRefusal } = await reply.finally(() => running.delete(reply));
      if (packRefusal !== undefined) ask(() => { throw new Error(packRefusal); }, packs.allowedRoot, packPathsOf(packs));
      if (refusal !== undefined) throw no(refusal);
      return value;
    },
    close: async () => {
      // A reply that arrives at a pool whose threads are being ended is an error event, which nobody can catch.
      await Promise.allSettled(running);
      await pool.destroy();
    },
  };
}

/**
 * Does a task for each item, some at the same time. Items are asked for when there is room, so there may be any number.
 * @template Item
 * @param {AsyncIterable<Item>} items
 * @param {number} limit tasks at a time
 * @param {(item: Item) => Promise<void>} task whose first failure ends it all
 */
export async function forEachOf(items, limit, task) {
  /** @type {Set<Promise<void>>} */
  const running = new Set();
  let failed = false;
  let failure;
  for await (const item of items) {
    const end = task(item)
      .catch((error) => { if (!failed) [failed, failure] = [true, error]; })
      .finally(() => running.delete(end));
    running.add(end);
    if (running.size >= limit) await Promise.race(running);
    if (failed) break;
  }
  await Promise.all(running);
  if (failed) throw failure;
}
