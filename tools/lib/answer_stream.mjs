// Answers for any number of titles in constant memory, by one thread or several, in the order of the titles.

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
  const { Piscina } = await import('piscina'); // whoever has no use for threads does not wait for it
  const pool = new Piscina({
    filename: new URL('./answer_worker.mjs', import.meta.url).href,
    minThreads: jobs,
    maxThreads: jobs,
    workerData: { addonUrl: io.addonUrl, packs },
  });
  const finish = async ({ chunk, reply }) => {
    const { answers, refusal } = await reply;
    if (refusal !== undefined) ask(() => { throw new Error(refusal); }, packs.allowedRoot, [packs.packPath]);
    return joinAnswers(chunk, answers);
  };
  try {
    /** @type {{ chunk: TitleLine[], reply: Promise<any> }[]} */
    const asked = [];
    for await (const chunk of chunksOf(lines)) {
      const reply = pool.run(titlesIn(chunk));
      reply.catch(() => {}); // it is looked at when its turn comes
      asked.push({ chunk, reply });
      if (asked.length > 2 * jobs) yield await finish(asked.splice(0, 1)[0]);
    }
    for (const each of asked) yield await finish(each);
  } finally {
    await pool.destroy();
  }
}
