// The workflow policy, which reads no pack: what is left is reading six options, the rules and a result of ten
// properties.
import assert from 'node:assert/strict';

import { checksum } from '../lib/checks.mjs';
import { takeTurns } from '../lib/measure.mjs';

const CALLS = 5000;

const options = (raw, normalizedEnglish, sceneKey, alias, detail) =>
  ({ raw, normalizedEnglish, sceneKey, alias, detail, overrideType: '' });

// Each with the right reason: all six options are given, and the branches are those that a library meets often.
const CASES = [
  [options('海边日落', 'sunset at the beach', 'outdoor', '海边日落', 'beach day'), 'no-workflow-context'],
  [options('项目素材整理', 'project footage cleanup', 'home', '整理', 'room reset'), 'home-workflow-suppressed'],
  [options('周末和家人在海边的餐厅吃火锅 vlog 剪辑版本', 'weekend hotpot with the family at the seaside restaurant vlog edit version',
    'food', '火锅', 'restaurant dining'), 'hard-workflow-suppressed-scene'],
  [options('客户会议素材备份 第三版 final', 'client meeting footage backup third version final', 'business', '客户', 'client meeting'),
    'business-title-token-allow'],
  [options('医院体检 恢复训练', 'hospital checkup recovery training', 'health', '体检', 'medical checkup'), 'no-workflow-context'],
];

export default function run(addon, { rounds }) {
  const results = CASES.map(([given]) => addon.evaluateWorkflowPolicy(given));
  assert.deepEqual(results.map(({ reason }) => reason), CASES.map(([, reason]) => reason));
  const calls = () => { for (let i = 0; i < CALLS; i += 1) addon.evaluateWorkflowPolicy(CASES[i % CASES.length][0]); };
  return { call: takeTurns({ calls }, { rounds, units: CALLS }).figures.calls.cpu, checksum: checksum(results) };
}
