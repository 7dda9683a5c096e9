// What a call costs before it has done anything: a pack that is cached, no titles.
import assert from 'node:assert/strict';

import { takeTurns } from '../lib/measure.mjs';
import { packFile } from '../lib/packs.mjs';

const CALLS = 3000;

export default function run(addon, { rounds }) {
  const { packPath, allowedRoot, rows, packBytes } = packFile(1000);
  const pack = { packPath, allowedRoot };
  const info = addon.inspectRulePack(pack);
  assert.deepEqual([info.binaryIndex.sectionCounts, info.packBytes],
    [Object.fromEntries(Object.entries(rows).filter(([name]) => name !== 'shards').sort()), packBytes]);
  assert.deepEqual(addon.resolveSceneIntentBatch({ ...pack, cases: [] }).results, []);
  const many = (call) => () => { for (let i = 0; i < CALLS; i += 1) call(); };
  const { figures } = takeTurns({
    emptyBatch: many(() => addon.resolveSceneIntentBatch({ ...pack, cases: [] })),
    inspect: many(() => addon.inspectRulePack(pack)),
  }, { rounds, units: CALLS });
  return { emptyBatch: figures.emptyBatch.cpu, inspect: figures.inspect.cpu, folders: packPath.split('/').length - 2 };
}
