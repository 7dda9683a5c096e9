// `npm run test:nodes`: every JavaScript test with one binary under each supported line of Node.js. They come from the npm
// registry, the versions in test/nodes/package.json, into build/nodes; some hundred MB.
import { cpSync, readdirSync, readFileSync } from 'node:fs';
import { join } from 'node:path';
import { ask, buildFolder, command, root, run, setup } from './setup.mjs';

const folder = join(root, 'build', 'nodes');

await command(() => {
  setup({ tests: true });
  cpSync(join(root, 'test', 'nodes'), folder, { recursive: true });
  run('npm', ['--prefix', folder, 'ci', '--no-bin-links', '--ignore-scripts', '--no-audit', '--no-fund', '--no-update-notifier']);
  const tests = readdirSync(join(root, 'test')).filter((name) => name.endsWith('.test.mjs')).map((name) => join('test', name));
  const { devDependencies } = JSON.parse(readFileSync(join(folder, 'package.json'), 'utf8'));
  for (const name of Object.keys(devDependencies)) {
    const node = join(folder, 'node_modules', name, 'bin', 'node');
    process.stderr.write(`test-nodes: ${ask(node, ['--version']).out}`);
    run(node, ['--test', '--test-reporter=dot', ...tests], { CORVENDA_TEST_BINARY: join(buildFolder, 'corvenda_semantic.node') });
  }
});
