// What warm-ups leave behind: memory after several of them, and how long they delay the main thread.
import { monitorEventLoopDelay } from 'node:perf_hooks';
import { setTimeout as sleep } from 'node:timers/promises';

import { residentBytes } from '../lib/measure.mjs';
import { packFile } from '../lib/packs.mjs';

/** The 99th percentile of the event loop's delay in milliseconds while `work` goes on, and how long that took. */
async function delayDuring(work) {
  const delay = monitorEventLoopDelay({ resolution: 1 });
  const begin = performance.now();
  delay.enable();
  await work();
  delay.disable();
  return { p99: delay.percentile(99) / 1e6, longest: delay.max / 1e6, ms: performance.now() - begin };
}

export default async function run(addon, { size }) {
  const options = ({ packPath, allowedRoot }) => ({ packPath, allowedRoot });
  const large = packFile(size);
  const small = options(packFile(1000));
  await addon.warmSemanticRulePack(small);
  const before = residentBytes();
  await addon.warmSemanticRulePack(options(large));
  await sleep(50);
  const first = residentBytes();
  const warm = [];
  for (let i = 0; i < 6; i += 1) {
    await addon.warmSemanticRulePack(small);
    await sleep(20);
    warm.push(await delayDuring(() => addon.warmSemanticRulePack(options(large))));
  }
  const idle = await delayDuring(() => sleep(warm.reduce((sum, { ms }) => sum + ms, 0)));
  const again = residentBytes();
  await addon.warmSemanticRulePack(small);
  await sleep(50);
  const middle = (key) => warm.map((one) => one[key]).sort((a, b) => a - b)[3];
  return {
    p99: middle('p99'), longest: middle('longest'), idleP99: idle.p99, idleLongest: idle.longest,
    before, first, again, end: residentBytes(), payloadBytes: large.payloadBytes, rowCount: large.rowCount,
  };
}
