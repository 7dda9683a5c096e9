// `npm run test:queue`: klrx bulk and klrx worker with a Redis server, which the tests start and end themselves. As root on Debian
// it installs one; elsewhere it says so.
import { readdirSync } from 'node:fs';
import { join } from 'node:path';
import { ask, command, installDebianPackages, root, run, setup } from './setup.mjs';

await command(async () => {
  await setup();
  if (!ask(process.env.CORVENDA_TEST_REDIS || 'redis-server', ['--version']).ok) {
    installDebianPackages(['redis-server'], 'A Redis server is needed: install one, or name its program in CORVENDA_TEST_REDIS.\n');
  }
  const folder = join(root, 'test/queue');
  run(process.execPath, ['--test', ...readdirSync(folder).filter((name) => name.endsWith('.test.mjs')).map((name) => join(folder, name))]);
});
