#!/usr/bin/env node
// The command klrx: see `klrx --help`.

import { run } from './commands/run.mjs';

// Whoever reads the output may stop early, as `head` does. The rest is then lost, but the work and its exit status go on
// as usual.
for (const stream of [process.stdout, process.stderr]) {
  stream.on('error', (error) => {
    if (error.code !== 'EPIPE') throw error;
  });
}

process.exitCode = await run(process.argv.slice(2), {
  out: (text) => process.stdout.write(text),
  err: (text) => process.stderr.write(text),
  // Only inspect and verify need the native module; the rest runs without it.
  loadAddon: async () => (await import('../lib/index.cjs')).default,
  terminal: process.stderr.isTTY === true,
});
