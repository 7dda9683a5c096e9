// klrx bulk: what a pack says of a catalogue, as a file.

import { availableParallelism } from 'node:os';
import { dirname, resolve } from 'node:path';
import { performance } from 'node:perf_hooks';
import { noCounts, summaryOf } from '../lib/answered_lines.mjs';
import { answerPool, forEachOf, MAX_JOBS } from '../lib/answer_pool.mjs';
import { answering, OVERLAY, packPathsOf, packsOf } from '../lib/answers.mjs';
import { answerByQueue } from '../lib/bulk_queue.mjs';
import { mergedParts, openParts, removeParts } from '../lib/bulk_parts.mjs';
import { ANSWER_IS_NO, choiceOf, countOf, DONE, misuse, no, readCount } from '../lib/command_line.mjs';
import { isDirectory } from '../lib/files.mjs';
import { changedAmong, identifyFile } from '../lib/identified_files.mjs';
import { openQueues, QUEUE_URL, readQueueUrl } from '../lib/queue.mjs';
import { checkOutput, FORCE, writeOutput } from '../lib/output.mjs';
import { FORMATS, readChunks } from '../lib/titles.mjs';
import { versionOf } from '../lib/version.mjs';

const MAX_CHUNK = 10000; // of the native module
const DEFAULT_AHEAD = 200;
const MAX_AHEAD = 10000;
const LINE_FEED = 10;

function readOptions({ values, positionals }) {
  if (positionals.length !== 2) throw misuse('bulk needs PACK and INPUT');
  if (values.out === undefined) throw misuse('bulk needs --out FILE');
  if (positionals[1] === '-') throw misuse('bulk reads its input more than once; it takes a file, not standard input');
  if (values.queue === undefined && values.ahead !== undefined) throw misuse('--ahead goes with --queue');
  if (values.queue !== undefined) {
    if (values.jobs !== undefined) throw misuse('with --queue others do the work; --jobs is an option of klrx worker');
    readQueueUrl(values.queue);
  }
  return {
    format: values.format === undefined ? undefined : choiceOf('format', values.format, FORMATS),
    jobs: readCount('jobs', values.jobs ?? String(availableParallelism()), MAX_JOBS),
    chunk: readCount('chunk', values.chunk, MAX_CHUNK),
    ahead: readCount('ahead', values.ahead ?? String(DEFAULT_AHEAD), MAX_AHEAD),
  };
}

/** The input and its lines. */
async function survey(path) {
  let lines = 1;
  const input = await identifyFile(path, (block) => {
    for (let at = block.indexOf(LINE_FEED); at >= 0; at = block.indexOf(LINE_FEED, at + 1)) lines += 1;
  });
  return { input, lines };
}

/**
 * Threads of this process make the parts.
 * @param {import('../lib/command_line.mjs').Io} io
 * @param {import('../lib/bulk_parts.mjs').Work} work
 * @param {number} jobs
 */
async function answerHere(io, { packs, sealed, folder, missing, made }, jobs) {
  const pool = await answerPool(io, packs, jobs, sealed);
  try {
    await forEachOf(missing(), 2 * jobs, async (chunk) => made(chunk.number, await pool.run('writtenPart', { folder, chunk })));
  } finally {
    await pool.close();
  }
}

/**
 * Makes the parts that are missing, and the output of all.
 * @param {import('../lib/command_line.mjs').Call} call
 * @param {ReturnType<typeof readOptions>} options
 * @param {import('../lib/answers.mjs').Packs} packs
 * @param {import('../lib/queue.mjs').Queues} [queues] whose workers make them
 */
