// The workflow policy, which reads no pack: what is left is reading six options, the rules and a result of ten properties.
import assert from 'node:assert/strict';

import { checksum } from '../lib/checks.mjs';
import { takeTurns } from '../lib/measure.mjs';

const CALLS = 5000;

// Each with what it comes to, over all branches that a library meets often.
const CASES = [
  [{ raw: '海边日落', normalizedEnglish: 'sunset at the beach', sceneKey: 'outdoor', alias: '海边日落', detail: 'beach day' },
    'no-workflow-context'],
  [{ raw: '项目素材整理', normalizedEnglish: 'project footage cleanup', sceneKey: 'home', alias: '整理', detail: 'room reset' },
    'home-workflow-suppressed'],
  [{ raw: '项目素材', normalizedEnglish: 'project files', sceneKey: 'food', alias: 'x', detail: 'x', overrideType: 'short' },
    'override-bypass'],
  [{ raw: '周末火锅', normalizedEnglish: 'weekend hotpot', sceneKey: 'food', alias: '火锅', detail: 'restaurant dining' },
    'no-workflow-context'],
];

export default function run(addon, { rounds }) {
  const results = CASES.map(([options]) => addon.evaluateWorkflowPolicy(options));
  assert.deepEqual(results.map(({ reason }) => reason), CASES.map(([, reason]) => reason));
  const calls = () => { for (let i = 0; i < CALLS; i += 1) addon.evaluateWorkflowPolicy(CASES[i % CASES.length][0]); };
  return { call: takeTurns({ calls }, { rounds, units: CALLS }).figures.calls.cpu, checksum: checksum(results) };
}
