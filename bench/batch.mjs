// What a title costs in a batch, as the rules grow, beside a plain loop over the rules in JavaScript.
//
//   node bench/batch.mjs [--titles N]
//
// The machine is shared and noisy: read the columns as ratios within one run. Every engine must find the same number of
// titles with a hit, or the run fails: a fast wrong answer is no answer.
import { mkdtempSync, realpathSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { parseArgs } from 'node:util';

import addon from '../lib/index.mjs';
import { buildBinaryIndex, buildPack, INDEX_DOCUMENT_NAME } from '../tools/index.mjs';

const { values } = parseArgs({ options: { titles: { type: 'string', default: '10000' } } });
const titleCount = Number(values.titles);
const root = realpathSync(mkdtempSync(join(tmpdir(), 'corvenda-bench-')));
process.on('exit', () => rmSync(root, { recursive: true, force: true }));

/** The same sequence in every run (mulberry32). */
function randomSequence(seed) {
  return () => {
    seed = (seed + 0x6d2b79f5) | 0;
    let t = Math.imul(seed ^ (seed >>> 15), 1 | seed);
    t = (t + Math.imul(t ^ (t >>> 7), 61 | t)) ^ t;
    return ((t ^ (t >>> 14)) >>> 0) / 4294967296;
  };
}
const random = randomSequence(1);
const pick = (limit) => Math.floor(random() * limit);

// Skewed, as the characters of real text are: a few hundred of the 3,000 make up most of it.
const character = () => String.fromCharCode(0x4e00 + Math.floor(3000 * random() ** 2));
const word = (length) => Array.from({ length }, character).join('');

function makeTerms(count) {
  const terms = new Set();
  while (terms.size < count) terms.add(word(2 + pick(4)));
  return [...terms];
}

const makeTitles = (terms) => Array.from({ length: titleCount }, () =>
  ({ raw: word(2 + pick(3)) + terms[pick(terms.length)] + word(1 + pick(4)), normalizedEnglish: 'a short title' }));

const sceneFields = (key) => [key, '', '1', 'category', 'zh', key, key, key, key, '', '1'];
const personFields = (id) => [id, id, 'singer', 'CN', '1', ''];
const placeFields = (code, label) => [code, 'location', '1', label, 'zh', code];

/** A pack in which every section has the same terms. */
function writePack(terms) {
  const rows = (fields) => terms.map((term, i) => ({ term, fields: fields(`k${i % 20}`, term) }));
  const data = buildBinaryIndex({
    sections: [{ type: 'scene', rows: rows(sceneFields) }, { type: 'celebrity', rows: rows(personFields) },
      { type: 'location', rows: rows(placeFields) }],
    sourceDocumentCount: 1,
  });
  const packPath = join(root, `${terms.length}.klrx`);
  writeFileSync(packPath, buildPack({ kind: 'base', ruleSetId: 'bench', keyId: 'test-v1',
    documents: [{ type: 8, encoding: 2, name: INDEX_DOCUMENT_NAME, data }] }));
  return { packPath, allowedRoot: root };
}

/** The best of some runs, in microseconds of a title, with what the last one gave. */
function measure(titles, runs, work) {
  let best = Infinity;
  let result;
  for (let i = 0; i < runs; ++i) {
    const begin = process.hrtime.bigint();
    result = work();
    best = Math.min(best, Number(process.hrtime.bigint() - begin) / 1000 / titles);
  }
  return { best, result };
}

const figure = (number) => number.toFixed(2).padStart(12);
console.log(`microseconds a title, best run, ${titleCount} titles a batch`);
console.log(['terms', 'scene+place', 'celebrity', 'one by one', 'plain loop', 'load ms'].map((t) => t.padStart(12)).join(''));
for (const count of [1000, 10000, 100000]) {
  const terms = makeTerms(count);
  const titles = makeTitles(terms);
  const pack = writePack(terms);
  const load = measure(1, 1, () => addon.inspectRulePack(pack));
  const batch = measure(titleCount, 5, () => addon.resolveSceneIntentBatch({ ...pack, cases: titles }).results);
  const people = measure(titleCount, 5, () => addon.resolveCelebrityBadgeBatch({ ...pack, cases: titles }).results);
  const some = titles.slice(0, 1000);
  const single = measure(some.length, 3, () => some.map((title) => addon.resolveSceneIntent({ ...pack, ...title })));
  const few = titles.slice(0, 100);
  const plain = measure(few.length, 1, () => few.map(({ raw }) => terms.filter((term) => raw.includes(term))));
  const found = [batch.result.filter((r) => r.sceneKey !== '').length,
    batch.result.filter((r) => r.locationCodes.length > 0).length,
    people.result.filter((r) => r.primaryCelebrity !== null).length];
  if (found.some((n) => n !== titleCount) || plain.result.some((hits) => hits.length === 0)) {
    throw new Error(`each of ${titleCount} titles holds a term; found: ${found.join(', ')}`);
  }
  console.log(String(count).padStart(12) + [batch, people, single, plain, { best: load.best / 1000 }]
    .map(({ best }) => figure(best)).join(''));
}
