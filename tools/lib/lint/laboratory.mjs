// Packs for questions: written to a folder that nobody else sees, and gone with it.

import { mkdtempSync, realpathSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';
import { answerAll, packsOf } from '../answers.mjs';
import { buildBinaryIndex, INDEX_DOCUMENT_NAME } from '../binary_index.mjs';
import { loadAddon } from '../native.mjs';
import { buildPack } from '../pack_file.mjs';

/**
 * @typedef {object} Laboratory
 * @property {typeof import('../../../lib/index.cjs')} addon
 * @property {(documents: import('../payload.mjs').PayloadDocument[], kind?: 'base' | 'patch') => string} write a pack, and
 *   gives its path
 * @property {(content: { sections: any[], shards: any[] }, titles: { raw: string, normalizedEnglish: string }[]) =>
 *   import('../answers.mjs').Answer[]} answerWith a pack of this content
 */

/**
 * Does something with a laboratory, and clears it away.
 * @template T
 * @param {import('../command_line.mjs').Io} io
 * @param {import('../trust.mjs').Trust} trust what the native module was built with
 * @param {(laboratory: Laboratory) => T} work
 * @returns {Promise<T>}
 */
export async function withLaboratory(io, trust, work) {
  const addon = await loadAddon(io);
  const folder = realpathSync(mkdtempSync(join(tmpdir(), 'klrx-')));
  let serial = 0;
  /** @type {Laboratory['write']} */
  const write = (documents, kind = 'base') => {
    const path = join(folder, `${(serial += 1)}.klrx`);
    writeFileSync(path, buildPack({ kind, ruleSetId: 'lint', baseRuleSetId: kind === 'base' ? 'lint' : 'base', documents, trust }), { mode: 0o600 });
    return path;
  };
  const answerWith = ({ sections, shards }, titles) => {
    const index = { type: 'semantic-index', name: INDEX_DOCUMENT_NAME, data: buildBinaryIndex({ sections }) };
    const path = write([index, ...shards]);
    const answers = answerAll(addon, packsOf(path), titles);
    rmSync(path);
    return answers;
  };
  try {
    return work({ addon, write, answerWith });
  } finally {
    rmSync(folder, { recursive: true, force: true });
  }
}
