// Small inputs that once cost seconds, gigabytes or the process: bench/worst_cases.mjs prints what they cost.
//
// The test is about the shape of the cost, not about milliseconds: a case that exceeds its time limit may cost at most
// eight times as much as the same case at a quarter of the size. A cost that is the product of two sizes would be
// sixteen times. Sanitizers have costs of their own, so under them only the answers count.
import assert from 'node:assert/strict';
import { describe, it } from 'node:test';

import { runWorstCase } from '../bench/lib/run_worst_case.mjs';
import { worstCases } from '../bench/lib/worst_case_list.mjs';

const binary = process.env.CORVENDA_TEST_BINARY;
const sanitized = process.env.CORVENDA_TEST_SANITIZED !== undefined;

describe('a small input costs little', { concurrency: 1 }, () => {
  for (const [index, { name, ms, megabytes }] of worstCases.entries()) {
    it(name, async () => {
      const whole = await runWorstCase(index, { binary, timeout: 60000 });
      assert.equal(whole.failure, undefined);
      if (sanitized) return;
      assert.ok(!(whole.megabytes > megabytes), `${whole.megabytes} MB, not ${megabytes}`);
      if (whole.ms <= ms) return;
      const quarter = await runWorstCase(index, { binary, scale: 1 / 4 });
      assert.ok(whole.ms <= 8 * quarter.ms, `${whole.ms} ms, a quarter of it ${quarter.ms} ms`);
    });
  }
});
