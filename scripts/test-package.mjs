// `npm run test:package`: the tarball as a user gets it. It is installed in an empty folder and in a project with a compiler,
// bundlers and checkers of packages, both in build/consumers, and used there. Needs the npm registry.
import { cpSync, mkdirSync, rmSync } from 'node:fs';
import { join } from 'node:path';
import { make } from './prebuild.mjs';
import { ask, command, root, run, SetupError } from './setup.mjs';

const folder = join(root, 'build', 'consumers');
const quiet = ['--ignore-scripts', '--no-audit', '--no-fund', '--no-update-notifier'];
const npm = (place, ...args) => run('npm', ['--prefix', join(folder, place), ...args, ...quiet]);

await command(() => {
  make();
  rmSync(folder, { recursive: true, force: true });
  for (const place of ['empty', 'project']) mkdirSync(join(folder, place), { recursive: true });
  const packed = ask('npm', ['pack', '--json', '--silent', '--pack-destination', folder]);
  if (!packed.ok) throw new SetupError(`npm pack failed:\n${packed.err}`);
  const tarball = join(folder, JSON.parse(packed.out)[0].filename);
  npm('empty', 'install', tarball);
  for (const file of ['package.json', 'package-lock.json']) cpSync(join(root, 'test/consumers', file), join(folder, 'project', file));
  npm('project', 'ci');
  npm('project', 'install', '--no-save', tarball);
  run(process.execPath, ['--test', '--test-reporter=spec', 'test/consumers/consumers.test.mjs'], { CORVENDA_TARBALL: tarball });
});
