// `prepublishOnly`: everything that a release must pass, the quick checks first. In a dry run (`npm publish --dry-run`) what
// only a release has, keys of its own for instance, is asked for without stopping.
//
//   node scripts/release.mjs [--checks]      --checks: the quick checks alone
import { existsSync, readFileSync } from 'node:fs';
import { join, resolve } from 'node:path';
import { parseArgs } from 'node:util';
import { developmentTrust, prebuilds, releaseTablesOf } from './prebuild.mjs';
import { ask, command, root, run, SetupError } from './setup.mjs';

const published = ['linux-x64-gnu', 'linux-x64-musl', 'linux-arm64-gnu', 'win32-x64'];
const say = (line) => process.stderr.write(`release: ${line}\n`);
const read = (path) => readFileSync(join(root, path), 'utf8');

/** What stands against a release, each as a sentence. */
function objections() {
  const { version, repository } = JSON.parse(read('package.json'));
  const trust = process.env.CORVENDA_TRUST_FILE;
  const development = trust === undefined || String(releaseTablesOf(resolve(trust))) === String(releaseTablesOf(developmentTrust));
  return [
    [ask('git', ['status', '--porcelain']).out !== '', 'there are changes that are not committed'],
    [!new RegExp(`^## ${version.replaceAll('.', '\\.')}$`, 'm').test(read('CHANGELOG.md')), `CHANGELOG.md has no heading "## ${version}"`],
    [!repository, 'package.json names no repository, which the proof of origin (publishConfig.provenance) refers to'],
    [development, 'CORVENDA_TRUST_FILE names no trust file with a release key of its own'],
  ].filter(([stands]) => stands).map(([, sentence]) => sentence);
}

await command((args) => {
  const { values } = parseArgs({ args, options: { checks: { type: 'boolean' } } });
  const dry = process.env.npm_config_dry_run === 'true';
  delete process.env.npm_config_dry_run; // of no concern to the npm that the checks call
  const found = objections();
  for (const sentence of found) say(dry ? `would stop a release: ${sentence}` : sentence);
  if (found.length > 0 && !dry) throw new SetupError('nothing was published');
  if (values.checks) return;
  run(join(root, '.ci/run'), []);
  run('npm', ['run', '--silent', 'test:nodes']);
  run('npm', ['run', '--silent', 'test:package']); // makes the binaries
  for (const name of published) {
    if (!existsSync(join(prebuilds, `${name}.node`))) say(`without a binary for ${name}, which has to be built by its users`);
  }
});
