// `npm test`: sets everything up, then runs every test through CTest, whose summary is the last thing shown.
// Arguments go to CTest: `npm test -- -R package` runs the tests whose names match.
import { spawnSync } from 'node:child_process';
import { buildFolder, command, root, setup } from './setup.mjs';

await command((args) => {
  setup({ tests: true });
  const options = ['--test-dir', buildFolder, '--output-on-failure', '--no-tests=error', ...args];
  const { status } = spawnSync('ctest', options, { cwd: root, stdio: 'inherit' });
  process.exitCode = status ?? 1;
});
