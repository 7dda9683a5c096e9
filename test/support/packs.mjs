// Packs for tests. A bad pack is the good recipe with one step changed and sealed again, so that the fault is met at
// its own layer.
import { createHash } from 'node:crypto';
import { mkdirSync, mkdtempSync, readFileSync, realpathSync, rmSync, utimesSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { dirname, join } from 'node:path';

import { buildBinaryIndex, buildMetadata, buildPayload, sealPack } from '../../tools/index.mjs';

/** A fresh directory for the test's packs; removed when the test process ends. */
export const root = realpathSync(mkdtempSync(join(tmpdir(), 'corvenda-test-')));
process.on('exit', () => {
  process.chdir(tmpdir()); // a test may have gone below the root, and Windows keeps the folder that a process is in
  try {
    rmSync(root, { recursive: true, force: true });
  } catch (error) {
    if (process.platform !== 'win32') throw error; // which keeps the files of modules until the process has ended
  }
});

export const sha256Hex = (bytes) => createHash('sha256').update(bytes).digest('hex');

let serial = 0;

/** Writes bytes to a file below the root and returns its path. Without a name, each file has a new one. */
export function writeFile(bytes, name = `pack-${++serial}.klrx`) {
  const path = join(root, name);
  mkdirSync(dirname(path), { recursive: true });
  writeFileSync(path, bytes);
  return path;
}

/** Overwrites a file and sets its time: to a status query, other bytes of the same length and `time` look the same. */
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

/** A pack under a fixed last-write time, so that `spoil` can change its file unnoticed by the cache. */
export function writeStamped(recipe) {
  const path = writeFile('');
  writeAt(path, packBytes(recipe));
  return path;
}

/** Overwrites a file with as many other bytes and the same time: only a slot that holds the pack knows its rows. */
export const spoil = (path, time) => writeAt(path, Buffer.alloc(readFileSync(path).length), time);

/**
 * Scene rows as the index holds them, [term, 11 fields], from "lang:term key kind detail priority, …". The language is
 * "zh" by default, the kind "category", the detail empty and the priority 1; "-" is an empty text, "_" a blank.
 */
export const sceneRows = (text) => text.split(', ').map((row) => {
  const [, lang = 'zh', rest] = /^(?:([a-z]+):)?(.*)$/s.exec(row);
  const [term, key, kind = 'category', detail = '', priority = '1'] =
    rest.split(' ').map((field) => (field === '-' ? '' : field.replaceAll('_', ' ')));
  const weight = kind === 'category' || kind === 'detail' ? priority : '0';
  const scene = [`${key} label`, `${key} archive`, `${key}-code`, `${key}-icon`, `${key} default`, priority];
  return [term, key, detail, weight, kind, lang, ...scene];
});
