// A bulk run whose parts are made by workers elsewhere. Chunks go out as jobs and parts come back as their results; only some
// are on the server at a time, so that neither it nor this process has to hold much.

import { setTimeout as delay } from 'node:timers/promises';
import { inflateRawSync } from 'node:zlib';
import { writePart } from './bulk_parts.mjs';
import { no } from './command_line.mjs';
import { announceRun, dropRun, queueName, refusals, runId, withdrawRun } from './queue.mjs';
import { printable } from './terminal.mjs';

const ATTEMPTS = 5; // of a job that a worker could not do
const RETRY_DELAY = 1000; // milliseconds
const PAUSE = 20; // milliseconds between two looks at a queue in which nothing happens
const ROUND = 2000; // milliseconds between two announcements of the run
const FAREWELL = 3000; // milliseconds in which workers leave a run that is over
const AT_ONCE = 16; // results taken from the server at a time

const jobId = (number) => `chunk-${number}`;
const numberOf = (id) => Number(id.slice('chunk-'.length));

/**
 * @param {import('./titles.mjs').LineChunk} chunk
 * @returns {import('bullmq').BulkJobOptions}
 */
const jobOptions = ({ number }) => ({ jobId: jobId(number), attempts: ATTEMPTS, backoff: { type: 'fixed', delay: RETRY_DELAY } });

/** The part that a worker gave back; empty if it is none. */
function unpacked(result) {
  try {
    return inflateRawSync(Buffer.from(result, 'base64'));
  } catch {
    return Buffer.alloc(0);
  }
}

/**
 * Leads a run until each chunk has a part.
 * @param {import('./queue.mjs').Queues} queues
 * @param {import('bullmq').Queue} queue
 * @param {import('./bulk_parts.mjs').Work} work
 * @param {number} ahead chunks on the server at a time
 * @param {(message: string) => void} warn
 */
async function lead(queues, queue, { run, sealed, folder, parts, missing, made }, ahead, warn) {
  const announcement = { id: runId(run), klrx: run.klrx, packs: sealed.map(({ name, sha256 }) => ({ name, sha256 })) };
  /** @type {Map<number, import('./titles.mjs').LineChunk>} */
  const outside = new Map(); // chunks on the server, without a part
  const told = new Set();
  let rounds = 0;
  let roundAt = 0;
  const tellOnce = (message) => {
    if (!told.has(message)) warn(message);
    told.add(message);
  };
  const send = (chunks) => queue.addBulk(chunks.map((chunk) => ({ name: 'chunk', data: chunk, opts: jobOptions(chunk) })));

  const tellRefusals = async () => {
    for (const refusal of await refusals(queues, announcement.id)) tellOnce(refusal);
  };
  const makeRound = async () => {
    await announceRun(queues, announcement);
    await tellRefusals();
    if (rounds === 2 && (await queue.getWorkersCount()) === 0) tellOnce('no worker takes part yet; klrx worker --help says how one is started');
    rounds += 1;
    // A server that was started anew may have forgotten some.
    const states = await Promise.all(Array.from(outside.keys(), (number) => queue.getJobState(jobId(number))));
    await send([...outside.values()].filter((_, i) => states[i] === 'unknown'));
  };
  const takeResults = async () => {
    const ids = await queue.getRanges(['completed'], 0, AT_ONCE - 1, true);
    for (const job of await Promise.all(ids.map((id) => queue.getJob(id)))) {
      if (!job?.id) continue; // somebody else leads the same run
      const number = numberOf(job.id);
      try {
        if (!parts.has(number)) made(number, writePart(folder, number, unpacked(job.returnvalue)));
      } finally {
        await queue.remove(job.id); // also if it is no part, so that it is done again
      }
      outside.delete(number);
    }
    return ids.length;
  };
  const input = { chunks: missing(), ended: false };
  const takeChunks = async () => {
    const taken = [];
    while (!input.ended && taken.length < AT_ONCE && outside.size < ahead) {
      const { value, done } = await input.chunks.next();
      input.ended = done === true;
      if (!value) break;
      outside.set(value.number, value);
      taken.push(value);
    }
    if (taken.length > 0) await send(taken);
    return taken.length;
  };

  // Those that nobody could do in an earlier run get another chance.
  await queue.clean(0, 0, 'failed');
  while (!input.ended || outside.size > 0) {
    if (performance.now() >= roundAt) {
      await makeRound();
      roundAt = performance.now() + ROUND;
    }
    const [failed] = await queue.getJobs(['failed'], 0, 0);
    if (failed?.id) {
      throw no(`chunk ${numberOf(failed.id)} was given up: ${printable(failed.failedReason)}`, { hint: 'the parts stay; the same command goes on after them' });
    }
    const results = await takeResults();
    if (await takeChunks() + results === 0) await delay(PAUSE);
  }
  await tellRefusals();
}

/**
 * Has the parts of a run made by workers.
 * @param {import('./queue.mjs').Queues} queues
 * @param {import('./bulk_parts.mjs').Work} work
 * @param {{ ahead: number, restart?: boolean }} options `restart` drops what an earlier run has left on the server
 * @param {(message: string) => void} warn
 */
export async function answerByQueue(queues, work, { ahead, restart }, warn) {
  const id = runId(work.run);
  try {
    if (restart) await dropRun(queues, id);
    const queue = new queues.bullmq.Queue(queueName(id), { connection: queues.redis, streams: { events: { maxLen: AT_ONCE } } });
    queue.on('error', () => {}); // of the connection, which is watched as such
    await lead(queues, queue, work, ahead, warn);
    await withdrawRun(queues, id);
    // A worker that is still there when the queue goes may leave something in it.
    for (let waited = 0; waited < FAREWELL && await queue.getWorkersCount() > 0; waited += PAUSE) await delay(PAUSE);
    await queue.close();
    await dropRun(queues, id);
  } catch (error) {
    throw error.name === 'ReplyError' ? no(`${queues.name}: ${error.message}`) : error;
  }
}
