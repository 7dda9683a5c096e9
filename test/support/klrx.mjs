// The command klrx inside the process of a test.
import assert from 'node:assert/strict';
import { createReadStream, mkdirSync, mkdtempSync, writeFileSync } from 'node:fs';
import { dirname, join } from 'node:path';
import { Readable } from 'node:stream';
import { run } from '../../tools/commands/run.mjs';
import { addonUrl, explainTitle } from './addon.mjs';
import { root } from './packs.mjs';

export const HEADER = 'alias\tcode\tlang\tweight\tlabel\tcountryLabel\n';

/** Goes to a fresh directory with the given files. */
export function enter(files) {
  process.chdir(mkdtempSync(join(root, 'klrx-')));
  for (const [name, content] of Object.entries(files)) {
    mkdirSync(dirname(name), { recursive: true });
    const text = typeof content === 'string' || content instanceof Uint8Array ? content : JSON.stringify(content);
    writeFileSync(name, text);
  }
  return process.cwd();
}

/**
 * Runs a command line, a text or its arguments, and gives its status and what it prints: [status, out, err]. `native` is
 * the module that it may load; "< FILE" at the end of a text is its input.
 */
export async function klrx(line, native, io = {}) {
  const said = { out: '', err: '' };
  const [text, file] = typeof line === 'string' ? line.split(' < ') : [];
  const status = await run(text?.split(' ') ?? line, {
    out: (more) => (said.out += more), err: (more) => (said.err += more),
    loadAddon: async () => native ?? assert.fail('the addon is not needed here'),
    untilStopped: async () => {},
    loadQueueTools: async () => ({ bullmq: await import('bullmq'), Redis: (await import('ioredis')).Redis }),
    loadExplainModule: async () => ({ explainTitle }),
    input: file === undefined ? Readable.from([]) : createReadStream(file),
    addonUrl,
    ...io,
  });
  return [status, said.out, said.err];
}
