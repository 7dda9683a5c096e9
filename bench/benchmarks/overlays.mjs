// A call that brings its own lexicon: 1,000 scene aliases and 1,000 places, read and indexed for one title.
import assert from 'node:assert/strict';

import { takeTurns } from '../lib/measure.mjs';
import { packFile } from '../lib/packs.mjs';

const ALIASES = 1000;
const CALLS = 10;

/** Options with aliases that carry `tag`, so that no two calls can share what was made of them. */
function overlays(tag) {
  const alias = (kind, i) => kind + tag + String.fromCharCode(0x4e00 + i, 0x5e00 + (i * 7) % 900);
  const numbers = Array.from({ length: ALIASES }, (_, i) => i);
  const categories = Array.from({ length: 20 }, (_, key) => ({
    key: `own-${key}`, label: `Own ${key}`, archiveLabel: `Own archive ${key}`, archiveCode: 'OWN', icon: 'star',
    defaultDetail: 'own day', priority: 3, zh: numbers.filter((i) => i % 20 === key).map((i) => alias('景', i)),
  }));
  const place = (i) => [`X${i % 90}`, 0, 0, 0, 0.5, alias('地', i)];
  const aliasesZh = Object.fromEntries(numbers.map((i) => [alias('地', i), [place(i)]]));
  return {
    sceneOverlay: { categories }, locationOverlay: { aliasesZh },
    cases: [{ raw: alias('景', 500) + alias('地', 41) }],
  };
}

export default function run(addon, { size, rounds }) {
  const { packPath, allowedRoot } = packFile(size);
  const sets = ['甲', '乙'].map((tag) => ({ packPath, allowedRoot, ...overlays(tag) }));
  const withoutOverlays = { packPath, allowedRoot, cases: sets[0].cases };
  for (const options of sets) {
    const [{ sceneKey, locationCodes }] = addon.resolveSceneIntentBatch(options).results;
    assert.deepEqual([sceneKey, locationCodes], ['own-0', ['X41']]);
  }
  const { figures } = takeTurns({
    calls: () => { for (let i = 0; i < CALLS; i += 1) addon.resolveSceneIntentBatch(sets[i % 2]); },
    without: () => { for (let i = 0; i < CALLS; i += 1) addon.resolveSceneIntentBatch(withoutOverlays); },
  }, { rounds, units: CALLS });
  return { ms: figures.calls.cpu / 1000, withoutMs: figures.without.cpu / 1000 };
}
