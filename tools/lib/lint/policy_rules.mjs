// Which titles lose their scene because a word of asset handling stands inside a word of life. The words are the native
// module's own: which they are is found by asking it, of a title and of parts of its words.

const quoted = (text) => JSON.stringify(text);

/** The shortest part of a word for which the policy suppresses a scene, the first of several. */
function shortestPart(word, isSuppressed) {
  for (let length = 1; length < word.length; length += 1) {
    for (let begin = 0; begin + length <= word.length; begin += 1) {
      const part = word.slice(begin, begin + length);
      if (isSuppressed(part)) return part;
    }
  }
  return word;
}

/**
 * The words of a title that hold a word of the policy, if those alone suppress its scene.
 * @param {string} english its reading
 * @param {(reading: string) => boolean} isSuppressed whether its scene is, with another reading
 * @returns {{ word: string, part: string }[]}
 */
function blamedWords(english, isSuppressed) {
  if (!isSuppressed(english) || isSuppressed('')) return []; // as it should be, or by Chinese words
  const words = english.split(' ');
  const blamed = words.filter(isSuppressed).map((word) => ({ word, part: shortestPart(word, isSuppressed) }))
    // A plural means the same.
    .filter(({ word, part }) => ![part, `${part}s`, `${part}es`].includes(word));
  const others = words.filter((each) => !blamed.some(({ word }) => word === each));
  return isSuppressed(others.join(' ')) ? [] : blamed;
}

/**
 * @param {{ raw: string, normalizedEnglish: string, line: number }[]} titles
 * @param {string} path of their file
 * @param {import('../answers.mjs').Answer[]} answers to them
 * @param {typeof import('../../../lib/index.cjs')} addon
 * @returns {import('./rules.mjs').LintFinding[]} one for each word, with the first title that has it
 */
export function policyFindings(titles, path, answers, addon) {
  const found = new Map();
  titles.forEach(({ raw, normalizedEnglish, line }, i) => {
    const { scene: sceneKey, alias, detail, suppressed } = answers[i];
    if (sceneKey === '' || !suppressed) return;
    const isSuppressed = (reading) =>
      addon.evaluateWorkflowPolicy({ raw, normalizedEnglish: reading, sceneKey, alias, detail }).suppressed;
    for (const { word, part } of blamedWords(normalizedEnglish, isSuppressed)) {
      const known = found.get(word);
      if (known) known.more += 1;
      else found.set(word, { part, raw, sceneKey, line, more: 0 });
    }
  });
  return [...found].map(([word, { part, raw, sceneKey, line, more }]) => ({
    rule: 'policy-word',
    place: `${path}:${line}`,
    message: `${quoted(part)} in ${quoted(word)} suppresses ${sceneKey} in the title ${quoted(raw)}${more > 0 ? `, and a scene in ${more} more` : ''}`,
  }));
}
