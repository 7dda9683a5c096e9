// klrx try: what a pack says of titles.

import { performance } from 'node:perf_hooks';
import { countAnswers, noCounts, recordOf, summaryOf } from '../lib/answered_lines.mjs';
import { MAX_JOBS } from '../lib/answer_pool.mjs';
import { answerLines } from '../lib/answer_stream.mjs';
import { OVERLAY, packsOf } from '../lib/answers.mjs';
import { ANSWER_IS_NO, choiceOf, countOf, DONE, misuse, readCount } from '../lib/command_line.mjs';
import { fitText, painter, printable } from '../lib/terminal.mjs';
import { FORMATS, readTitles } from '../lib/titles.mjs';

const DEFAULT_WIDTH = 80;
const GAP = '  ';
// Heading, share of the width, and text.
/** @type {[string, number, (title: string, answer: import('../lib/answers.mjs').Answer) => string][]} */
const COLUMNS = [
  ['title', 26, (title) => title],
  ['scene', 9, (_, { scene, suppressed }) => (suppressed ? `(${scene})` : scene)],
  ['detail', 14, (_, { detail }) => detail],
  ['alias', 11, (_, { alias }) => alias],
  ['place', 12, (_, { place }) => place],
  ['person', 10, (_, { person }) => person],
];

function tableOf(width) {
  const free = width - GAP.length * (COLUMNS.length - 1);
  const shares = COLUMNS.reduce((sum, [, share]) => sum + share, 0);
  const widths = COLUMNS.map(([, share]) => Math.max(4, Math.floor((share * free) / shares)));
  const line = (cells) => `${cells.map((cell, i) => fitText(cell, widths[i])).join(GAP).trimEnd()}\n`;
  return {
    heading: line(COLUMNS.map(([name]) => name)),
    row: (title, answer) => line(COLUMNS.map(([, , text]) => printable(text(title, answer)))),
  };
}

/** The three ways to show answers: each takes a chunk of them, and gives text to print now. */
function showing({ values, io, warn }, path, answers) {
  if (values.jsonl) return (chunk) => chunk.map((each) => `${JSON.stringify(recordOf(each))}\n`).join('');
  const report = ({ line, error }) => warn(`${path}:${line}: ${error}`);
  const table = tableOf(io.columns ?? DEFAULT_WIDTH);
  let heading = painter(io.colors)('bold', table.heading);
  return (chunk) => {
    for (const { line } of chunk) if (line.error !== undefined) report(line);
    const answered = chunk.filter(({ answer }) => answer);
    if (values.json) {
      answers.push(...answered.map(recordOf));
      return '';
    }
    const text = heading + answered.map(({ line, answer }) => table.row(line.title.raw, answer)).join('');
    heading = '';
    return text;
  };
}

/** @param {import('../lib/command_line.mjs').Call} call */
async function run(call) {
  const { values, positionals, io, progress, print, tell, warn } = call;
  if (positionals.length < 1 || positionals.length > 2) throw misuse('try needs PACK and a file of titles, or "-"');
  if (values.jsonl && values.json) throw misuse('--jsonl and --json are two formats');
  const format = values.format === undefined ? undefined : choiceOf('format', values.format, FORMATS);
  const jobs = readCount('jobs', values.jobs, MAX_JOBS);
  const [packPath, path = '-'] = positionals;
  if (path === '-' && io.fromKeyboard) tell('klrx: one title a line; Ctrl+D ends\n');
  if (/\.csv$/i.test(path) && format === undefined) warn(`${path}: commas separate nothing here; a table has tabs between its columns`);
  const counts = noCounts();
  /** @type {object[]} */
  const answers = [];
  const show = showing(call, path, answers);
  const begin = performance.now();
  // Of few titles it would be that of loading the pack.
  const rate = () => {
    const seconds = (performance.now() - begin) / 1000;
    return seconds < 1 ? '' : `, ${Math.round(counts.titles / seconds)} a second`;
  };
  for await (const chunk of answerLines(io, packsOf(packPath, values), readTitles(path, io, format), jobs)) {
    countAnswers(counts, chunk);
    if (!await print(show(chunk))) break;
    progress(`${countOf(counts.titles, 'title')}${rate()}`);
  }
  if (counts.titles === 0) warn(`${path}: holds no title`);
  if (!values.json) tell(`klrx: ${countOf(counts.titles, 'title')}${rate()}: ${summaryOf(counts)}\n`);
  return { report: { counts, answers }, text: '', status: counts.faulty === 0 ? DONE : ANSWER_IS_NO };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const tryTitles = {
  summary: 'show what a pack says of titles',
  usage: 'PACK [TITLES | -] [options]',
  about: 'Titles come from a file or from standard input: a title a line, a table (raw, en, id; or any columns that a first '
    + 'line names, "raw" first), or JSON lines (raw, en or normalizedEnglish, id). Any number of them is read as a stream.\n'
    + 'A title without an English reading gets one made of its Latin words, as an open lexicon gives it. '
    + 'A scene in parentheses is suppressed by words of asset handling.',
  options: {
    ...OVERLAY,
    format: { type: 'string', value: 'NAME', help: 'tsv, jsonl or plain; by default what the first line looks like' },
    jsonl: { type: 'boolean', help: 'print a JSON object a line, one for each title in its order, with its id' },
    jobs: { type: 'string', value: 'N', default: '1', help: 'worker threads; 1 by default' },
  },
  examples: [
    ['a table', 'klrx try mine.klrx titles.tsv'],
    ['a filter', 'klrx try mine.klrx - --jsonl < titles.jsonl'],
    ['many titles', 'klrx try mine.klrx titles.tsv --jsonl --jobs 2'],
  ],
  run,
};
