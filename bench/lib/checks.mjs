// Answers are compared with the plain form, so that a fast wrong answer fails. Each check throws at the first
// difference.
import assert from 'node:assert/strict';
import { createHash } from 'node:crypto';

import { plainPeople, plainScenes } from './plain.mjs';

/** The same text for the same results: two builds that agree in it gave the same answers. */
export const checksum = (results) => createHash('sha256').update(JSON.stringify(results)).digest('hex').slice(0, 16);

/** `sample` cases, evenly out of all. */
export function sampleOf(cases, size) {
  const step = Math.max(1, Math.floor(cases.length / size));
  return cases.map((_, i) => i).filter((i) => i % step === 0).slice(0, size);
}

/** Compares results of a scene batch, those at `picked`, with loops over all rows, and with the same titles one by one. */
export function checkScenes(addon, options, rows, { results }, picked) {
  const expected = plainScenes(rows, picked.map((i) => options.cases[i]));
  picked.forEach((i, at) => {
    const { sceneKey, intentHit, locationCodes } = results[i];
    const { sceneKeys, alias, codes } = expected[at];
    const message = JSON.stringify({ title: options.cases[i], result: results[i], sceneKeys, alias, codes: [...codes] });
    assert.ok(sceneKeys.includes(sceneKey) && (intentHit?.alias ?? null) === alias, message);
    assert.equal(locationCodes.length, Math.min(codes.size, 3), message);
    assert.ok(locationCodes.every((code) => codes.has(code)), message);
    assert.deepEqual(addon.resolveSceneIntentBatch({ ...options, cases: [options.cases[i]] }).results, [results[i]]);
  });
}

/** The same for a celebrity batch. */
export function checkPeople(addon, options, rows, { results }, picked) {
  const expected = plainPeople(rows.sections.celebrity.rows, picked.map((i) => options.cases[i]));
  picked.forEach((i, at) => {
    assert.deepEqual(new Set(results[i].celebrityHits.map(({ id }) => id)), expected[at], JSON.stringify(options.cases[i]));
    assert.deepEqual(addon.resolveCelebrityBadgeBatch({ ...options, cases: [options.cases[i]] }).results, [results[i]]);
  });
}

/** Where two lists of results differ in a value or in the order of properties. */
export const differences = (a, b) => a.flatMap((one, i) => (JSON.stringify(one) === JSON.stringify(b[i]) ? [] : [i]));
