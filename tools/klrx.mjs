#!/usr/bin/env node
// The command klrx: see `klrx --help`.

import { run } from './lib/commands.mjs';

process.exitCode = await run(process.argv.slice(2), {
  out: (text) => process.stdout.write(text),
  err: (text) => process.stderr.write(text),
  // Only inspect and verify need the native module; the rest runs without it.
  loadAddon: async () => (await import('../lib/index.cjs')).default,
  terminal: process.stderr.isTTY === true,
});
