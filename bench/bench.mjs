// Measures what the addon has to reach, and prints it beside the goals. See docs/performance.md for what the rows mean.
import { spawnSync } from 'node:child_process';
import { writeFileSync } from 'node:fs';
import { arch, cpus, platform } from 'node:os';
import { parseArgs } from 'node:util';

import { markdownTable, plotFile, writeSection } from './lib/document.mjs';
import { readRows, tasksOf } from './lib/goals.mjs';
import { median } from './lib/measure.mjs';
import { drawPlot } from './lib/plot.mjs';
import { runTask } from './lib/run_task.mjs';

const usage = `usage: node bench/bench.mjs [options]
  --only NAMES     groups, separated by commas: scene, scene-shared, celebrity, single, fixed, workflow, load, peak,
                   warm, workers, overlays
  --sizes SIZES    of the batches: rows a section such as 1k,100k,1M, or "real" (default: 1k,10k,100k,real)
  --big            with 1M rows a section too
  --quick          fewer turns and fewer checked titles: for a look while working
  --data FOLDER    real data: places.tsv, vocabulary.tsv, people.tsv, titles.tsv (default: the sample)
  --binary FILE    the addon to measure (default: the one that lib/ finds)
  --against FILE   another one that takes its turn in the batches and must give the same answers
  --json FILE      all outcomes, as JSON
  --document       the table and the plot into docs/performance.md
`;
const options = {
  only: { type: 'string' }, sizes: { type: 'string' }, big: { type: 'boolean' }, quick: { type: 'boolean' },
  data: { type: 'string' }, binary: { type: 'string' }, against: { type: 'string' }, json: { type: 'string' },
  document: { type: 'boolean' }, help: { type: 'boolean' },
};

const say = (line) => process.stderr.write(`${line}\n`);

function parseSize(text) {
  if (text === 'real') return text;
  const [, number, unit] = /^(\d+)(k|M|)$/.exec(text) ?? [];
  if (!number) throw new Error(`${text} is no size`);
  return Number(number) * { k: 1000, M: 1000000, '': 1 }[unit];
}

/** The outcome of a task; of one that is repeated in fresh processes, the median of each of its numbers. */
async function outcomeOf({ times = 1, ...parameters }) {
  const outcomes = [];
  for (let i = 0; i < times; i += 1) outcomes.push(await runTask(parameters));
  if (times === 1) return outcomes[0];
  const middle = (key) => median(outcomes.map((outcome) => outcome[key]));
  return Object.fromEntries(Object.keys(outcomes[0]).map((key) => [key, middle(key)]));
}

const commit = () =>
  spawnSync('git', ['describe', '--always', '--dirty'], { encoding: 'utf8' }).stdout?.trim() || 'unknown';

const machine = () => ({
  date: new Date().toISOString().slice(0, 10), node: process.version, system: `${platform()} ${arch()}`,
  processor: `${cpus().length} x ${cpus()[0].model.trim()}`, commit: commit(),
});

/** How to repeat it anywhere: the options, with names of files and folders left open. */
const commandOf = (values) => ['npm run bench --', ...Object.entries(values).map(([name, value]) =>
  (value === true ? `--${name}` : `--${name} ${['data', 'binary', 'against', 'json'].includes(name) ? 'PATH' : value}`))].join(' ');

const number = (value) => (value >= 100 ? value.toFixed(0) : value >= 10 ? value.toFixed(1) : value.toFixed(2));

const HEADING = ['what', 'unit', 'measured', 'goal', 'met', 'remark'];
const WIDTHS = [62, 10, 10, 9, 4, 0];

const cellsOf = ({ what, unit, goal, atLeast, figure, met, remark }) => [what, unit, number(figure),
  goal === undefined ? '' : `${atLeast ? '≥' : '≤'} ${goal}`, met === undefined ? '' : met ? 'yes' : 'no', remark];

function renderTable(rows) {
  const line = (cells) => cells.map((cell, i) => cell.padEnd(WIDTHS[i])).join(' ').trimEnd();
  return [HEADING, ...rows.map(cellsOf)].map(line).join('\n');
}

/** The table, the plot, and what they were measured with. */
function writeDocument(rows, outcomes, command, { date, node, system, processor }) {
  writeSection('results', `\`${command}\`, ${date}: ${processor}, ${system}, Node.js ${node}.\n\n`
    + markdownTable([HEADING, ...rows.map(cellsOf)]));
  writeFileSync(plotFile, drawPlot(outcomes, { date, processor, node }));
}

async function main() {
  const { values } = parseArgs({ options });
  if (values.help) return process.stdout.write(usage);
  const sizes = (values.sizes ?? `1k,10k,100k,real${values.big ? ',1M' : ''}`).split(',').map(parseSize);
  const groups = values.only?.split(',');
  const effort = values.quick ? { rounds: 9, checked: 100, seconds: 0.5 } : { rounds: 25, checked: 2000, seconds: 2 };
  const tasks = tasksOf({ sizes, big: values.big, ...effort }).filter(({ group }) => !groups || groups.includes(group));
  const { data, binary, against } = values;
  const outcomes = {};
  for (const { key, parameters } of tasks) {
    say(`bench: ${key}`);
    outcomes[key] = await outcomeOf({ ...parameters, data, binary, against });
  }
  const rows = readRows(outcomes);
  const about = machine();
  process.stdout.write(`${[...Object.values(about), commandOf(values)].join(', ')}\n\n${renderTable(rows)}\n`);
  if (values.json) writeFileSync(values.json, `${JSON.stringify({ about, command: commandOf(values), rows, outcomes }, undefined, 1)}\n`);
  if (values.document) writeDocument(rows, outcomes, commandOf(values), about);
}

await main();
