// Why a title got its answer, in words.

import { printable } from './terminal.mjs';

const RANKS = { 500: 'short override or whole-title phrase', 400: 'conflict override or phrase', 300: 'compound override', 200: 'detail alias', 100: 'scene alias' };

/** A name as shown, and the others by which a case may expect it. */
function namesOf(name, others) {
  const rest = [...new Set(others)].filter((each) => each !== name);
  return printable(rest.length === 0 ? name : `${name} (or ${rest.join(', ')})`);
}

/**
 * @param {import('./answers.mjs').Answer} answer
 * @returns {string[]} lines
 */
export function explainAnswer({ scene, detail, alias, lang, rank, score, place, places, person, people, badge, suppressed, reason }) {
  const lines = [];
  if (scene !== '') {
    const row = RANKS[rank] ?? 'inference from the place';
    lines.push(`${scene}${detail === '' ? '' : `, ${detail}`}: by ${JSON.stringify(printable(alias))}, ${row} (${lang}, score ${score.toFixed(1)})`);
  }
  if (suppressed) lines.push(`suppressed: ${reason}`);
  if (place !== '') lines.push(`place: ${namesOf(place, places)}`);
  if (person !== '') lines.push(`person: ${namesOf(person, people)}, badge ${badge}`);
  return lines;
}
