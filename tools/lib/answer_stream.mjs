// Answers for any number of titles in constant memory, by one thread or several, in the order of the titles.

import { Worker } from 'node:worker_threads';
import { answering } from './answers.mjs';
import { ask } from './native.mjs';

const CHUNK = 1000; // titles: the cost of a call is lost in that of its titles, and results come early

/**
 * Groups what an asynchronous iteration gives.
 * @template T
 * @param {AsyncIterable<T>} items
 * @returns {AsyncGenerator<T[]>}
 */
async function* chunksOf(items) {
  let chunk = [];
  for await (const item of items) {
    chunk.push(item);
    if (chunk.length < CHUNK) continue;
    yield chunk;
    chunk = [];
  }
  if (chunk.length > 0) yield chunk;
}

/** A worker thread as a function. It answers in the order of its questions, so the first that waits is the one meant. */
function startWorker(addonUrl, packs) {
  const worker = new Worker(new URL('./answer_worker.mjs', import.meta.url), { workerData: { addonUrl, packs } });
  const waiting = [];
  worker.on('message', (message) => waiting.shift().resolve(message));
  worker.on('error', (error) => waiting.splice(0).forEach(({ reject }) => reject(error)));
  const request = (titles) => {
    const reply = new Promise((resolve, reject) => waiting.push({ resolve, reject }));
    reply.catch(() => {}); // it is looked at later, when its turn comes
    worker.postMessage(titles);
    return reply;
  };
  return { request, stop: () => worker.terminate() };
}

/**
 * @typedef {import('./titles.mjs').TitleLine} TitleLine
 * @typedef {{ line: TitleLine, answer?: import('./answers.mjs').Answer }} AnsweredLine without an answer if the line has none
 */

/** @returns {AnsweredLine[]} */
function joinAnswers(lines, answers) {
  let next = 0;
  return lines.map((line) => (line.title ? { line, answer: answers[next++] } : { line }));
}

const titlesIn = (lines) => lines.flatMap(({ title }) => (title ? [title] : []));

/**
 * @param {import('./command_line.mjs').Io} io
 * @param {import('./answers.mjs').Packs} packs
 * @param {AsyncIterable<TitleLine>} lines
 * @param {number} jobs threads; with one, this one does the work
 * @returns {AsyncGenerator<AnsweredLine[]>}
 */
export async function* answerLines(io, packs, lines, jobs) {
  const answer = await answering(io, packs);
  answer([]); // a pack that is refused is so at once
  if (jobs === 1) {
    for await (const chunk of chunksOf(lines)) yield joinAnswers(chunk, answer(titlesIn(chunk)));
    return;
  }
  const workers = Array.from({ length: jobs }, () => startWorker(io.addonUrl, packs));
  const finish = async ({ chunk, reply }) => {
    const { answers, refusal } = await reply;
    if (refusal !== undefined) ask(() => { throw new Error(refusal); }, packs.allowedRoot, [packs.packPath]);
    return joinAnswers(chunk, answers);
  };
  try {
    /** @type {{ chunk: TitleLine[], reply: Promise<any> }[]} */
    const asked = [];
    let turn = 0;
    for await (const chunk of chunksOf(lines)) {
      asked.push({ chunk, reply: workers[turn++ % jobs].request(titlesIn(chunk)) });
      if (asked.length > 2 * jobs) yield await finish(asked.splice(0, 1)[0]);
    }
    for (const each of asked) yield await finish(each);
  } finally {
    for (const { stop } of workers) stop();
  }
}
