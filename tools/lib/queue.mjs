// The job queue between klrx bulk and klrx worker: BullMQ on Redis.
//
// Each run has a queue of its own, named after all that its output depends on, in which chunk 17 is the job "chunk-17": what is
// added twice is there once. Runs are announced in one hash, so that workers find them:
//
//   klrx:runs              field: id of the run, value: `Announcement` as JSON
//   klrx:refusals:<id>     field: name of a worker, value: why it takes no part

import { createHash } from 'node:crypto';
import { misuse, no } from './command_line.mjs';
import { printable } from './terminal.mjs';

export const QUEUE_URL = 'redis://[user:password@]host[:port][/database], or rediss:// for TLS';

const RUNS = 'klrx:runs';
const refusalsOf = (id) => `klrx:refusals:${id}`;
const ALIVE = 30; // seconds for which a run counts as being led after its last announcement
const FORGOTTEN = 7 * 24 * 3600; // seconds after which nobody will ask for what is left of a run
const MAX_RECONNECT_DELAY = 2000; // milliseconds
const SILENCE = 30_000; // milliseconds after which a server that does not answer counts as lost

/**
 * What a worker has to know of a run.
 * @typedef {object} Announcement
 * @property {string} id
 * @property {string} klrx version
 * @property {{ name: string, sha256: string }[]} packs the pack, and a patch that is laid over it
 * @property {number} since when it was announced first, in seconds of the server's clock
 * @property {number} seen when it was last
 */

/**
 * @typedef {object} QueueTools
 * @property {typeof import('bullmq')} bullmq
 * @property {typeof import('ioredis').Redis} Redis
 */

/** A part of a URL as it is meant. */
function decoded(text) {
  try {
    return decodeURIComponent(text);
  } catch {
    throw misuse(`--queue is ${QUEUE_URL}`);
  }
}

/**
 * @param {string} text
 * @returns {{ options: import('ioredis').RedisOptions, name: string }} the name has no password
 */
export function readQueueUrl(text) {
  const url = URL.canParse(text) ? new URL(text) : undefined;
  const [, database] = /^\/?(\d*)$/.exec(url?.pathname ?? '') ?? [];
  if (!url || !['redis:', 'rediss:'].includes(url.protocol) || url.hostname === '' || database === undefined || url.search !== '') {
    throw misuse(`--queue is ${QUEUE_URL}`);
  }
  const { hostname } = url;
  const port = Number(url.port || 6379);
  const [username, password] = [url.username, url.password].map(decoded);
  return {
    options: {
      host: hostname.replace(/^\[|\]$/g, ''),
      port,
      db: Number(database),
      username: username || undefined,
      password: password || undefined,
      ...(url.protocol === 'rediss:' && { tls: {} }),
    },
    name: `${url.protocol}//${hostname}:${port}${database === '' ? '' : `/${database}`}`,
  };
}

/**
 * @param {import('./command_line.mjs').Io} io
 * @returns {Promise<QueueTools>}
 */
async function loadQueueTools(io) {
  try {
    return await io.loadQueueTools();
  } catch (error) {
    if (error.code !== 'ERR_MODULE_NOT_FOUND') throw error;
    throw no('a queue needs the packages bullmq and ioredis, which are not installed', { hint: 'npm install bullmq ioredis' });
  }
}

/**
 * @typedef {object} Queues
 * @property {import('ioredis').Redis} redis
 * @property {typeof import('bullmq')} bullmq
 * @property {string} name of the server, without a password
 * @property {() => boolean} isLost whether the server is away
 * @property {() => void} close
 */

/** Gives a connection up that is there by name alone: nothing tells of a machine or a network that has gone. */
function watchAnswers(redis) {
  let asked = false;
  return setInterval(async () => {
    if (asked || redis.status !== 'ready') return;
    asked = true;
    const giveUp = setTimeout(() => redis.disconnect(true), SILENCE).unref();
    await redis.ping().catch(() => {});
    clearTimeout(giveUp);
    asked = false;
  }, SILENCE).unref();
}

/**
 * Connects to a server. Once connected, whatever is asked waits until the server is there again.
 * @param {import('./command_line.mjs').Io} io
 * @param {string} url
 * @param {(message: string) => void} warn of a connection that is lost
 * @returns {Promise<Queues>}
 */
