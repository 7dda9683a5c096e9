// What small hostile inputs cost, each in a process of its own, beside their limits.
//
//   node bench/worst_cases.mjs [--binary FILE] [--document]     --document writes the table into docs/performance.md
import { parseArgs } from 'node:util';

import { markdownTable, writeSection } from './lib/document.mjs';
import { runWorstCase } from './lib/run_worst_case.mjs';
import { worstCases } from './lib/worst_case_list.mjs';

const { values } = parseArgs({ options: { binary: { type: 'string' }, document: { type: 'boolean' } } });
const HEADING = ['input, one call', 'CPU ms', 'limit', 'peak MB', 'limit'];
const rows = [];
let met = true;
const print = ([name, ...figures]) => console.log(name.padEnd(66) + figures.map((text) => text.padStart(9)).join(''));

print(HEADING);
for (const [index, { name, ms, megabytes }] of worstCases.entries()) {
  const outcome = await runWorstCase(index, { binary: values.binary });
  met &&= !outcome.failure && outcome.ms <= ms && outcome.megabytes <= megabytes;
  const [time, memory] = outcome.failure ? [outcome.failure, ''] : [outcome.ms.toFixed(0), outcome.megabytes.toFixed(0)];
  rows.push([name, time, String(ms), memory, String(megabytes)]);
  print(rows.at(-1));
}
if (values.document) writeSection('worst cases', markdownTable([HEADING, ...rows]));
process.exitCode = met ? 0 : 1;
