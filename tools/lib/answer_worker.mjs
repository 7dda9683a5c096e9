// What runs on the threads of klrx: answers for a chunk of titles. What is refused goes back as a value, because an error of
// the native module loses its properties on the way.

import { deflateRawSync } from 'node:zlib';
import { workerData } from 'piscina';
import { resolveTitles } from './answers.mjs';
import { makePart, writePart } from './bulk_parts.mjs';
import { no, Refusal } from './command_line.mjs';
import { changedAmong } from './identified_files.mjs';

const { addonUrl, packs, sealed } = workerData;
const addon = (await import(addonUrl)).default;

/**
 * Answers of the packs that were meant: files that are replaced while they are in use have another state than before.
 * @param {{ raw: string, normalizedEnglish: string }[]} titles
 */
function resolveSealed(titles) {
  const found = resolveTitles(addon, packs, titles);
  const changed = changedAmong(sealed);
  if (changed) throw no(`${changed.path}: was replaced while it was in use`);
  return found;
}

const orRefusal = (step) => (task) => {
  try {
    return { value: step(task) };
  } catch (error) {
    return error instanceof Refusal ? { refusal: error.message } : { packRefusal: error.message };
  }
};

export const answers = orRefusal(resolveSealed);
/** The part as text that a queue can hold, a quarter as long. */
export const packedPart = orRefusal((chunk) => deflateRawSync(makePart(chunk, resolveSealed), { level: 1 }).toString('base64'));
export const writtenPart = orRefusal(({ folder, chunk }) => writePart(folder, chunk.number, makePart(chunk, resolveSealed)));
