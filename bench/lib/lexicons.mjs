// What the batch benchmarks work on: a pack, titles, the rows for the plain form and the terms for the rival.
import { makeTitles, rivalTerm } from './generator.mjs';
import { generatedPack, lexiconRows, realPack } from './packs.mjs';

export const TITLES = 10000;
const SCENE_SECTIONS = ['scene', 'human', 'facet', 'place'];
// A title that names a person speaks of something else as often.
const PEOPLE_SECTIONS = [...SCENE_SECTIONS, 'celebrity'];

/** Real titles come around again until there are enough. */
const repeated = (titles) => Array.from({ length: TITLES }, (_, i) => titles[i % titles.length]);

/**
 * `size` is a number of rows a section, or "real". Gives { pack, cases, makeRows, terms } for the benchmark of
 * scenes and places or, with `people`, of celebrities; the rows can be read once.
 */
export function lexiconOf({ size, shared, data, people = false }) {
  if (size === 'real') {
    const { packPath, allowedRoot, rowCount, titles, writtenTerms, sections, shards } = realPack(data);
    const terms = people ? writtenTerms.celebrity : writtenTerms.scene;
    const makeRows = () => ({ sections, shards });
    return { pack: { packPath, allowedRoot }, rowCount, cases: repeated(titles), makeRows, terms };
  }
  const { packPath, allowedRoot, rowCount, terms } = generatedPack(size, { shared });
  const sections = people ? PEOPLE_SECTIONS : SCENE_SECTIONS;
  return {
    pack: { packPath, allowedRoot }, rowCount, makeRows: () => lexiconRows(terms),
    cases: makeTitles(terms, sections, { count: TITLES, seed: people ? 6 : 5 }),
    terms: [...new Set((people ? ['celebrity'] : sections).flatMap((name) => terms[name].map(rivalTerm)))],
  };
}
