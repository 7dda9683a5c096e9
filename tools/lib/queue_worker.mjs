// What klrx worker does: takes part in runs, one at a time, because the native module keeps one pack in memory. The run that was
// announced first comes first. A run whose packs are not here, or are others, is left to other workers: none of its jobs is
// taken, and whoever leads it is told why.

import { basename, join } from 'node:path';
import { setTimeout as delay } from 'node:timers/promises';
import { answerAll, packsOf } from './answers.mjs';
import { answerPool } from './answer_pool.mjs';
import { no, Refusal } from './command_line.mjs';
import { changedAmong, identifyFile } from './identified_files.mjs';
import { loadAddon } from './native.mjs';
import { ledRuns, queueName, reportRefusal } from './queue.mjs';
import { versionOf } from './version.mjs';

const PAUSE = 1000; // milliseconds between two looks at the runs
// A job that takes its worker with it this often is given up: more likely it is to blame than they are.
const MAX_LOSSES = 5;

/** @typedef {import('./identified_files.mjs').IdentifiedFile} IdentifiedFile */

/**
 * Looks packs up by name and digest.
 * @param {string} folder
 * @returns {(pack: { name: string, sha256: string }) => Promise<IdentifiedFile>}
 */
function packFinder(folder) {
  /** @type {Map<string, IdentifiedFile>} */
  const known = new Map();
  return async ({ name, sha256 }) => {
    if (basename(name) !== name) throw no('the name of the pack is no name of a file');
    const path = join(folder, name);
    let file = known.get(path);
    if (!file || changedAmong([file])) {
      file = await identifyFile(path);
      known.set(path, file);
    }
    const shown = (digest) => `${digest.slice(0, 16)}…`;
    if (file.sha256 !== sha256) throw no(`${path}: its SHA-256 is ${shown(file.sha256)}, and the run is about ${shown(sha256)}`);
    return file;
  };
}

/**
 * A run in which this worker takes part.
 * @typedef {object} Part
 * @property {string} id of the run
 * @property {IdentifiedFile[]} sealed
 * @property {() => Promise<void>} leave once the jobs that were taken are done
 */

/**
 * @typedef {object} Worker
 * @property {import('./command_line.mjs').Io} io
 * @property {import('./queue.mjs').Queues} queues
 * @property {string} name
 * @property {number} jobs threads
 * @property {number} lease seconds after which the jobs of a worker that is gone are given to others
 * @property {(message: string) => void} warn
 * @property {number} answered chunks
 */

/**
 * Begins to take jobs.
 * @param {Worker} worker
 * @param {string} id
 * @param {IdentifiedFile[]} sealed
 * @returns {Promise<Part>}
 */
async function takeJobs(worker, id, sealed) {
  const { io, queues, name, jobs, lease, warn } = worker;
  const [pack, overlay] = sealed.map(({ path }) => path);
  const pool = await answerPool(io, packsOf(pack, { overlay }), jobs, sealed);
  const taker = new queues.bullmq.Worker(queueName(id), (job) => pool.run('packedPart', job.data), {
    connection: queues.redis,
    name,
    concurrency: 2 * jobs, // so that no thread waits for the next
    lockDuration: lease * 1000,
    stalledInterval: (lease * 1000) / 2,
    maxStalledCount: MAX_LOSSES,
  });
  taker.on('completed', () => { worker.answered += 1; });
  taker.on('failed', (job, error) => warn(`${job?.id}: ${error.message}`));
  taker.on('error', (error) => { if (!queues.isLost()) warn(error.message); });
  const leave = async () => {
    await taker.close(queues.isLost());
    await pool.close();
  };
  return { id, sealed, leave };
}

/** Opens packs once; one that was refused is so until its file changes. */
function packOpener(addon) {
  /** @type {Map<string, Refusal | undefined>} */
  const outcomes = new Map();
  return (sealed) => {
    const key = sealed.map(({ state }) => state).join();
    if (!outcomes.has(key)) {
      const [pack, overlay] = sealed.map(({ path }) => path);
      try {
        answerAll(addon, packsOf(pack, { overlay }), []);
        outcomes.set(key, undefined);
      } catch (error) {
        if (!(error instanceof Refusal)) throw error;
        outcomes.set(key, error);
      }
    }
    const refusal = outcomes.get(key);
    if (refusal) throw refusal;
  };
}

/**
 * Takes part in runs until the user ends it.
 * @param {Worker} worker
 * @param {string} folder of the packs
 * @param {Promise<unknown>} stopped
 * @param {(message: string) => void} tell
 */
export async function takePart(worker, folder, stopped, tell) {
  const { queues, warn } = worker;
  const findPack = packFinder(folder);
  const openPacks = packOpener(await loadAddon(worker.io));
  /** @type {Part | undefined} */
  let part;
  /** @type {Map<string, string>} */
  const refused = new Map(); // reasons that were told, by run

  const leave = async () => {
    const left = part;
    part = undefined;
    await left?.leave();
  };
  /** Goes on with a run or begins it; a refusal says why that is impossible here. */
  const enter = async ({ id, klrx, packs }) => {
    if (klrx !== versionOf()) throw no(`this is klrx ${versionOf()}, and the run is led by klrx ${klrx}`);
    const sealed = [];
    for (const pack of packs) sealed.push(await findPack(pack));
    if (part && part.id === id && !changedAmong(part.sealed)) return;
    openPacks(sealed);
    await leave();
    part = await takeJobs(worker, id, sealed);
    tell(`run ${id}: ${packs.map(({ name }) => name).join(' and ')}`);
  };
  const look = async () => {
    for (const run of await ledRuns(queues)) {
      try {
        await enter(run);
        if (refused.delete(run.id)) await reportRefusal(queues, run.id, worker.name);
        return;
      } catch (error) {
        if (!(error instanceof Refusal)) throw error;
        if (part?.id === run.id) await leave();
        if (refused.get(run.id) !== error.message) warn(`run ${run.id}: no part is taken: ${error.message}`);
        refused.set(run.id, error.message);
        await reportRefusal(queues, run.id, worker.name, error.message);
      }
    }
    await leave();
  };

  const ended = stopped.then(() => true);
  const endsBefore = (promise) => Promise.race([ended, promise.then(() => false)]);
  let looking;
  do looking = look();
  while (!await endsBefore(looking) && !await endsBefore(delay(PAUSE)));
  if (!queues.isLost()) await looking; // else it waits for the server
  await leave();
}
