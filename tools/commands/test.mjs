// klrx test: a lexicon's own tests.

import { answering, OVERLAY, packsOf } from '../lib/answers.mjs';
import { NOTHING, readCases, sceneScores, scoreOfAny, unmet, updated } from '../lib/cases.mjs';
import { ANSWER_IS_NO, attempt, DONE, misuse } from '../lib/command_line.mjs';
import { explainAnswer } from '../lib/explanation.mjs';
import { explanationText } from '../lib/explanation_text.mjs';
import { readText } from '../lib/files.mjs';
import { ask, loadExplainModule } from '../lib/native.mjs';
import { checkOutput, FORCE, writeOutput } from '../lib/output.mjs';
import { columns, painter, printable } from '../lib/terminal.mjs';

const percent = (part, whole) => (whole === 0 ? NOTHING : `${((100 * part) / whole).toFixed(1)} %`);

/** Tables of scores: scenes, then what else is expected. */
function scoresText(scenes, others) {
  const cells = ({ cases, answered, right }) => [String(cases), String(right), percent(right, answered), percent(right, cases)];
  const table = (heading, rows) => columns([[heading, 'cases', 'right', 'precision', 'recall'], ...rows], ['left', 'right', 'right', 'right', 'right']);
  const told = Object.entries(others).filter(([, score]) => score !== undefined);
  return [
    table('scene', scenes.map((score) => [score.scene, ...cells(score)])),
    ...(told.length > 0 ? [table('any', told.map(([name, score]) => [name, ...cells(score)]))] : []),
  ].join('\n');
}

function failuresText(path, failures, colors) {
  const paint = painter(colors);
  return failures.map(({ line, raw, wrong, why }) => [
    `${path}:${line}: ${paint('red', 'failed')}: ${printable(raw)}`,
    ...wrong.map(({ name, expected, got }) => `  ${name}: expected ${printable(expected)}, got ${printable(got)}`),
    ...why.map((text) => `  ${text}`),
    '',
  ].join('\n')).join('');
}

/**
 * What explains the answer to a title: one line of the answer itself, or all that the resolver reports.
 * @param {import('../lib/command_line.mjs').Io} io
 * @param {import('../lib/answers.mjs').Packs} packs
 * @param {boolean} whole
 * @returns {Promise<(title: import('../lib/cases.mjs').Case['title'], answer: import('../lib/answers.mjs').Answer) => string[]>}
 */
async function explaining(io, packs, whole) {
  const { explainTitle } = await loadExplainModule(io);
  const explanationOf = (title) => ask(() => explainTitle({ ...packs, ...title }), packs.allowedRoot, [packs.packPath]);
  if (whole) return (title) => explanationText(explanationOf(title), false).trimEnd().split('\n');
  // An answer without a scene doesn't say what took it away.
  const vetoesOf = (title, { scene }) => (scene === '' ? explanationOf(title).scene.phrases.filter(({ veto }) => veto) : []);
  return (title, answer) => [...vetoesOf(title, answer).map(({ phrase }) => `no scene: the veto ${JSON.stringify(printable(phrase))}`), ...explainAnswer(answer)];
}

/** Writes the cases anew with today's answers, for somebody to compare: to a file, or as the result. */
function update(values, path, rewritten) {
  if (values.out === undefined) return { report: { cases: rewritten }, text: rewritten };
  writeOutput(values.out, rewritten, values);
  return { report: { out: values.out }, text: `${values.out}: the cases of ${path} with today's answers\n` };
}

/** @param {import('../lib/command_line.mjs').Call} call */
async function run({ values, positionals, io }) {
  if (positionals.length !== 2) throw misuse('test needs PACK and CASES');
  if (values.out !== undefined && !values.update) throw misuse('--out goes with --update');
  const [packPath, path] = positionals;
  if (values.out !== undefined) checkOutput(values.out, { inputs: positionals, force: values.force });
  const { cases, rewrite } = readCases({ path, text: attempt(path, () => readText(path)) }, { bare: values.update });
  const packs = packsOf(packPath, values);
  const answers = (await answering(io, packs))(cases.map(({ title }) => title));
  if (values.update) return update(values, path, rewrite(cases.map((one, i) => updated(one, answers[i]))));

  const failing = cases.some((one, i) => unmet(one, answers[i]).length > 0);
  const explain = failing ? await explaining(io, packs, values.explain) : () => [];
  const failures = cases.map((one, i) => ({ one, wrong: unmet(one, answers[i]), answer: answers[i] }))
    .filter(({ wrong }) => wrong.length > 0)
    .map(({ one: { line, title }, wrong, answer }) => ({ line, raw: title.raw, wrong, why: explain(title, answer) }));
  const scenes = sceneScores(cases, answers);
  const others = { place: scoreOfAny(cases, answers, 'place'), person: scoreOfAny(cases, answers, 'person') };
  const counts = { cases: cases.length, passed: cases.length - failures.length, failed: failures.length };
  return {
    report: { counts, scenes, ...others, failures },
    text: `${failuresText(path, failures, io.colors)}${failures.length > 0 ? '\n' : ''}${scoresText(scenes, others)}${counts.passed} of ${counts.cases} cases passed\n`,
    status: failures.length === 0 ? DONE : ANSWER_IS_NO,
  };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const test = {
  summary: 'hold a pack against titles with expected answers',
  usage: 'PACK CASES [options]',
  about: 'CASES is a table (*.tsv) whose first line names its columns, or a list in YAML (*.yaml): raw, en, scene, detail, '
    + 'place, person, note. A blank expectation is none; "-" expects nothing; "a|b" expects either. A place is expected '
    + 'by any of its labels or codes, a person by name or id.\n'
    + 'Precision: of the titles answered with the scene, how many are right. Recall: of the titles of the scene, how many '
    + 'are found.',
  options: {
    ...OVERLAY,
    explain: { type: 'boolean', help: 'say everything about a failure, as klrx explain does' },
    update: { type: 'boolean', help: 'print the cases with today\'s answers instead, to be reviewed' },
    out: { type: 'string', value: 'FILE', help: 'with --update: the file to write them to' },
    ...FORCE,
  },
  examples: [
    ['what the CI of a lexicon runs', 'klrx test mine.klrx cases.tsv'],
    ['cases from bare titles, to be reviewed', 'klrx test mine.klrx titles.txt --update --out cases.new.tsv'],
  ],
  run,
};
