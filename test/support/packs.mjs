// Packs for tests. A bad pack is the good recipe with one step changed and sealed again, so that only the layer with the
// fault can refuse it.
import { createHash } from 'node:crypto';
import { mkdirSync, mkdtempSync, realpathSync, rmSync, utimesSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';

import { buildBinaryIndex, buildMetadata, buildPayload, sealPack } from '../../tools/index.mjs';

/** A fresh directory for the test's packs; removed when the test process ends. */
export const root = realpathSync(mkdtempSync(join(tmpdir(), 'corvenda-test-')));
process.on('exit', () => rmSync(root, { recursive: true, force: true }));

export const sha256Hex = (bytes) => createHash('sha256').update(bytes).digest('hex');

let serial = 0;

/** Writes bytes to a file below the root and returns its path. Without a name, each file has a new one. */
export function writeFile(bytes, name = `pack-${++serial}.klrx`) {
  const path = join(root, name);
  mkdirSync(dirname(path), { recursive: true });
  writeFileSync(path, bytes);
  return path;
}

/** Overwrites a file and sets its time: to a status query, another file of the same length and `time` looks the same. */
export function writeAt(path, bytes, time = 1_000_000_000) {
  writeFileSync(path, bytes);
  utimesSync(path, time, time);
}

/** The index document of a pack with these sections: { scene: [[term, ...fields], …], human: … }. */
export function indexDocument(sections = {}) {
  const rowsOf = ([type, rows]) => ({ type, rows: rows.map(([term, ...fields]) => ({ term, fields })) });
  const data = buildBinaryIndex({ sections: Object.entries(sections).map(rowsOf), sourceDocumentCount: 1 });
  return { type: 8, encoding: 2, name: 'semantic-binary-index-v1', data };
}

/** The metadata fields of a good base pack over `payload`. */
export const metadataFields = (payload, changed = {}) => ({
  schema: 'corvenda.semantic-rule-pack.v1', version: 1, kind: 'base', keyId: 'test-v1', ruleSetId: 'rules-1',
  baseRuleSetId: 'rules-1', payloadSha256: sha256Hex(payload), ...changed,
});

/**
 * The bytes of a pack: good, but for what the recipe changes. `documents` or the whole `payload`; `metadata` changes
 * single fields, `metadataText` the whole text; `stored` is sealed in place of the payload.
 */
export function packBytes({ sections, documents, payload, metadata, metadataText, stored, keyId } = {}) {
  const bytes = payload ?? buildPayload(documents ?? [indexDocument(sections)]);
  const fields = metadataFields(bytes, metadata);
  const sealedWith = keyId ?? (fields.keyId === 'release-v1' ? 'release-v1' : 'test-v1');
  return sealPack({ metadata: metadataText ?? buildMetadata(fields), payload: stored ?? bytes, keyId: sealedWith });
}

/** Writes `packBytes` to a file of its own and returns the options that name it. */
export const writePack = (recipe = {}, name) => ({ packPath: writeFile(packBytes(recipe), name), allowedRoot: root });

/** A scene row as the index holds it: [term, 11 fields]. */
export const sceneRow = (term, key, kind, { lang = 'zh', detail = '', priority = '1', weight = priority } = {}) => [
  term, key, detail, kind === 'category' || kind === 'detail' ? weight : '0', kind, lang,
  `${key} label`, `${key} archive`, `${key}-code`, `${key}-icon`, `${key} default`, priority,
];