async function answerAllOf(call, { format, jobs, chunk, ahead }, packs, queues) {
  const { values, positionals: [, inputPath], io, progress, tell, warn } = call;
  progress('reading the input');
  const sealed = [];
  for (const path of packPathsOf(packs)) sealed.push(await identifyFile(path));
  const { input, lines } = await survey(inputPath);
  const { bytes, sha256 } = input;
  const [pack, overlay] = sealed.map((file) => file.sha256);
  const identity = { klrx: versionOf(), pack, overlay, input: { bytes, sha256 }, format, chunk };

  const folder = `${values.out}.parts`;
  const parts = openParts(folder, identity, values.restart);
  const continued = parts.size;
  if (continued > 0 && !values.json) tell(`klrx: ${folder}: going on after ${countOf(continued, 'part')}\n`);
  let count = 0;
  const missing = async function* () {
    for await (const each of readChunks(inputPath, io, format, chunk)) {
      if (changedAmong([input])) throw no(`${inputPath}: was changed while it was read`);
      count = each.number + 1;
      if (!parts.has(each.number)) yield each;
    }
  };
  const begin = performance.now();
  let titles = 0;
  const made = (number, counts) => {
    parts.set(number, counts);
    titles += counts.titles;
    const rate = Math.round(titles / ((performance.now() - begin) / 1000));
    progress(`${Math.floor((100 * parts.size) / Math.ceil(lines / chunk))} %, ${countOf(titles, 'title')}, ${rate} a second`);
  };
  const work = { run: identity, packs, sealed, folder, parts, missing, made };
  if (queues) await answerByQueue(queues, work, { ahead, restart: values.restart }, warn);
  else await answerHere(io, work, jobs);

  progress('putting the parts together');
  writeOutput(values.out, mergedParts(folder, count), { force: values.force, folder });
  removeParts(folder);
  const counts = noCounts();
  for (const each of parts.values()) for (const name of Object.keys(counts)) counts[name] += each[name];
  return { counts, continued, parts: count };
}

/** @param {import('../lib/command_line.mjs').Call} call */
async function run(call) {
  const { values, positionals, io, warn } = call;
  const options = readOptions(call);
  const [packPath, inputPath] = positionals;
  const packs = packsOf(packPath, values);
  checkOutput(values.out, { inputs: [...packPathsOf(packs), inputPath], force: values.force });
  if (!isDirectory(dirname(resolve(values.out)))) throw no(`${values.out}: cannot be written: its directory is not there`);
  (await answering(io, packs))([]); // a pack that is refused is so at once
  const queues = values.queue === undefined ? undefined : await openQueues(io, values.queue, warn);
  try {
    const { counts, continued, parts } = await answerAllOf(call, options, packs, queues);
    if (counts.faulty > 0) warn(`${inputPath}: ${countOf(counts.faulty, 'line')} without a title; the output says why`);
    return {
      report: { output: values.out, counts, parts, continued },
      text: `${values.out}: ${countOf(counts.titles, 'title')}: ${summaryOf(counts)}\n`,
      status: counts.faulty === 0 ? DONE : ANSWER_IS_NO,
    };
  } finally {
    queues?.close();
  }
}

/** @type {import('../lib/command_line.mjs').Command} */
export const bulk = {
  summary: 'write what a pack says of a catalogue of any size',
  usage: 'PACK INPUT --out FILE [options]',
  about: 'INPUT is a file of titles as for klrx try, and the output is that of klrx try --jsonl: a JSON object a line, one for each '
    + 'title in its order, with its id. It is made in parts in the folder FILE.parts. A run that was ended, by whatever means, '
    + 'goes on after them if it is started again; a pack, input or option that has changed since is refused.\n'
    + 'With --queue the work is done by klrx worker on any number of machines. The packages bullmq and ioredis have to be installed, '
    + 'and a Redis server has to run. docs/scale.md has figures, and what happens when something fails.',
  options: {
    out: { type: 'string', value: 'FILE', help: 'the answers' },
    ...FORCE,
    restart: { type: 'boolean', help: 'drop the parts of an earlier run' },
    ...OVERLAY,
    format: { type: 'string', value: 'NAME', help: 'tsv, jsonl or plain; by default what the first line looks like' },
    jobs: { type: 'string', value: 'N', help: 'worker threads; as many as there are processors by default' },
    chunk: { type: 'string', value: 'N', default: '2000', help: 'lines of the input in a part; 2000 by default' },
    queue: { type: 'string', value: 'URL', help: `have workers on other machines do it: ${QUEUE_URL}` },
    ahead: { type: 'string', value: 'N', help: `chunks on the queue's server at a time; ${DEFAULT_AHEAD} by default` },
  },
  examples: [
    ['a catalogue', 'klrx bulk mine.klrx titles.jsonl --out answers.jsonl'],
    ['by the workers of a queue', 'klrx bulk mine.klrx titles.jsonl --queue redis://localhost --out queued.jsonl'],
    ['with a patch, over an older file', 'klrx bulk mine.klrx titles.jsonl --overlay patch.klrx --out answers.jsonl --force'],
  ],
  run,
};
