// klrx report: what a pack makes of many titles, as one page.

import { basename } from 'node:path';
import { packsOf } from '../lib/answers.mjs';
import { countOf, misuse } from '../lib/command_line.mjs';
import { ask, loadExplainModule } from '../lib/native.mjs';
import { checkOutput, FORCE, writeOutput } from '../lib/output.mjs';
import { readPack } from '../lib/pack_reader.mjs';
import { makeReport, reportPage } from '../lib/report.mjs';
import { readTrust, TRUST } from '../lib/seal_options.mjs';
import { allTitles } from '../lib/titles.mjs';

/** @param {import('../lib/command_line.mjs').Call} call */
async function run({ values, positionals, io, progress }) {
  if (positionals.length !== 2) throw misuse('report needs PACK and TITLES');
  if (values.out === undefined) throw misuse('report needs --out FILE.html');
  const [packPath, titlesPath] = positionals;
  checkOutput(values.out, { inputs: positionals, force: values.force });
  const { sections } = readPack(packPath, readTrust(values.trust));
  const titles = await allTitles(titlesPath, io);
  const packs = packsOf(packPath);
  const { explainTitle } = await loadExplainModule(io);
  const explanations = function* () {
    for (const [i, title] of titles.entries()) {
      if (i % 1000 === 0) progress(`${i} of ${titles.length} titles`);
      yield explainTitle({ ...packs, ...title });
    }
  };
  const report = ask(() => makeReport(basename(packPath), sections.scene.map(({ term }) => term), explanations()), packs.allowedRoot, [packPath]);
  writeOutput(values.out, reportPage(report), values);
  const { titles: all, scenes, unused } = report;
  const withScene = all.filter(({ scene }) => scene !== '').length;
  return {
    report: { page: values.out, titles: all.length, withScene, scenes: Object.fromEntries(scenes), unusedAliases: unused.length },
    text: `${values.out}: ${countOf(all.length, 'title')}, ${withScene} with a scene\n`,
  };
}

/** @type {import('../lib/command_line.mjs').Command} */
export const report = {
  summary: 'write a page about what a pack makes of many titles',
  usage: 'PACK TITLES --out FILE.html [options]',
  about: 'One file for any browser: titles by scene and kind of row, those without a scene, aliases that decide and that never do, '
    + 'scores, and a list of all titles with their explanations, to search and sort.',
  options: {
    out: { type: 'string', value: 'FILE', help: 'the page' },
    ...FORCE,
    ...TRUST,
  },
  examples: [['the page for a catalogue', 'klrx report mine.klrx titles.tsv --out report.html']],
  run,
};
