// `npm run lint`: checks the sources without running them: format, faults, types. Ends at the first check that fails. As
// root on Debian it installs the tools for C++; everywhere else it says what to install.
import { execFileSync } from 'node:child_process';
import { availableParallelism } from 'node:os';
import { ask, buildFolder, command, installDebianPackages, prepare, root, run, SetupError } from './setup.mjs';

const files = (...patterns) =>
  execFileSync('git', ['ls-files', '-z', ...patterns], { cwd: root, encoding: 'utf8' }).split('\0').slice(0, -1);
const say = (line) => process.stderr.write(`lint: ${line}\n`);

await command(() => {
  prepare({ tests: true });
  // Other versions format differently and find other faults.
  const tools = ['clang-format-14', 'clang-tidy-14'];
  if (!tools.every((tool) => ask(tool, ['--version']).ok)) {
    installDebianPackages(tools, `${tools.join(' and ')} are needed.\n`);
  }

  say('clang-format');
  run('clang-format-14', ['--dry-run', '--Werror', ...files('*.h', '*.cpp')]);
  say('eslint');
  run(process.execPath, ['node_modules/eslint/bin/eslint.js', '.']);
  say('tsc');
  run(process.execPath, ['node_modules/typescript/bin/tsc', '-p', '.']);
  say('clang-tidy, which takes some minutes');
  const jobs = String(availableParallelism());
  const tidy = ask('run-clang-tidy-14', ['-quiet', '-p', buildFolder, '-j', jobs, '/src/(core|addon)/']);
  // It tells each file and how much it has to say of the system's headers.
  const findings = tidy.out.split('\n').filter((line) => !/^(?:clang-tidy|\d+ warnings? generated|$)/.test(line));
  if (!tidy.ok) throw new SetupError(`clang-tidy failed\n${findings.join('\n') || tidy.err}`);
  say('nothing to say');
});
