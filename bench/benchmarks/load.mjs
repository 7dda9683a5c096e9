// The first load of a process: the pack from the file to the answers of every function that has an index of its own.
import assert from 'node:assert/strict';

import { forgetPeak, memoryStatus, residentBytes, timed } from '../lib/measure.mjs';
import { packFile } from '../lib/packs.mjs';

/** Everything that a load may have put off. */
function askAll(addon, pack) {
  const title = { raw: '一', normalizedEnglish: 'one' };
  const info = addon.inspectRulePack(pack);
  addon.resolveSceneIntentBatch({ ...pack, cases: [title] });
  addon.resolveCelebrityBadgeBatch({ ...pack, cases: [title] });
  addon.extractSemanticFacets({ ...pack, ...title });
  return info;
}

export default function run(addon, { size }) {
  const { packPath, allowedRoot, payloadBytes, rowCount, rows } = packFile(size);
  const pack = { packPath, allowedRoot };
  const before = residentBytes();
  forgetPeak();
  const { cpu, all, wall, result } = timed(() => askAll(addon, pack));
  assert.equal(result.binaryIndex.sectionCounts.scene, rows.scene);
  const peak = memoryStatus('VmHWM');
  const resident = residentBytes();
  return { cpu, all, wall, payloadBytes, rowCount, before, peak, resident };
}
