// Instructions per title, counted by callgrind and compared with a committed budget. Unlike times they don't depend on
// how busy the machine is, so the change that made a title more expensive is noticed. They say nothing about cache
// misses.
//
//   node bench/instructions.mjs [--update]     --update writes what was counted as the new budget
//
// The budget is for the compiler and the libraries of Debian 12.
import { readFileSync, writeFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';

import { ask, buildFolder, command, installDebianPackages, run, setup, SetupError } from '../scripts/setup.mjs';

const budgetFile = fileURLToPath(new URL('instructions.json', import.meta.url));
/** What a count may be above its budget: a hash's seed, drawn anew in each process, moves it by less. */
const TOLERANCE = 0.05;
const TITLES = 500;

/** { name, work, cases, expected, … }: `expected` is the number of answers that the addon gives to the same titles. */
async function makeCases() {
  // Not before: setup fetches what these use.
  const { makeTitles } = await import('./lib/generator.mjs');
  const { generatedPack, realPack } = await import('./lib/packs.mjs');
  const addon = createRequire(import.meta.url)('../lib/index.cjs');
  const sum = (numbers) => numbers.reduce((total, number) => total + number, 0);
  const scenes = (options) => sum(addon.resolveSceneIntentBatch(options).results
    .map(({ intentHit, locationCodes }) => Number(intentHit !== null) + locationCodes.length));
  const people = (options) => sum(addon.resolveCelebrityBadgeBatch(options).results
    .map(({ celebrityHits, secondaryCandidates }) => celebrityHits.length + secondaryCandidates.length));
  const each = (call) => ({ cases, ...pack }) => sum(cases.map((title) => call({ ...pack, ...title })));

  const sections = ['scene', 'human', 'facet', 'place', 'celebrity'];
  const [small, large] = [1000, 100000].map((count) => generatedPack(count));
  const made = ({ terms }) => makeTitles(terms, sections, { count: TITLES, seed: 8 });
  const sample = realPack(null);
  const rowsOf = ({ rowCount }) => () => rowCount;
  return [
    ['scene batch, 1k rows a section', 'scene-batch', small, made(small), scenes],
    ['scene batch, 100k', 'scene-batch', large, made(large), scenes],
    ['scene batch, sample', 'scene-batch', sample, sample.titles, scenes],
    ['celebrity batch, 1k', 'celebrity-batch', small, made(small), people],
    ['celebrity batch, 100k', 'celebrity-batch', large, made(large), people],
    ['resolveSceneIntent, 1k', 'scene-intent', small, made(small),
      each((options) => Number(addon.resolveSceneIntent(options).intentHit !== null))],
    ['facets, 1k', 'facets', small, made(small), each((options) => addon.extractSemanticFacets(options).hits.length)],
    ['look-up contains, 1k', 'lookup', small, made(small),
      each(({ raw, ...pack }) =>
        addon.lookupBinaryIndex({ ...pack, section: 'scene', term: raw, mode: 'contains' }).matches.length)],
    ['load with indexes, a row of 1k a section', 'load', small, [{ raw: '', normalizedEnglish: '' }], rowsOf(small)],
  ].map(([name, work, { packPath, allowedRoot, rowCount }, cases, expected]) => ({
    name, work, packPath, allowedRoot, cases, expected: expected({ packPath, allowedRoot, cases }),
    units: work === 'load' ? rowCount : cases.length,
  }));
}

/** Instructions a title, or a row, of one case. */
function count({ name, work, packPath, allowedRoot, cases, expected, units }) {
  const titles = join(buildFolder, 'bench', 'titles.tsv');
  writeFileSync(titles, cases.map(({ raw, normalizedEnglish }) => `${raw}\t${normalizedEnglish}\n`).join(''));
  const { ok, out, err } = ask('valgrind', [
    '--tool=callgrind', '--callgrind-out-file=/dev/null', '--toggle-collect=measuredPass',
    join(buildFolder, 'bench', 'title_instructions'), work, packPath, allowedRoot, titles]);
  if (!ok) throw new SetupError(`${name}: callgrind failed\n${err}`);
  if (Number(out) !== expected) throw new SetupError(`${name}: ${out.trim()} answers, the addon gives ${expected}`);
  return Number(/Collected : (\d+)/.exec(err)[1]) / units;
}

await command(async (args) => {
  const { values } = parseArgs({ args, options: { update: { type: 'boolean' } } });
  if (!ask('valgrind', ['--version']).ok) installDebianPackages(['valgrind'], 'Valgrind is needed.\n');
  setup({ tests: true });
  run('cmake', ['--build', buildFolder, '--target', 'title_instructions']);
  const budget = JSON.parse(readFileSync(budgetFile, 'utf8'));
  const counted = {};
  const above = [];
  for (const one of await makeCases()) {
    const instructions = Math.round(count(one));
    counted[one.name] = instructions;
    const allowed = budget[one.name] ?? 0;
    console.log(`${one.name.padEnd(44)}${String(instructions).padStart(8)}, budget ${String(allowed).padStart(8)}`);
    if (instructions > allowed * (1 + TOLERANCE)) above.push(one.name);
  }
  if (values.update) writeFileSync(budgetFile, `${JSON.stringify(counted, undefined, 2)}\n`);
  else if (above.length > 0) throw new SetupError(`more than their budget: ${above.join('; ')}`);
});
