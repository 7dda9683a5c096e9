// Calls for one title, on a pack of many rows, with titles in which exactly ten rows are found.
import assert from 'node:assert/strict';

import { compactTerm } from '../../tools/index.mjs';
import { isEnglish } from '../lib/generator.mjs';
import { takeTurns } from '../lib/measure.mjs';
import { generatedPack, lexiconRows } from '../lib/packs.mjs';
import { shardRows } from '../lib/plain.mjs';
import { makeDraw } from '../lib/random.mjs';

const MATCHES = 10;
const TITLES = 20;
const CALLS = 1000;

/** Chinese titles that hold ten of the rows' terms, with the terms of those rows. */
function titlesWithMatches(rowTerms, written) {
  const draw = makeDraw(11);
  const chinese = written.filter((term) => !isEnglish(term));
  const titles = [];
  while (titles.length < TITLES) {
    const raw = Array.from({ length: MATCHES - draw.below(2) }, () => draw.pick(chinese)).join('');
    const found = rowTerms.filter((term) => raw.includes(term));
    if (found.length === MATCHES) titles.push({ raw, found: found.sort() });
  }
  return titles;
}

/** Microseconds a call of `call(title)`, once `termsOf` its result are the expected ones. */
function measure(titles, rounds, call, termsOf) {
  for (const title of titles) assert.deepEqual(termsOf(call(title), title), title.found, title.raw);
  const calls = () => { for (let i = 0; i < CALLS; i += 1) call(titles[i % TITLES]); };
  return takeTurns({ calls }, { rounds, units: CALLS }).figures.calls.cpu;
}

const lookUp = (addon, pack, section) => ({ raw }) =>
  addon.lookupBinaryIndex({ ...pack, section, term: compactTerm(raw), mode: 'contains' });
const termsOfLookUp = ({ matches }) => matches.map(({ term }) => term).sort();

export default function run(addon, { size, rounds }) {
  const { packPath, allowedRoot, terms } = generatedPack(size);
  const pack = { packPath, allowedRoot };
  const { sections, shards } = lexiconRows(terms);
  const termsOf = (rows) => Array.from(rows, ({ term }) => term);
  const scenes = titlesWithMatches(termsOf(sections.scene.rows), terms.scene);
  const facets = titlesWithMatches(termsOf(sections.facet.rows), terms.facet);
  const places = titlesWithMatches([...termsOf(sections.location.rows),
    ...Object.values(shards).flatMap(({ entries }) => termsOf(shardRows(entries)))], terms.place);
  return {
    // One row wins; that it is one of the ten is what a plain loop can say of it.
    scene: measure(scenes, rounds, ({ raw }) => addon.resolveSceneIntent({ ...pack, raw }),
      ({ intentHit: { alias } }, { raw, found }) => (found.includes(alias) || alias === compactTerm(raw) ? found : [])),
    facets: measure(facets, rounds, ({ raw }) => addon.extractSemanticFacets({ ...pack, raw }), ({ hits }) =>
      hits.map(({ alias }) => alias).sort()),
    lookupScene: measure(scenes, rounds, lookUp(addon, pack, 'scene'), termsOfLookUp),
    lookupPlace: measure(places, rounds, lookUp(addon, pack, 'location'), termsOfLookUp),
  };
}
