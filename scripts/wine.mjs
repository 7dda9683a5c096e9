// Runs a Windows program under Wine, in a Wine prefix of this project's own.
//
//   node scripts/wine.mjs [--test] PROGRAM.exe ARGUMENT…
//
// With --test its output must hold the summary of a test runner: a program that dies under Wine can end with status 0.
import { spawnSync } from 'node:child_process';
import { closeSync, existsSync, mkdtempSync, openSync, readFileSync, realpathSync, rmSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { pathToFileURL } from 'node:url';

import { root, SetupError } from './setup.mjs';

// Debian keeps Wine's programs out of the search path.
const programs = '/usr/lib/wine';

/** Where Wine keeps what Windows programs see, and how it is to behave. */
export const wineEnvironment = {
  ...process.env,
  WINEPREFIX: join(root, 'build', 'tools', 'wine'),
  WINEDEBUG: '-all',
  WINEDLLOVERRIDES: 'mscoree,mshtml=',
  PATH: `${programs}:${process.env.PATH}`,
  NODE_PATH: `Z:${join(root, 'build', 'tools', 'modules-win32-x64', 'node_modules')}`, // packages with parts made for Windows
  CORVENDA_TEST_WINE: '1',
};

// What a runner says when all went well: of node:test, of GoogleTest, of the seeds of a fuzz target, of the host of a module.
const summaries = [/^ℹ fail 0$/m, /^\[ {2}PASSED {2}\] [1-9]\d* tests?\.\r?$/m, /^[1-9]\d* seeds\r?$/m, /^bound to /m];

/**
 * Runs a program of Wine's, or a Windows program, to its end.
 *
 * @param {string} program
 * @param {string[]} args
 * @param {NodeJS.ProcessEnv} [env]
 * @returns {{ status: number, out: string, err: string }}
 */
export function wine(program, args, env) {
  const folder = mkdtempSync(join(tmpdir(), 'wine-'));
  const [out, err] = ['out', 'err'].map((name) => join(folder, name));
  const [outFile, errFile] = [out, err].map((path) => openSync(path, 'w'));
  try {
    // Into files, because node.exe dies of a pipe that is none of Windows.
    const { status, error } = spawnSync(existsSync(programs) ? join(programs, program) : program, args,
      { stdio: ['ignore', outFile, errFile], env: { ...wineEnvironment, ...env } });
    if (error) throw new SetupError(`${program} can't be run: ${error.message}`);
    return { status: status ?? 1, out: readFileSync(out, 'utf8'), err: readFileSync(err, 'utf8') };
  } finally {
    closeSync(outFile);
    closeSync(errFile);
    rmSync(folder, { recursive: true });
  }
}

if (process.argv[1] && import.meta.url === pathToFileURL(realpathSync(process.argv[1])).href) {
  const args = process.argv.slice(2);
  const test = args[0] === '--test';
  const { status, out, err } = wine('wine64', test ? args.slice(1) : args);
  process.stdout.write(out);
  process.stderr.write(err);
  process.exitCode = status;
  if (test && status === 0 && !summaries.some((summary) => summary.test(out))) {
    process.stderr.write('wine: the program ended without the summary of its tests\n');
    process.exitCode = 1;
  }
}
