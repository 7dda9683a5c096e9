// Answers for any number of titles in constant memory, by one thread or several, in the order of the titles.

import { joinAnswers, titlesOf } from './answered_lines.mjs';
import { answerPool } from './answer_pool.mjs';
import { answering } from './answers.mjs';

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
 * @param {import('./command_line.mjs').Io} io
 * @param {import('./answers.mjs').Packs} packs
 * @param {AsyncIterable<import('./titles.mjs').TitleLine>} lines
 * @param {number} jobs threads; with one, this one does the work
 * @returns {AsyncGenerator<import('./answered_lines.mjs').AnsweredLine[]>}
 */
export async function* answerLines(io, packs, lines, jobs) {
  const answer = await answering(io, packs);
  answer([]); // a pack that is refused is so at once
  if (jobs === 1) {
    for await (const chunk of chunksOf(lines)) yield joinAnswers(chunk, answer(titlesOf(chunk)));
    return;
  }
  const pool = await answerPool(io, packs, jobs);
  try {
    /** @type {{ chunk: import('./titles.mjs').TitleLine[], reply: Promise<any> }[]} */
    const asked = [];
    const next = async () => {
      const { chunk, reply } = asked.splice(0, 1)[0];
      return joinAnswers(chunk, await reply);
    };
    for await (const chunk of chunksOf(lines)) {
      const reply = pool.run('answers', titlesOf(chunk));
      reply.catch(() => {}); // it is looked at when its turn comes
      asked.push({ chunk, reply });
      if (asked.length > 2 * jobs) yield await next();
    }
    while (asked.length > 0) yield await next();
  } finally {
    await pool.close();
  }
}
