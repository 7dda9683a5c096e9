// The tests that `npm test` does a hundredth of, in full; the names of some do these alone:
//
//   npm run test:long -- [--share N] [--preset NAME] [core|threads|leaks|bytes]…
//
//   --share N      so much of it: 0.1 is a tenth, 2 is twice (default: 1)
//   --preset NAME  under that build: asan, or tsan, which has the core's tests alone (default: release)
import { availableParallelism } from 'node:os';
import { parseArgs } from 'node:util';

import { command, run, setup } from './setup.mjs';

const parts = { core: 'core', threads: 'node\\.threads', leaks: 'node\\.leaks', bytes: 'node\\.changed_bytes' };

await command((args) => {
  const { values: { share, preset }, positionals } = parseArgs({
    args, allowPositionals: true,
    options: { share: { type: 'string', default: '1' }, preset: { type: 'string', default: 'release' } },
  });
  const names = positionals.length > 0 ? positionals.map((name) => parts[name] ?? name) : Object.values(parts);
  setup({ tests: true });
  if (preset !== 'release') {
    run('cmake', ['--preset', preset]);
    run('cmake', ['--build', '--preset', preset, '--parallel', String(availableParallelism())]);
  }
  // What the tests say of how much they did is part of the result.
  run('ctest', ['--preset', preset, '--verbose', '-R', `^(${names.join('|')})$`], { CORVENDA_TEST_SHARE: share });
});