export async function openQueues(io, url, warn) {
  const { options, name } = readQueueUrl(url);
  const { bullmq, Redis } = await loadQueueTools(io);
  let connected = false;
  let closed = false;
  let lost = false;
  let reason = '';
  const redis = new Redis({
    ...options,
    lazyConnect: true,
    maxRetriesPerRequest: null,
    retryStrategy: (times) => (connected ? Math.min(times * 100, MAX_RECONNECT_DELAY) : null),
  });
  redis.on('error', (/** @type {NodeJS.ErrnoException} */ error) => { reason = error.message || error.code || ''; });
  redis.on('close', () => {
    if (connected && !closed && !lost) warn(`${name}: the connection is lost${reason && ` (${reason})`}; it is tried again`);
    lost = true;
  });
  redis.on('ready', () => {
    if (lost) warn(`${name}: connected again`);
    lost = false;
    reason = '';
  });
  try {
    await redis.connect();
    await redis.ping();
  } catch (error) {
    redis.disconnect();
    throw no(`${name}: cannot be reached: ${reason || error.message}`);
  }
  connected = true;
  const watch = watchAnswers(redis);
  return {
    redis,
    bullmq,
    name,
    isLost: () => lost,
    close() {
      closed = true;
      clearInterval(watch);
      redis.disconnect();
    },
  };
}

/** The identity of a run. @param {import('./bulk_parts.mjs').Run} run */
export const runId = (run) => createHash('sha256').update(JSON.stringify(run)).digest('hex').slice(0, 16);

/** The name of a run's queue. @param {string} id */
export const queueName = (id) => `klrx-${id}`;

/** Seconds of the server's clock, which all agree on. */
const secondsOf = async (redis) => Number((await redis.time())[0]);

/** @returns {Promise<Announcement[]>} the first announced first */
async function announced(redis) {
  const runs = Object.values(await redis.hgetall(RUNS)).map((text) => JSON.parse(text));
  return runs.sort((a, b) => a.since - b.since || (a.id < b.id ? -1 : 1));
}

/**
 * Tells workers of a run, which has to be done again before `ALIVE` seconds are over.
 * @param {Queues} queues
 * @param {{ id: string, klrx: string, packs: { name: string, sha256: string }[] }} run
 */
export async function announceRun({ redis }, run) {
  const seen = await secondsOf(redis);
  const before = await redis.hget(RUNS, run.id);
  await redis.hset(RUNS, run.id, JSON.stringify({ ...run, since: before ? JSON.parse(before).since : seen, seen }));
}

/**
 * The runs that somebody leads. What is left of those that nobody has led for a week is removed.
 * @param {Queues} queues
 * @returns {Promise<Announcement[]>} the first announced first
 */
export async function ledRuns(queues) {
  const [now, runs] = await Promise.all([secondsOf(queues.redis), announced(queues.redis)]);
  for (const { id, seen } of runs) if (now - seen > FORGOTTEN) await dropRun(queues, id);
  return runs.filter(({ seen }) => now - seen <= ALIVE);
}

/**
 * Tells workers that a run is over.
 * @param {Pick<Queues, 'redis'>} queues
 * @param {string} id
 */
export async function withdrawRun({ redis }, id) {
  await redis.hdel(RUNS, id);
}

/**
 * Removes all of a run from the server.
 * @param {Queues} queues
 * @param {string} id
 */
export async function dropRun({ redis, bullmq }, id) {
  await withdrawRun({ redis }, id);
  await redis.del(refusalsOf(id));
  const queue = new bullmq.Queue(queueName(id), { connection: redis, skipMetasUpdate: true });
  queue.on('error', () => {}); // of the connection, which is watched as such
  await queue.obliterate({ force: true });
  await queue.close();
}

/**
 * Tells whoever leads a run why a worker takes no part, or, without a reason, that it does.
 * @param {Queues} queues
 * @param {string} id
 * @param {string} worker
 * @param {string} [reason]
 */
export async function reportRefusal({ redis }, id, worker, reason) {
  if (reason === undefined) return void await redis.hdel(refusalsOf(id), worker);
  await redis.hset(refusalsOf(id), worker, reason);
  await redis.expire(refusalsOf(id), FORGOTTEN);
}

/**
 * @param {Queues} queues
 * @param {string} id
 * @returns {Promise<string[]>} a sentence for each worker that takes no part
 */
export async function refusals({ redis }, id) {
  return Object.entries(await redis.hgetall(refusalsOf(id))).map(([worker, reason]) => printable(`worker ${worker} takes no part: ${reason}`));
}
