// Runs a Windows program under Wine, in a Wine prefix of this project's own.
//
//   node scripts/wine.mjs [--test] PROGRAM.exe ARGUMENT…
//
// With --test its output must end in the summary of a test runner: a program that dies under Wine can end with status 0.
import { spawnSync } from 'node:child_process';
import { closeSync, existsSync, mkdtempSync, openSync, readFileSync, realpathSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';

import { root, SetupError } from './setup.mjs';

export const winePrefix = join(root, 'build', 'tools', 'wine');

// Debian keeps Wine's programs out of the search path.
const programs = '/usr/lib/wine';

/** What a test runner says last when all went well: node:test, GoogleTest, the replay of the fuzz targets' seeds, the host of the binding's test. */
const summaries = [/^ℹ fail 0$/m, /^\[ {2}PASSED {2}\] [1-9]\d* tests?\.$/m, /^[1-9]\d* seeds\r?$/m, /^bound to /m];

/**
 * Runs a program of Wine's, or a Windows program, to its end.
 *
 * @returns {{ status: number, output: string }} what it printed, on standard output and standard error together
 */
export function wine(program, args, { prefix = winePrefix, env } = {}) {
  const folder = mkdtempSync(join(tmpdir(), 'wine-'));
  const file = openSync(join(folder, 'output'), 'w');
  try {
    // The output goes to a file, because node.exe dies of a pipe that is none of Windows.
    const { status, error } = spawnSync(existsSync(programs) ? join(programs, program) : program, args, {
      stdio: ['ignore', file, file],
      env: { ...process.env, WINEPREFIX: prefix, WINEDEBUG: '-all', WINEDLLOVERRIDES: 'mscoree,mshtml=', PATH: `${programs}:${process.env.PATH}`, ...env },
    });
    if (error) throw new SetupError(`${program} could not run: ${error.message}`);
    return { status: status ?? 1, output: readFileSync(join(folder, 'output'), 'utf8') };
  } finally {
    closeSync(file);
    rmSync(folder, { recursive: true });
  }
}

if (process.argv[1] && import.meta.url === pathToFileURL(realpathSync(process.argv[1])).href) {
  const args = process.argv.slice(2);
  const test = args[0] === '--test';
  const { status, output } = wine('wine64', test ? args.slice(1) : args);
  process.stdout.write(output);
  process.exitCode = status;
  if (test && status === 0 && !summaries.some((summary) => summary.test(output))) {
    process.stderr.write('wine: the program ended without the summary of its tests\n');
    process.exitCode = 1;
  }
}
