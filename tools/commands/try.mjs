// klrx try: what a pack says of titles.

import { performance } from 'node:perf_hooks';
import { answerLines } from '../lib/answer_stream.mjs';
import { OVERLAY, packsOf } from '../lib/answers.mjs';
import { ANSWER_IS_NO, choiceOf, countOf, DONE, misuse } from '../lib/command_line.mjs';
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

/** A line of --jsonl: an answer, or what is wrong with the line, so that there is one for each title. */
const recordOf = ({ line: { line, id, title, error }, answer }) =>
  ({ ...(id === undefined ? {} : { id }), ...(title ? { raw: title.raw, ...answer } : { line, error }) });

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

function readJobs(text) {
  if (!/^[1-9][0-9]{0,2}$/.test(text)) throw misuse(`--jobs is a number from 1 to 999, not ${text}`);
  return Number(text);
}

/** @param {import('../lib/command_line.mjs').Call} call */
async function run(call) {
  const { values, positionals, io, progress, print, tell } = call;
  if (positionals.length < 1 || positionals.length > 2) throw misuse('try needs PACK and a file of titles, or "-"');
  if (values.jsonl && values.json) throw misuse('--jsonl and --json are two formats');
  const format = values.format === undefined ? undefined : choiceOf('format', values.format, FORMATS);
  const jobs = readJobs(values.jobs);
  const [packPath, path = '-'] = positionals;
  const counts = { titles: 0, scene: 0, place: 0, person: 0, faulty: 0 };
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
    for (const { answer } of chunk) {
      if (!answer) counts.faulty += 1;
      else for (const name of /** @type {const} */ (['scene', 'place', 'person'])) counts[name] += answer[name] === '' ? 0 : 1;
    }
    counts.titles += chunk.length;
    if (!await print(show(chunk))) break;
    progress(`${countOf(counts.titles, 'title')}${rate()}`);
  }
  const { titles, scene, place, person } = counts;
  if (!values.json) tell(`klrx: ${countOf(titles, 'title')}${rate()}: ${scene} with a scene, ${place} with a place, ${person} with a person\n`);
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
