// Starts the process of one worst case.
import { execFile } from 'node:child_process';
import { fileURLToPath } from 'node:url';

const script = fileURLToPath(new URL('worst_case_task.mjs', import.meta.url));

/**
 * { ms, wall, megabytes }: thread CPU and wall clock of the call, and the peak of memory above the start. `failure`
 * says in their place why there is no answer: a wrong one, the end of the process, or more than `timeout` ms.
 */
export function runWorstCase(index, { scale = 1, binary, timeout = 120000 } = {}) {
  const args = ['--expose-gc', script, JSON.stringify({ index, scale, binary })];
  return new Promise((done) => {
    execFile(process.execPath, args, { timeout, killSignal: 'SIGKILL' }, (error, stdout, stderr) => {
      if (!error) done(JSON.parse(stdout));
      else if (error.killed) done({ failure: `no answer in ${timeout / 1000} s` });
      else done({ failure: `ended with ${error.signal ?? error.code}: ${/^.*(?:Error|what\(\)).*$/m.exec(stderr) ?? ''}` });
    });
  });
}
