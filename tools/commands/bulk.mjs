// klrx bulk: what a pack says of a catalogue, as a file.

import { availableParallelism } from 'node:os';
import { dirname, resolve } from 'node:path';
import { performance } from 'node:perf_hooks';
import { noCounts, summaryOf } from '../lib/answered_lines.mjs';
import { answerPool, forEachOf, MAX_JOBS } from '../lib/answer_pool.mjs';
import { answering, OVERLAY, packsOf } from '../lib/answers.mjs';
import { mergedParts, openParts, removeParts } from '../lib/bulk_parts.mjs';
import { ANSWER_IS_NO, choiceOf, countOf, DONE, misuse, no, readCount } from '../lib/command_line.mjs';
import { isDirectory } from '../lib/files.mjs';
import { changedAmong, identifyFile } from '../lib/identified_files.mjs';
import { checkOutput, FORCE, writeOutput } from '../lib/output.mjs';
import { FORMATS, readChunks } from '../lib/titles.mjs';
import { versionOf } from '../lib/version.mjs';

const MAX_CHUNK = 10000; // of the native module
const LINE_FEED = 10;

/** @typedef {import('../lib/titles.mjs').LineChunk} LineChunk */

/**
 * A run in progress.
 * @typedef {object} Work
 * @property {import('../lib/answers.mjs').Packs} packs
 * @property {import('../lib/identified_files.mjs').IdentifiedFile[]} sealed the files of the packs
 * @property {string} folder of the parts
 * @property {() => AsyncGenerator<LineChunk>} missing the chunks without a part, read as they are asked for
 * @property {(number: number, counts: import('../lib/answered_lines.mjs').Counts) => void} made the part is there
 */

function readOptions({ values, positionals }) {
  if (positionals.length !== 2) throw misuse('bulk needs PACK and INPUT');
  if (values.out === undefined) throw misuse('bulk needs --out FILE');
  if (positionals[1] === '-') throw misuse('bulk reads its input more than once; it takes a file, not standard input');
  return {
    format: values.format === undefined ? undefined : choiceOf('format', values.format, FORMATS),
    jobs: readCount('jobs', values.jobs ?? String(availableParallelism()), MAX_JOBS),
    chunk: readCount('chunk', values.chunk, MAX_CHUNK),
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
 * @param {Work} work
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

/** @param {import('../lib/command_line.mjs').Call} call */
async function run(call) {
  const { values, positionals, io, progress, tell, warn } = call;
  const { format, jobs, chunk } = readOptions(call);
  const [packPath, inputPath] = positionals;
  const packPaths = [packPath, ...(values.overlay === undefined ? [] : [values.overlay])];
  checkOutput(values.out, { inputs: [...packPaths, inputPath], force: values.force });
  if (!isDirectory(dirname(resolve(values.out)))) throw no(`${values.out}: cannot be written: its directory is not there`);
  const packs = packsOf(packPath, values);
  (await answering(io, packs))([]); // a pack that is refused is so at once
  progress('reading the input');
  const sealed = [];
  for (const path of packPaths) sealed.push(await identifyFile(path));
  const { input, lines } = await survey(inputPath);
  const { bytes, sha256 } = input;

  const folder = `${values.out}.parts`;
  const [pack, overlay] = sealed.map((file) => file.sha256);
  const parts = openParts(folder, { klrx: versionOf(), pack, overlay, input: { bytes, sha256 }, format, chunk }, values.restart);
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
  await answerHere(io, { packs, sealed, folder, missing, made }, jobs);

  progress('putting the parts together');
  writeOutput(values.out, mergedParts(folder, count), { force: values.force, folder });
  removeParts(folder);
  const counts = noCounts();
  for (const each of parts.values()) for (const name of Object.keys(counts)) counts[name] += each[name];
  if (counts.faulty > 0) warn(`${inputPath}: ${countOf(counts.faulty, 'line')} without a title; the output says why`);
  return {
    report: { output: values.out, counts, parts: count, continued },
    text: `${values.out}: ${countOf(counts.titles, 'title')}: ${summaryOf(counts)}\n`,
    status: counts.faulty === 0 ? DONE : ANSWER_IS_NO,
  };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const bulk = {
  summary: 'write what a pack says of a catalogue of any size',
  usage: 'PACK INPUT --out FILE [options]',
  about: 'INPUT is a file of titles as for klrx try, and the output is that of klrx try --jsonl: a JSON object a line, one for each '
    + 'title in its order, with its id. It is made in parts in the folder FILE.parts. A run that was ended, by whatever means, '
    + 'goes on after them if it is started again; a pack, input or option that has changed since is refused.',
  options: {
    out: { type: 'string', value: 'FILE', help: 'the answers' },
    ...FORCE,
    restart: { type: 'boolean', help: 'drop the parts of an earlier run' },
    ...OVERLAY,
    format: { type: 'string', value: 'NAME', help: 'tsv, jsonl or plain; by default what the first line looks like' },
    jobs: { type: 'string', value: 'N', help: 'worker threads; as many as there are processors by default' },
    chunk: { type: 'string', value: 'N', default: '2000', help: 'lines of the input in a part; 2000 by default' },
  },
  examples: [
    ['a catalogue', 'klrx bulk mine.klrx titles.jsonl --out answers.jsonl'],
    ['with a patch, over an older file', 'klrx bulk mine.klrx titles.jsonl --overlay patch.klrx --out answers.jsonl --force'],
  ],
  run,
};
