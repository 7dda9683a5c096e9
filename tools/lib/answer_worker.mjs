// A worker thread that answers titles: chunks in, answers or the words of a refusal out, in the order in which they came.

import { parentPort, workerData } from 'node:worker_threads';
import { resolveTitles } from './answers.mjs';

const { addonUrl, packs } = workerData;
const addon = (await import(addonUrl)).default;

parentPort?.on('message', (titles) => {
  try {
    parentPort?.postMessage({ answers: resolveTitles(addon, packs, titles) });
  } catch (error) {
    parentPort?.postMessage({ refusal: error.message });
  }
});
