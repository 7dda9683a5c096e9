// The parts of a bulk run: a folder beside the output with a file for each chunk of the input that is answered. A part has
// its name only when it is whole, so a run that was ended at any moment goes on with what is there.
//
//   run.json          what the parts are parts of, see `Run`
//   part-NNNNNNNN     a line of JSON, `bytes` of the rest and the counts of it, then the records of the output

import { closeSync, existsSync, fstatSync, openSync, readFileSync, readSync, rmdirSync, rmSync } from 'node:fs';
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
const MAX_HEAD = 256; // bytes of a part's first line

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
  return Buffer.concat([Buffer.from(`${JSON.stringify({ bytes: records.length, ...counts })}\n`), records]);
}

const partPath = (folder, number) => join(folder, `part-${String(number).padStart(8, '0')}`);

/** The first line of a part, from the part's beginning; nothing if it is none. */
function headOf(start) {
  const size = start.indexOf('\n') + 1;
  try {
    const { bytes, ...counts } = JSON.parse(start.toString('utf8', 0, size));
    return { size, bytes, counts };
  } catch {
    return undefined;
  }
}

/**
 * @param {string} folder
 * @param {number} number
 * @param {Uint8Array} content of `makePart`
 * @returns {import('./answered_lines.mjs').Counts}
 */
export function writePart(folder, number, content) {
  const head = headOf(Buffer.from(content.buffer, content.byteOffset, content.byteLength));
  if (!head || head.size + head.bytes !== content.length) throw no(`${folder}: what came for chunk ${number} is no part`);
  attempt(folder, () => writeWhole(partPath(folder, number), content, { force: true }));
  return head.counts;
}

/** The counts of a part that is as long as it says: not one that a loss of power or a full disk has cut off. */
function readCounts(path) {
  const file = openSync(path, 'r');
  try {
    const start = Buffer.alloc(MAX_HEAD);
    const head = headOf(start.subarray(0, readSync(file, start)));
    return head && head.size + head.bytes === fstatSync(file).size ? head.counts : undefined;
  } finally {
    closeSync(file);
  }
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
    const counts = digits && readCounts(join(folder, name));
    if (counts) parts.set(Number(digits), counts);
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
    const content = readFileSync(partPath(folder, number));
    yield content.subarray(headOf(content)?.size);
  }
}
