// What small hostile inputs cost, each in a process of its own, beside their limits.
//
//   node bench/worst_cases.mjs [--binary FILE] [--json FILE]
import { writeFileSync } from 'node:fs';
import { parseArgs } from 'node:util';

import { runWorstCase } from './lib/run_worst_case.mjs';
import { worstCases } from './lib/worst_case_list.mjs';

const { values } = parseArgs({ options: { binary: { type: 'string' }, json: { type: 'string' } } });
const outcomes = [];
console.log(`${'input, one call'.padEnd(66)}   CPU ms    limit   peak MB    limit`);
for (const [index, { name, ms, megabytes }] of worstCases.entries()) {
  const outcome = await runWorstCase(index, { binary: values.binary });
  outcomes.push({ name, limits: { ms, megabytes }, ...outcome });
  const figures = outcome.failure ?? [outcome.ms, ms, outcome.megabytes, megabytes].map((n) => n.toFixed(0).padStart(9)).join('');
  const met = !outcome.failure && outcome.ms <= ms && outcome.megabytes <= megabytes;
  console.log(`${name.padEnd(66)}${figures}  ${met ? '' : 'over'}`.trimEnd());
}
if (values.json) writeFileSync(values.json, `${JSON.stringify(outcomes, undefined, 1)}\n`);
process.exitCode = outcomes.every(({ failure, limits, ms }) => !failure && ms <= limits.ms) ? 0 : 1;
