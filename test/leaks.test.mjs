// Memory that doesn't grow with the number of titles, loads and failures; and no descriptor is left open.
//
// The heap of JavaScript is emptied and left out, and so is the first quarter of the work, in which arenas and the engine's own
// tables reach their size. After that the resident memory may rise by `TOLERANCE`. In the long form that is three times what was
// ever seen of fragments and the engine's code: 2 MB over half of the work are 21 bytes a title, 42 a failing call, 2 kB a load.
// The short form can't tell these from fragments, but from a table of rows.
import assert from 'node:assert/strict';
import { readdirSync, readFileSync, renameSync } from 'node:fs';
import { test } from 'node:test';
import { setFlagsFromString } from 'node:v8';
import { runInNewContext } from 'node:vm';

import { expectedIds, vectorFolder } from '../scripts/make-vectors.mjs';
import { callIn, damagedWorld, drawnCalls, drawnWorld, refusedCalls } from './golden/recorder.mjs';
import { addon } from './support/addon.mjs';
import { outcomeOf } from './support/outcome.mjs';
import { packBytes, root, writeFile } from './support/packs.mjs';
import { noElf } from './support/platform.mjs';
import { isWhole, shareOf } from './support/share.mjs';

const TOLERANCE = (isWhole ? 2 : 8) << 20; // bytes
const MARKS = 16;

const skip = noElf || (process.env.CORVENDA_TEST_SANITIZED && 'a sanitizer keeps what is freed') ||
  (process.env.CORVENDA_TEST_EMULATED && 'an emulator has memory of its own');

setFlagsFromString('--expose-gc');
const collect = runInNewContext('gc');

function nativeBytes() {
  for (let i = 0; i < 3; ++i) collect();
  const { rss, heapTotal } = process.memoryUsage();
  return rss - heapTotal;
}

const descriptors = () => readdirSync('/proc/self/fd').length;
const median = (numbers) => numbers.toSorted((a, b) => a - b)[numbers.length >> 1];

/** Does the work in sixteen parts and gives by how many bytes the memory after the last is above that after the first. */
async function growthOver(t, work) {
  const marks = [];
  for (let part = 0; part < MARKS; ++part) {
    await work(part);
    marks.push(nativeBytes());
  }
  const settled = marks.slice(MARKS / 4);
  const growth = median(settled.slice(-4)) - median(settled.slice(0, 4));
  t.diagnostic(`${marks.map((bytes) => (bytes / 1e6).toFixed(1)).join(' ')} MB, growth ${(growth / 1e6).toFixed(2)} MB`);
  return growth;
}

async function mustNotGrow(t, work) {
  const open = descriptors();
  let growth = await growthOver(t, work);
  // The engine takes pages late now and then, and once. What leaks grows again.
  if (growth > TOLERANCE) growth = await growthOver(t, work);
  assert.ok(growth <= TOLERANCE, `grew by ${growth} bytes`);
  assert.equal(descriptors(), open);
}

const world = drawnWorld(1);

test('titles', { skip }, async (t) => {
  const { packPath, allowedRoot } = callIn(world, ['', { packPath: '@base', allowedRoot: '@root' }])[1];
  const count = shareOf(200_000 / MARKS, 40);
  const cases = Array.from({ length: 1000 }, (_, i) => world.titles[i % world.titles.length]);
  // Single titles, batches small and large, with overlays of the caller's and of packs.
  const calls = [...drawnCalls(world)].map((call) => callIn(world, call));
  await mustNotGrow(t, async (part) => {
    for (let left = count; left > 0; left -= 1000) addon.resolveSceneIntentBatch({ packPath, allowedRoot, cases: cases.slice(0, left) });
    for (let i = 0; i < count; ++i) await outcomeOf(addon, calls[(part * count + i) % calls.length]);
  });
});

test('reloads', { skip }, async (t) => {
  const rows = (tag) => Array.from({ length: 3000 }, (_, i) => [`${tag}${i}`, 'k', 'd', '1', 'category', 'zh']);
  const [a, b] = ['a', 'b'].map((tag) => ({ sections: { scene: rows(tag), facet: rows(tag), human: rows(tag), location: rows(tag) } }));
  const bytes = [a, b].map(packBytes);
  const [first, second, rewritten] = [...bytes, bytes[0]].map((pack) => ({ packPath: writeFile(pack), allowedRoot: root }));
  const loads = shareOf(2000 / MARKS, 2);
  await mustNotGrow(t, async () => {
    for (let i = 0; i < loads; ++i) {
      // A load in the slot of base packs, by a file that takes another's place or is another; and one in the other slot.
      renameSync(writeFile(bytes[i % 2], 'next'), rewritten.packPath);
      const base = i % 3 ? [first, second][i % 2] : rewritten;
      const overlay = [first, second, rewritten][i % 3];
      await addon.warmSemanticRulePack({ ...base, overlayPackPath: overlay.packPath, overlayAllowedRoot: root });
    }
  });
});

test('failing calls', { skip }, async (t) => {
  const damaged = damagedWorld();
  const inspect = (name) => ({ packPath: `${vectorFolder}/${name}`, allowedRoot: vectorFolder, ...expectedIds });
  const vectors = readdirSync(vectorFolder).filter((name) => name.endsWith('.json'))
    .map((name) => JSON.parse(readFileSync(`${vectorFolder}/${name}`, 'utf8')));
  const all = [
    ...[...refusedCalls()].map((call) => callIn(world, call)),
    ...damaged.calls.map((call) => callIn(damaged, call)),
    ...vectors.map(({ file, pack }) => (pack
      ? ['verifySemanticDeltaManifest', { ...inspect(pack), manifestPath: `${vectorFolder}/${file}` }]
      : ['inspectSemanticDelta', inspect(file)])),
  ];
  const failing = [];
  for (const call of all) {
    const { throws, rejects } = await outcomeOf(addon, call);
    if (throws ?? rejects) failing.push(call);
  }
  const count = shareOf(100_000 / MARKS, 40);
  const names = {};
  await mustNotGrow(t, async (part) => {
    for (let i = 0; i < count; ++i) {
      const call = failing[(part * count + i) % failing.length];
      await outcomeOf(addon, call);
      names[call[0]] = (names[call[0]] ?? 0) + 1;
    }
  });
  t.diagnostic(`${failing.length} different calls: ${JSON.stringify(names)}`);
});
