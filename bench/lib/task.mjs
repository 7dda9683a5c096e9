// Runs one benchmark and prints its outcome as JSON. Each has a process of its own, so that none inherits another's
// heap, compiled code or cache:
//
//   node --expose-gc … task.mjs '{"task":"scene","binary":"…", …}'
import { createRequire } from 'node:module';
import { resolve } from 'node:path';

const require = createRequire(import.meta.url);
const loadAddon = (path) => require(path ? resolve(path) : '../../lib/index.cjs');

const parameters = JSON.parse(process.argv[2]);
const { default: run } = await import(`../benchmarks/${parameters.task}.mjs`);
const against = parameters.against ? loadAddon(parameters.against) : undefined;
const outcome = await run(loadAddon(parameters.binary), { ...parameters, againstAddon: against });
process.stdout.write(JSON.stringify(outcome));
