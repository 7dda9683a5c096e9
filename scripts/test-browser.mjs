// `npm run test:browser`: the pages of klrx in a headless Chromium. As root on Debian it installs one; elsewhere it says so.
import { readdirSync } from 'node:fs';
import { join } from 'node:path';
import { ask, command, installDebianPackages, root, run, setup } from './setup.mjs';

await command(async () => {
  await setup();
  const browser = process.env.CORVENDA_TEST_BROWSER || 'chromium';
  if (!ask(browser, ['--version']).ok) {
    installDebianPackages(['chromium'], 'A Chromium is needed: install one, or name its program in CORVENDA_TEST_BROWSER.\n');
  }
  const folder = join(root, 'test/browser');
  run(process.execPath, ['--test', ...readdirSync(folder).filter((name) => name.endsWith('.test.mjs')).map((name) => join(folder, name))]);
});
