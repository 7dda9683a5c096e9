// What runs on the threads of klrx: answers for one chunk of titles.

import { workerData } from 'piscina';
import { resolveTitles } from './answers.mjs';

const { addonUrl, packs } = workerData;
const addon = (await import(addonUrl)).default;

/** @param {{ raw: string, normalizedEnglish: string }[]} titles */
export default function answerChunk(titles) {
  try {
    return { answers: resolveTitles(addon, packs, titles) };
  } catch (error) {
    return { refusal: error.message };
  }
}
