// The batch of 10,000 titles against the rival: scenes and places, or people.
import { checkPeople, checkScenes, checksum, differences, sampleOf } from '../lib/checks.mjs';
import { lexiconOf, TITLES } from '../lib/lexicons.mjs';
import { takeTurns, timed } from '../lib/measure.mjs';
import { makeRival } from '../rival.mjs';

/** What a loop over all terms costs a title, in microseconds: the least that anyone would write. */
function plainLoop(terms, cases) {
  const few = cases.slice(0, Math.max(5, Math.min(200, Math.floor(4e6 / terms.length))));
  const texts = few.map(({ raw, normalizedEnglish }) => `${raw} ${normalizedEnglish} `);
  const { cpu } = timed(() => texts.map((text) => terms.filter((term) => text.includes(term)).length));
  return cpu / few.length;
}

/**
 * The number of titles for which another binary gives a different answer. The plain form has to accept both: they may
 * differ only where nothing orders the rows that tie.
 */
function countTies(check, ours, other, name, options, makeRows) {
  const [a, b] = [ours, other].map((addon) => addon[name](options));
  const different = differences(a.results, b.results);
  if (different.length > 0) {
    check(ours, options, makeRows(), a, different);
    check(other, options, makeRows(), b, different);
  }
  return different.length;
}

export default function run(addon, { people, size, shared, data, rounds, checked, againstAddon }) {
  const { pack, cases, makeRows, terms, rowCount } = lexiconOf({ size, shared, data, people });
  const name = people ? 'resolveCelebrityBadgeBatch' : 'resolveSceneIntentBatch';
  const check = people ? checkPeople : checkScenes;
  const options = { ...pack, cases };
  const first = timed(() => addon[name](options)).cpu;
  const answers = addon[name](options);
  check(addon, options, makeRows(), answers, sampleOf(cases, checked));
  const ties = againstAddon ? countTies(check, addon, againstAddon, name, options, makeRows) : 0;
  const rival = makeRival(terms);
  const found = cases.reduce((total, title) => total + rival.find(title).length, 0);
  const contenders = { ours: () => addon[name](options), rival: () => rival.run(cases) };
  if (againstAddon) contenders.against = () => againstAddon[name](options);
  const { figures, ratio } = takeTurns(contenders, { rounds, units: TITLES });
  return {
    ...figures, ...ratio('ours', 'rival'),
    ...(againstAddon ? { againstRatio: ratio('ours', 'against').ratio, ties } : {}),
    first: first / TITLES, plain: plainLoop(terms, cases), rowCount, terms: terms.length, termsPerTitle: found / TITLES,
    checked, checksum: checksum(answers),
  };
}
