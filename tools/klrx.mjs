#!/usr/bin/env node
// The command klrx: see `klrx --help`.

import { run } from './commands/run.mjs';

const { stdin, stdout, stderr } = process;
const addonUrl = new URL('../lib/index.mjs', import.meta.url).href;

// Whoever reads the output may stop early, as `head` does. The rest is then lost, but the work and its exit status go on
// as usual.
for (const stream of [stdout, stderr]) {
  stream.on('error', (error) => {
    if (error.code !== 'EPIPE') throw error;
  });
}

/** Ends when the text is on its way, so that a slow reader slows the writer down. */
const writeTo = (stream) => (text) =>
  new Promise((resolve) => stream.write(text, (error) => resolve(!error)));

process.exitCode = await run(process.argv.slice(2), {
  out: writeTo(stdout),
  err: writeTo(stderr),
  // Most of the work is done without the native module.
  loadAddon: async () => (await import(addonUrl)).default,
  addonUrl,
  loadExplainModule: async () => (await import('../lib/explain.cjs')).default,
  loadQueueTools: async () => ({ bullmq: await import('bullmq'), Redis: (await import('ioredis')).Redis }),
  untilStopped: () => new Promise((resolve) => process.once('SIGINT', resolve).once('SIGTERM', resolve)),
  input: stdin,
  fromKeyboard: stdin.isTTY === true,
  terminal: stderr.isTTY === true,
  columns: stdout.columns,
  colors: stdout.isTTY === true && stdout.hasColors(16), // which heeds NO_COLOR
});
