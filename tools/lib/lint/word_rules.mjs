// Which Latin aliases are found inside words that mean something else. The native module decides: a word, or a title that
// holds it, is put to it, and the alias must have been found.

import { COMMON_WORDS } from './common_words.mjs';

const quoted = (text) => JSON.stringify(text);
const SHOWN = 3; // words of one alias

/**
 * Words that hold others, each with a title in which it stands if it is from one.
 * @param {{ raw: string, normalizedEnglish: string }[]} titles
 */
function wordsOf(titles) {
  const words = new Map();
  for (const title of titles) {
    for (const [word] of `${title.raw} ${title.normalizedEnglish}`.toLowerCase().matchAll(/[a-z]{3,}/g)) {
      if (!words.has(word)) words.set(word, title);
    }
  }
  for (const word of COMMON_WORDS) if (!words.has(word)) words.set(word, undefined);
  return words;
}

/** For each term the words that hold it and are longer. */
function wordsByTerm(terms, words) {
  const found = new Map();
  for (const word of words.keys()) {
    for (let begin = 0; begin < word.length; begin += 1) {
      for (let end = begin + 2; end <= word.length; end += 1) {
        const part = word.slice(begin, end);
        // A plural means the same.
        if (!terms.has(part) || [part, `${part}s`, `${part}es`].includes(word)) continue;
        const holders = found.get(part) ?? [];
        found.set(part, holders);
        if (!holders.includes(word)) holders.push(word);
      }
    }
  }
  return found;
}

// What a title must look like for a row to be found inside a word, and whether it was. Scene rows under "zh" are looked for
// inside words only in titles that are not all ASCII.
const ASKED = {
  scene: {
    titleFor: (word) => ({ raw: `的${word}`, normalizedEnglish: '' }),
    isFound: ({ answer }, { term, fields }) => answer.alias === term && answer.scene === fields[0],
  },
  celebrity: {
    titleFor: (word) => ({ raw: word, normalizedEnglish: '' }),
    isFound: ({ answer }, { term, fields }) => answer.people.includes(fields[0]) && answer.personAliases.includes(term),
  },
  facet: {
    titleFor: (word) => ({ raw: word, normalizedEnglish: '' }),
    isFound: ({ facets }, { term }) => facets().some(({ alias }) => alias === term),
  },
};

/**
 * @param {import('./rules.mjs').LintRow[]} rows
 * @param {{ raw: string, normalizedEnglish: string }[]} titles real ones, which are shown before common words
 * @param {(titles: { raw: string, normalizedEnglish: string }[]) => import('../answers.mjs').Answer[]} answer
 * @param {(title: { raw: string, normalizedEnglish: string }) => { alias: string }[]} facetsOf
 * @returns {import('./rules.mjs').LintFinding[]}
 */
export function wordFindings(rows, titles, answer, facetsOf) {
  const candidates = rows.filter(({ section, term, fields }) =>
    Object.hasOwn(ASKED, section) && /^[a-z0-9]{2,}$/.test(term) && !(section === 'scene' && fields[4] === 'en'));
  const words = wordsOf(titles);
  const holders = wordsByTerm(new Set(candidates.map(({ term }) => term)), words);
  const questions = candidates.flatMap((row) => (holders.get(row.term) ?? []).map((word) => {
    const real = words.get(word);
    // A real title shows best what happens; without an answer of its own the word alone still does.
    return { row, word, real, title: real ?? ASKED[row.section].titleFor(word) };
  }));
  const answers = answer(questions.map(({ title }) => title));
  const found = new Map();
  questions.forEach(({ row, word, real, title }, i) => {
    const shown = found.get(row) ?? [];
    if (shown.length === SHOWN) return;
    if (!ASKED[row.section].isFound({ answer: answers[i], facets: () => facetsOf(title) }, row)) return;
    found.set(row, [...shown, real ? `in the title ${quoted(real.raw)}` : `inside ${quoted(word)}`]);
  });
  return [...found].map(([{ term, place }, shown]) =>
    ({ rule: 'inside-words', place, message: `${quoted(term)} is found ${shown.join(', ')}` }));
}
