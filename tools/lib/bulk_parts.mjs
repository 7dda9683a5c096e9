// The parts of a bulk run: a folder beside the output with a file for each chunk of the input that is answered. A part has
// its name only when it is whole, so a run that was ended at any moment goes on with what is there.
//
//   run.json          what the parts are parts of, see `Run`
//   part-NNNNNNNN     a line of JSON, the counts and the SHA-256 of what follows, then records of the output
//
// Parts are not flushed to the disk one by one, which takes longer than making them. What a loss of power leaves of one is
// known by its digest.

import { createHash } from 'node:crypto';
import { existsSync, readFileSync, rmdirSync, rmSync } from 'node:fs';
import { join } from 'node:path';
import { isDeepStrictEqual } from 'node:util';
import { countAnswers, joinAnswers, noCounts, recordOf, titlesOf } from './answered_lines.mjs';
import { attempt, no, readJson } from './command_line.mjs';
import { makeDirectory, namesIn, writeWhole } from './files.mjs';
import { titlesIn } from './titles.mjs';

const RUN_FILE = 'run.json';
const PART_NAME = /^part-(\d{8})$/;
// What is left of a file that was being written when the process was killed.
const REST_NAME = /^\..+\.tmp$/;

const digestOf = (bytes) => createHash('sha256').update(bytes).digest('hex');

/**
 * All that the output depends on.
 * @typedef {object} Run
 * @property {string} klrx the version of this tool
 * @property {string} pack SHA-256 of the file
 * @property {string} [overlay] the same
 * @property {{ bytes: number, sha256: string }} input
 * @property {string} [format] of the titles, if it was given
 * @property {number} chunk lines of the input in a part
 */

/**
 * A run in progress.
 * @typedef {object} Work
 * @property {Run} run
 * @property {import('./answers.mjs').Packs} packs
 * @property {import('./identified_files.mjs').IdentifiedFile[]} sealed the files of the packs
 * @property {string} folder of the parts
 * @property {ReadonlyMap<number, object>} parts those that are there, by the numbers of their chunks
 * @property {() => AsyncGenerator<import('./titles.mjs').LineChunk>} missing the chunks without a part, read as they are asked for
 * @property {(number: number, counts: import('./answered_lines.mjs').Counts) => void} made the part is there now
 */

/** What each property of a run is to its user. */
const NAMES = { klrx: 'version of klrx', pack: 'pack', overlay: 'overlay', input: 'input', format: 'format', chunk: 'size of a chunk' };

/**
 * @param {import('./titles.mjs').LineChunk} chunk
 * @param {(titles: { raw: string, normalizedEnglish: string }[]) => import('./answers.mjs').Answer[]} resolve
 * @returns {Buffer} the content of its part
 */
export function makePart(chunk, resolve) {
  const lines = titlesIn(chunk);
  const answered = joinAnswers(lines, resolve(titlesOf(lines)));
  const counts = noCounts();
  countAnswers(counts, answered);
  const records = Buffer.from(answered.map((each) => `${JSON.stringify(recordOf(each))}\n`).join(''));
  return Buffer.concat([Buffer.from(`${JSON.stringify({ sha256: digestOf(records), ...counts })}\n`), records]);
}

const partPath = (folder, number) => join(folder, `part-${String(number).padStart(8, '0')}`);

/**
 * What is in a part; nothing if it is none or is not whole.
 * @param {Buffer} content
 * @returns {{ counts: import('./answered_lines.mjs').Counts, records: Buffer } | undefined}
 */
function readPart(content) {
  const size = content.indexOf('\n') + 1;
  const records = content.subarray(size);
  try {
    const { sha256, ...counts } = JSON.parse(content.toString('utf8', 0, size));
    return sha256 === digestOf(records) ? { counts, records } : undefined;
  } catch {
    return undefined;
  }
}

/**
 * @param {string} folder
 * @param {number} number
 * @param {Buffer} content of `makePart`
 * @returns {import('./answered_lines.mjs').Counts}
 */
export function writePart(folder, number, content) {
  const part = readPart(content);
  if (!part) throw no(`${folder}: what came for chunk ${number} is no part`);
  attempt(folder, () => writeWhole(partPath(folder, number), content, { force: true, flush: false }));
  return part.counts;
}

const isOwn = (name) => name === RUN_FILE || PART_NAME.test(name) || REST_NAME.test(name);

function removeNames(folder, isMeant) {
  for (const name of namesIn(folder).filter(isMeant)) rmSync(join(folder, name), { force: true });
}

/**
 * Removes what a run has left, and the folder if nothing else is in it.
 * @param {string} folder
 */
export function removeParts(folder) {
  removeNames(folder, isOwn);
  if (namesIn(folder).length === 0) rmdirSync(folder);
}

/** Says no to a folder whose parts are not those of this run. */
function checkRun(folder, run) {
  const path = join(folder, RUN_FILE);
  if (!namesIn(folder).some((name) => PART_NAME.test(name))) return;
  const there = existsSync(path) ? readJson(path) : {};
  const differing = Object.keys(NAMES).filter((name) => !isDeepStrictEqual(there[name], run[name])).map((name) => NAMES[name]);
  if (differing.length === 0) return;
  const what = `the ${differing.join(', the ')} ${differing.length === 1 ? 'differs' : 'differ'}`;
  throw no(`${folder}: holds parts of another run: ${what}`, { hint: '--restart drops them and begins anew' });
}

/**
 * The parts that are there already.
 * @param {string} folder
 * @param {Run} run whose parts they have to be
 * @param {boolean} [restart] drops those that are there
 * @returns {Map<number, import('./answered_lines.mjs').Counts>} by the number of the chunk
 */
export function openParts(folder, run, restart = false) {
  if (existsSync(folder)) {
    if (!attempt(folder, () => namesIn(folder)).every(isOwn)) {
      throw no(`${folder}: is there already, and holds no parts`, { hint: 'remove it, or give another --out' });
    }
    if (restart) attempt(folder, () => removeParts(folder));
    else checkRun(folder, run);
  }
  attempt(folder, () => makeDirectory(folder));
  removeNames(folder, (name) => REST_NAME.test(name)); // a process with the same id, as in a container, could not write its own
  attempt(folder, () => writeWhole(join(folder, RUN_FILE), `${JSON.stringify(run, null, 2)}\n`, { force: true }));
  const parts = new Map();
  for (const name of namesIn(folder)) {
    const [, digits] = PART_NAME.exec(name) ?? [];
    const part = digits && readPart(readFileSync(join(folder, name)));
    if (part) parts.set(Number(digits), part.counts);
  }
  return parts;
}

/**
 * The output, part by part.
 * @param {string} folder
 * @param {number} count of parts
 * @returns {Generator<Uint8Array>}
 */
export function* mergedParts(folder, count) {
  for (let number = 0; number < count; number += 1) {
    const part = readPart(readFileSync(partPath(folder, number)));
    if (!part) throw new Error(`part ${number} is damaged`);
    yield part.records;
  }
}
