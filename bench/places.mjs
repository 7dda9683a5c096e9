// What real places and real titles cost: loading, the first batch, and a title in a batch, plain and compressed.
//
//   node bench/places.mjs [--places FILE] [--titles FILE]
//
// Without arguments it takes the sample's places and titles. FILE is any list with the columns code, alias, englishFlag,
// weight, label and countryLabel, or the sample's own columns; a longer list shows how little a title's cost depends on it.
// The machine is shared and noisy: read figures as ratios within one run.
import { mkdtempSync, readdirSync, readFileSync, realpathSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { fileURLToPath } from 'node:url';
import { parseArgs } from 'node:util';

import addon from '../lib/index.mjs';
import { buildBinaryIndex, buildLocationShard, buildPack, compactTerm, INDEX_DOCUMENT_NAME } from '../tools/index.mjs';

const sample = fileURLToPath(new URL('../sample/', import.meta.url));
const { values } = parseArgs({ options: { places: { type: 'string' }, titles: { type: 'string' } } });
const placeFiles = values.places ? [values.places]
  : readdirSync(join(sample, 'places')).map((name) => join(sample, 'places', name));
const root = realpathSync(mkdtempSync(join(tmpdir(), 'corvenda-bench-')));
process.on('exit', () => rmSync(root, { recursive: true, force: true }));

/** The rows of a tab-separated file with a header, as objects. */
function readTable(file) {
  const [header, ...lines] = readFileSync(file, 'utf8').trimEnd().split('\n').map((line) => line.split('\t'));
  return lines.map((fields) => Object.fromEntries(header.map((name, i) => [name, fields[i] ?? ''])));
}

/** One shard of all places; records of one folded alias stand under one entry. */
function makeShard(places) {
  const entries = new Map();
  for (const { alias, code, englishFlag, lang, weight, label, countryLabel } of places) {
    const term = compactTerm(alias);
    if (!entries.has(term)) entries.set(term, { alias: term, records: [] });
    const english = englishFlag === '1' || lang === 'en' ? 1 : 0;
    entries.get(term).records.push({ code, englishFlag: english, weight: Number(weight), label, countryLabel });
  }
  return buildLocationShard([...entries.values()]);
}

function timed(work) {
  const begin = process.hrtime.bigint();
  const result = work();
  return { ms: Number(process.hrtime.bigint() - begin) / 1e6, result };
}

const places = placeFiles.flatMap(readTable);
const cases = readTable(values.titles ?? join(sample, 'titles.tsv'))
  .map((row) => ({ raw: Object.values(row)[0], normalizedEnglish: Object.values(row)[1].toLowerCase() }))
  .filter(({ raw }) => raw !== '');
const batch = Array.from({ length: 10000 }, (_, i) => cases[i % cases.length]);
const shard = makeShard(places);
const index = buildBinaryIndex({ sections: [], sourceDocumentCount: 1 });

console.log(`${places.length} places, ${cases.length} titles`);
console.log('             load ms   first batch ms   us a title   titles with a place');
const found = new Set();
for (const compression of ['', 'lz4-block-v1']) {
  const packPath = join(root, `places${compression}.klrx`);
  writeFileSync(packPath, buildPack({
    kind: 'base', ruleSetId: 'bench', keyId: 'test-v1', compression,
    documents: [{ type: 8, encoding: 2, name: INDEX_DOCUMENT_NAME, data: index },
      { type: 6, encoding: 2, name: 'location-world', data: shard }],
  }));
  const pack = { packPath, allowedRoot: root };
  const load = timed(() => addon.inspectRulePack(pack));
  const first = timed(() => addon.resolveSceneIntentBatch({ ...pack, cases: [{ raw: 'x' }] }));
  const runs = Array.from({ length: 5 }, () => timed(() => addon.resolveSceneIntentBatch({ ...pack, cases: batch })));
  const best = Math.min(...runs.map(({ ms }) => ms));
  const hits = runs[0].result.results.slice(0, cases.length).filter((one) => one.locationCodes.length > 0).length;
  found.add(hits);
  console.log((compression ? 'compressed' : 'plain').padEnd(11) + load.ms.toFixed(1).padStart(9)
    + first.ms.toFixed(1).padStart(17) + ((best * 1000) / batch.length).toFixed(2).padStart(13) + String(hits).padStart(22));
}
if (found.size !== 1) throw new Error('a compressed pack gives other places than a plain one');
