// Answers beside the lines that they are for: how they are told and counted, the same in all commands.

/**
 * @typedef {import('./titles.mjs').TitleLine} TitleLine
 * @typedef {{ line: TitleLine, answer?: import('./answers.mjs').Answer }} AnsweredLine without an answer if the line has none
 */

/** @param {TitleLine[]} lines */
export const titlesOf = (lines) => lines.flatMap(({ title }) => (title ? [title] : []));

/**
 * @param {TitleLine[]} lines
 * @param {import('./answers.mjs').Answer[]} answers for `titlesOf` them
 * @returns {AnsweredLine[]}
 */
export function joinAnswers(lines, answers) {
  let next = 0;
  return lines.map((line) => (line.title ? { line, answer: answers[next++] } : { line }));
}

/**
 * An answer as JSON tells it, or what is wrong with the line, so that there is one record for each title.
 * @param {AnsweredLine} answered
 */
export const recordOf = ({ line: { line, id, title, error }, answer }) =>
  ({ ...(id === undefined ? {} : { id }), ...(title ? { raw: title.raw, ...answer } : { line, error }) });

/** @typedef {{ titles: number, scene: number, place: number, person: number, faulty: number }} Counts faulty lines are titles too */

/** @returns {Counts} */
export const noCounts = () => ({ titles: 0, scene: 0, place: 0, person: 0, faulty: 0 });

/**
 * Counts answers.
 * @param {Counts} counts to which is added
 * @param {AnsweredLine[]} answered
 */
export function countAnswers(counts, answered) {
  for (const { answer } of answered) {
    if (!answer) counts.faulty += 1;
    else for (const name of /** @type {const} */ (['scene', 'place', 'person'])) counts[name] += answer[name] === '' ? 0 : 1;
  }
  counts.titles += answered.length;
}

/** @param {Counts} counts */
export const summaryOf = ({ scene, place, person }) => `${scene} with a scene, ${place} with a place, ${person} with a person`;
