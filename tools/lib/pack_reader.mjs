// What is in a pack: the other direction of the builders. The native module is the judge of whether a pack is sound; this
// reader is for packs of one's own, and checks what it needs in order not to show anything wrong.

import { createDecipheriv, createHash } from 'node:crypto';
import { SECTION_NAMES } from './binary_index.mjs';
import { attempt, no } from './command_line.mjs';
import { readBytes } from './files.mjs';
import { placeFields } from './location_shard.mjs';
import { decodeLz4Block } from './lz4.mjs';
import { HEADER_SIZE, LZ4_COMPRESSION, readPackMetadata, TAG_SIZE } from './pack_file.mjs';
import { DOCUMENT_TYPES } from './payload.mjs';
import { packKey } from './trust.mjs';

/**
 * One row.
 * @typedef {object} PackRow
 * @property {string} term
 * @property {string[]} fields
 */

/** A row of a location shard, with its weight as it is stored. @typedef {PackRow & { weight: number }} ShardRow */

/**
 * A document of a payload.
 * @typedef {object} PackDocument
 * @property {string} type
 * @property {number} encoding
 * @property {string} name
 * @property {Buffer} data
 */

/**
 * What a pack holds.
 * @typedef {object} PackContent
 * @property {Record<string, any>} metadata
 * @property {number} packBytes
 * @property {number} storedBytes of the payload as it is stored
 * @property {number} payloadBytes of the payload
 * @property {PackDocument[]} documents
 * @property {Record<import('../../lib/index.cjs').Section, PackRow[]>} sections the rows of the index, by the name of their section
 * @property {{ name: string, rows: ShardRow[] }[]} shards
 */

/** Reads a binary structure from its beginning; what goes beyond its end is an error. */
function readerOf(bytes) {
  let at = 0;
  const take = (size) => {
    if (size > bytes.length - at) throw new Error('the pack ends too early');
    at += size;
    return bytes.subarray(at - size, at);
  };
  const uint = (size) => take(size).readUIntLE(0, size);
  return {
    take,
    uint,
    float: () => take(4).readFloatLE(0),
    text: () => take(uint(2)).toString('utf8'),
    atEnd: () => at === bytes.length,
  };
}

/** Decrypts what a pack stores. */
function openSeal(bytes, metadata, trust) {
  const ciphertextAt = HEADER_SIZE + bytes.readUInt16LE(6);
  const ciphertextEnd = bytes.length - TAG_SIZE;
  const key = packKey(metadata.keyId, trust);
  try {
    const decipher = createDecipheriv('aes-256-gcm', key, bytes.subarray(8, 20), { authTagLength: TAG_SIZE });
    decipher.setAAD(bytes.subarray(HEADER_SIZE, ciphertextAt)).setAuthTag(bytes.subarray(ciphertextEnd));
    return Buffer.concat([decipher.update(bytes.subarray(ciphertextAt, ciphertextEnd)), decipher.final()]);
  } catch {
    throw new Error(`cannot be opened with the key ${metadata.keyId} of this trust file`);
  } finally {
    key.fill(0);
  }
}

/** @returns {PackDocument[]} */
function readPayload(payload) {
  const reader = readerOf(payload);
  if (reader.take(4).toString('latin1') !== 'SRP1' || reader.uint(2) !== 1) throw new Error('the payload is none');
  const documents = Array.from({ length: reader.uint(2) }, () => {
    const [type, encoding, nameLength, dataLength] = [reader.uint(1), reader.uint(1), reader.uint(2), reader.uint(4)];
    reader.take(32);
    return {
      type: DOCUMENT_TYPES[type - 1],
      encoding,
      name: reader.take(nameLength).toString('latin1'),
      data: reader.take(dataLength),
    };
  });
  if (!reader.atEnd()) throw new Error('the payload is longer than its documents');
  return documents;
}

/**
 * The rows of a binary index, section by section.
 * @param {Buffer} data
 * @returns {{ section: string, rows: PackRow[] }[]}
 */
export function readBinaryIndex(data) {
  const reader = readerOf(data);
  reader.take(6);
  const sectionCount = reader.uint(2);
  reader.take(8);
  return Array.from({ length: sectionCount }, () => {
    const type = reader.uint(1);
    reader.take(3);
    const termCount = reader.uint(4);
    reader.take(8);
    const rows = [];
    for (let i = 0; i < termCount; i += 1) {
      const term = reader.text();
      rows.push({ term, fields: Array.from({ length: reader.uint(2) }, reader.text) });
    }
    return { section: SECTION_NAMES[type - 1], rows };
  });
}

/**
 * The rows that a reader makes of a location shard.
 * @param {Buffer} data
 * @returns {ShardRow[]}
 */
export function readLocationShard(data) {
  const reader = readerOf(data);
  reader.take(8);
  const rows = [];
  for (let aliases = reader.uint(4); aliases > 0; aliases -= 1) {
    const term = reader.text();
    for (let records = reader.uint(2); records > 0; records -= 1) {
      const [code, englishFlag, weight, label, countryLabel] =
        [reader.text(), reader.uint(1), reader.float(), reader.text(), reader.text()];
      rows.push({ term, fields: placeFields({ code, englishFlag, weight, label, countryLabel }), weight });
    }
  }
  return rows;
}

/**
 * Opens the bytes of a pack.
 * @param {Buffer} bytes
 * @param {import('./trust.mjs').Trust} [trust] the trust file that holds the key; the development file by default
 * @returns {PackContent}
 * @throws {Error} in words, if it is no sound pack under this key
 */
export function openPack(bytes, trust) {
  const metadata = readPackMetadata(bytes);
  const stored = openSeal(bytes, metadata, trust);
  const payload = metadata.compression === LZ4_COMPRESSION ? decodeLz4Block(stored) : stored;
  if (createHash('sha256').update(payload).digest('hex') !== metadata.payloadSha256) {
    throw new Error('the payload has another digest than the metadata say');
  }
  const documents = readPayload(payload);
  /** @type {any} */
  const sections = Object.fromEntries(SECTION_NAMES.map((name) => [name, []]));
  for (const { data } of documents.filter(({ type }) => type === 'semantic-index')) {
    for (const { section, rows } of readBinaryIndex(data)) rows.forEach((row) => sections[section].push(row));
  }
  const shards = documents.filter(({ type, encoding }) => type === 'location-shard' && encoding === 2)
    .map(({ name, data }) => ({ name, rows: readLocationShard(data) }));
  const { length: packBytes } = bytes;
  return { metadata, packBytes, storedBytes: stored.length, payloadBytes: payload.length, documents, sections, shards };
}

/**
 * Opens a pack file; a failure is the answer.
 * @param {string} path
 * @param {import('./trust.mjs').Trust} [trust]
 */
export function readPack(path, trust) {
  return attempt(path, () => {
    const bytes = readBytes(path);
    try {
      return openPack(bytes, trust);
    } catch (error) {
      const hint = error.message.startsWith('cannot be opened') ? '--trust FILE names the trust file of its maker' : undefined;
      throw no(`${path}: ${error.message}`, { hint });
    }
  });
}

/**
 * The data of the scenes of a pack: the last six fields of the first row of the kind "category" of each.
 * @param {PackContent} content
 * @param {string} path of the pack, for messages
 * @returns {Map<string, { tail: string[], place: string }>}
 */
export function scenesOf({ sections }, path) {
  const scenes = new Map();
  for (const { fields } of sections.scene) {
    if (fields[3] === 'category' && !scenes.has(fields[0])) scenes.set(fields[0], { tail: fields.slice(5), place: `in ${path}` });
  }
  return scenes;
}
