// Starts the process of one benchmark.
import { spawn } from 'node:child_process';
import { once } from 'node:events';
import { fileURLToPath } from 'node:url';

const script = fileURLToPath(new URL('task.mjs', import.meta.url));
// V8 decides by chance, once a process, whether result objects are made among the old ones, which changes the cost of
// any code that makes many of them by a third. Without that guess two copies of one function cost the same.
const flags = ['--expose-gc', '--no-allocation-site-pretenuring', '--max-old-space-size=12000'];

/** The outcome of `{ task, …parameters }`. What the task says is passed on; its failure is an exception. */
export async function runTask(parameters) {
  const args = [...flags, script, JSON.stringify(parameters)];
  const child = spawn(process.execPath, args, { stdio: ['ignore', 'pipe', 'inherit'] });
  const chunks = [];
  child.stdout.on('data', (chunk) => chunks.push(chunk));
  const [code, signal] = await once(child, 'close');
  const status = code ?? signal;
  if (status !== 0) throw new Error(`benchmark ${JSON.stringify(parameters)} ended with ${status}`);
  return JSON.parse(Buffer.concat(chunks).toString());
}
