// What all functions answer, held against the record of what they answered before. An answer that was meant to change is
// recorded anew with `npm run golden:update`, and the difference is read.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

import { record, recordFile } from './golden/recorder.mjs';
import { addon } from './support/addon.mjs';

test('every answer is the recorded one', async () => {
  const recorded = readFileSync(recordFile, 'utf8').trimEnd().split('\n');
  const lines = await record();
  const changed = lines.flatMap((line, i) => (line === recorded[i] ? [] : [i]));
  const shown = changed.slice(0, 3).map((i) => `line ${i + 1}\n  recorded ${recorded[i]}\n  now      ${lines[i]}`);
  assert.equal(changed.length, 0, `${changed.length} of ${lines.length} lines differ\n${shown.join('\n')}`);
  assert.equal(recorded.length, lines.length);

  const calls = recorded.map((line) => JSON.parse(line)).filter((line) => line.call);
  assert.ok(calls.length >= 2000, `${calls.length} calls`);
  const failing = new Set(calls.filter((line) => line.throws ?? line.rejects).map((line) => line.call));
  const answering = new Set(calls.filter((line) => line.gives ?? line.resolves).map((line) => line.call));
  const functions = Object.keys(addon).filter((name) => typeof addon[name] === 'function');
  assert.deepEqual([[...answering].sort(), [...failing, 'getSemanticInfo'].sort()], [functions.sort(), functions.sort()]);
});
