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
const AT_ONCE = 16; // chunks sent, and results taken, at a time

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

/** @typedef {Map<number, import('./titles.mjs').LineChunk>} Outside chunks on the server, which have no part yet, by number */

/** @param {import('bullmq').Queue} queue */
const send = (queue, chunks) => queue.addBulk(chunks.map((chunk) => ({ name: 'chunk', data: chunk, opts: jobOptions(chunk) })));

/**
 * Sends what the server has forgotten, as it may if it was started anew.
 * @param {import('bullmq').Queue} queue
 * @param {Outside} outside
 */
async function sendForgotten(queue, outside) {
  const states = await Promise.all(Array.from(outside.keys(), (number) => queue.getJobState(jobId(number))));
  await send(queue, [...outside.values()].filter((_, i) => states[i] === 'unknown'));
}

/**
 * Sends chunks until enough are on the server, some at a time.
 * @param {import('bullmq').Queue} queue
 * @param {Outside} outside
 * @param {{ chunks: AsyncGenerator<import('./titles.mjs').LineChunk>, ended: boolean }} input
 * @param {number} ahead
 * @returns {Promise<number>} how many were sent
 */
async function sendMore(queue, outside, input, ahead) {
  const taken = [];
  while (!input.ended && taken.length < AT_ONCE && outside.size < ahead) {
    const { value, done } = await input.chunks.next();
    input.ended = done === true;
    if (!value) break;
    outside.set(value.number, value);
    taken.push(value);
  }
  if (taken.length > 0) await send(queue, taken);
  return taken.length;
}

/**
 * Writes parts that have come back.
 * @param {import('bullmq').Queue} queue
 * @param {Outside} outside
 * @param {import('./bulk_parts.mjs').Work} work
 * @returns {Promise<number>} how many have
 */
async function takeResults(queue, outside, { folder, parts, made }) {
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
}

/** Ends the run if there is a chunk that nobody could do. @param {import('bullmq').Queue} queue */
async function checkFailures(queue) {
  const [job] = await queue.getJobs(['failed'], 0, 0);
  if (!job?.id) return;
  const hint = 'the parts stay; the same command goes on after them';
  throw no(`the chunk from line ${job.data.line} was given up: ${printable(job.failedReason)}`, { hint });
}

/**
 * Leads a run until each chunk has a part.
 * @param {import('./queue.mjs').Queues} queues
 * @param {import('bullmq').Queue} queue
 * @param {import('./bulk_parts.mjs').Work} work
 * @param {number} ahead chunks on the server at a time
 * @param {(message: string) => void} warn
 */
async function lead(queues, queue, work, ahead, warn) {
  const { run, sealed, missing } = work;
  const announcement = { id: runId(run), klrx: run.klrx, packs: sealed.map(({ name, sha256 }) => ({ name, sha256 })) };
  /** @type {Outside} */
  const outside = new Map();
  const told = new Set();
  const tellOnce = (message) => {
    if (!told.has(message)) warn(message);
    told.add(message);
  };
  const tellRefusals = async () => {
    for (const refusal of await refusals(queues, announcement.id)) tellOnce(refusal);
  };
  let rounds = 0;
  let roundAt = 0;
  const makeRound = async () => {
    await announceRun(queues, announcement);
    await tellRefusals();
    if (rounds === 2 && await queue.getWorkersCount() === 0) tellOnce('no worker takes part yet; klrx worker --help says how one is started');
    await sendForgotten(queue, outside);
    rounds += 1;
    roundAt = performance.now() + ROUND;
  };

  await queue.clean(0, 0, 'failed'); // what nobody could do in an earlier run gets another chance
  const input = { chunks: missing(), ended: false };
  while (!input.ended || outside.size > 0) {
    if (performance.now() >= roundAt) await makeRound();
    await checkFailures(queue);
    const results = await takeResults(queue, outside, work);
    if (await sendMore(queue, outside, input, ahead) + results === 0) await delay(PAUSE);
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
