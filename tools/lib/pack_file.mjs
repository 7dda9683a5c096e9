// The pack file ".klrx". All integers are little-endian.
//
//   magic "KLRX", u16 format version 1, u16 metadata length, 12 bytes nonce, u32 ciphertext length,
//   metadata (JSON, in clear), ciphertext (the stored payload under AES-256-GCM), 16 bytes tag
//
// The metadata bytes are the cipher's additional data; the 24 bytes before them are not authenticated.

import { createCipheriv, createHash, randomBytes } from 'node:crypto';
import { ByteWriter, toBytes } from './byte_writer.mjs';
import { compressLz4Block } from './lz4.mjs';
import { buildPayload } from './payload.mjs';
import { packKey } from './trust.mjs';

export const PACK_SCHEMA = 'corvenda.semantic-rule-pack.v1';
export const LZ4_COMPRESSION = 'lz4-block-v1';
const NONCE_SIZE = 12;
export const TAG_SIZE = 16;
export const HEADER_SIZE = 24;

/**
 * The fields of a pack's metadata. A field that is `undefined` is left out; whatever else is given follows them.
 * @typedef {object} MetadataFields
 * @property {string | undefined} [schema] the schema of packs by default
 * @property {string | undefined} [kind] "base" or "patch"
 * @property {string | undefined} [keyId] "test-v1" or "release-v1"
 * @property {string | undefined} [ruleSetId] 1 to 96 of the ASCII letters, digits, "-", "." and "_"
 * @property {string | undefined} [baseRuleSetId] the same; a base pack cannot leave it out either
 * @property {string | undefined} [payloadSha256] 64 lower-case hexadecimal digits, over the payload before compression
 * @property {number | undefined} [version] 1 by default
 * @property {string | undefined} [compression] left out for a payload that is stored plain, else "lz4-block-v1"
 */

/**
 * Seals **exactly** these metadata bytes and **exactly** this stored payload. It checks nothing of either: it is how a pack
 * that a reader must refuse is made. The fixed header is not authenticated and can be patched afterwards.
 *
 * @param {object} pack
 * @param {string | Uint8Array} pack.metadata the text in clear, up to 65535 bytes
 * @param {string | Uint8Array} pack.payload what is encrypted: already compressed if the metadata say so
 * @param {import('./trust.mjs').KeyId} pack.keyId the key that is used, whatever the metadata say
 * @param {Uint8Array} [pack.nonce] 12 bytes, random by default. Sealing two payloads under one key and one nonce gives both
 *   away: a fixed nonce is for tests
 * @param {import('./trust.mjs').Trust} [pack.trust] the trust file that holds the key; the development file by default
 * @returns {Uint8Array} the bytes of a .klrx file, a Buffer
 * @throws {RangeError} for an unknown key id, a nonce of another size, or more bytes than the length fields hold
 */
export function sealPack({ metadata, payload, keyId, nonce = randomBytes(NONCE_SIZE), trust }) {
  const metadataBytes = toBytes(metadata, 'metadata');
  const payloadBytes = toBytes(payload, 'payload');
  if (nonce.length !== NONCE_SIZE) throw new RangeError(`the nonce is ${nonce.length} bytes long, not ${NONCE_SIZE}`);
  const writer = new ByteWriter();
  writer.raw('KLRX').uint(1, 2).uint(metadataBytes.length, 2, 'the length of the metadata').raw(nonce, 'nonce');
  writer.uint(payloadBytes.length, 4, 'the length of the ciphertext').raw(metadataBytes);

  const key = packKey(keyId, trust);
  try {
    const cipher = createCipheriv('aes-256-gcm', key, nonce, { authTagLength: TAG_SIZE });
    cipher.setAAD(metadataBytes);
    writer.raw(cipher.update(payloadBytes));
    cipher.final();
    return writer.raw(cipher.getAuthTag()).finish();
  } finally {
    key.fill(0);
  }
}

/**
 * Builds a metadata text: compact JSON in the order schema, kind, keyId, ruleSetId, baseRuleSetId, payloadSha256, version,
 * compression, then whatever else is given. Values are not tested; readers want no escapes in them.
 *
 * @param {MetadataFields} fields
 * @returns {string}
 */
export function buildMetadata(fields) {
  const { schema, kind, keyId, ruleSetId, baseRuleSetId, payloadSha256, version, compression, ...others } = {
    schema: PACK_SCHEMA,
    version: 1,
    ...fields,
  };
  const known = { schema, kind, keyId, ruleSetId, baseRuleSetId, payloadSha256, version, compression };
  return JSON.stringify({ ...known, ...others });
}

/**
 * Builds a whole pack file: the payload of the documents, compressed if asked for, under metadata that fit it.
 *
 * @param {object} pack
 * @param {'base' | 'patch'} [pack.kind] "base" by default
 * @param {string} pack.ruleSetId see `buildMetadata`
 * @param {string} [pack.baseRuleSetId] a base pack's own `ruleSetId` by default; required of a patch
 * @param {import('./trust.mjs').KeyId} [pack.keyId] "test-v1" by default
 * @param {readonly import('./payload.mjs').PayloadDocument[]} [pack.documents]
 * @param {Uint8Array} [pack.payload] a payload to seal instead of that of `documents`; its digest is computed all the same
 * @param {'lz4-block-v1'} [pack.compression] none by default
 * @param {MetadataFields} [pack.metadata] fields that replace the computed ones; `undefined` leaves a field out
 * @param {Uint8Array} [pack.nonce] see `sealPack`
 * @param {import('./trust.mjs').Trust} [pack.trust] see `sealPack`
 * @returns {Uint8Array} the bytes of a .klrx file, a Buffer
 * @throws {TypeError} for a missing `ruleSetId`, or a patch without `baseRuleSetId`
 * @throws {RangeError} for an unknown compression, and as `buildPayload` and `sealPack`
 */
export function buildPack({
  kind = 'base',
  ruleSetId,
  baseRuleSetId = kind === 'base' ? ruleSetId : undefined,
  keyId = 'test-v1',
  documents,
  payload = buildPayload(documents),
  compression,
  metadata,
  nonce,
  trust,
}) {
  if (ruleSetId === undefined) throw new TypeError('ruleSetId is missing');
  if (baseRuleSetId === undefined) throw new TypeError(`baseRuleSetId is missing, and the pack is a ${kind}`);
  if (compression && compression !== LZ4_COMPRESSION) throw new RangeError(`compression ${compression} is unknown`);
  const payloadSha256 = createHash('sha256').update(payload).digest('hex');
  const fields = { kind, keyId, ruleSetId, baseRuleSetId, payloadSha256, compression: compression || undefined };
  return sealPack({
    metadata: buildMetadata({ ...fields, ...metadata }),
    payload: compression ? compressLz4Block(payload) : payload,
    keyId,
    nonce,
    trust,
  });
}

/**
 * The metadata that a pack file shows in clear. Nothing is authenticated here: use it to read the ids of a pack that you
 * made, not to trust one that you received.
 *
 * @param {Uint8Array} bytes a .klrx file
 * @returns {Record<string, unknown>}
 * @throws {Error} if the bytes are not the frame of a pack, or the metadata no JSON object
 */
export function readPackMetadata(bytes) {
  const pack = toBytes(bytes, 'pack');
  const framed = pack.length >= HEADER_SIZE && pack.toString('latin1', 0, 4) === 'KLRX' && pack.readUInt16LE(4) === 1;
  const metadataEnd = framed ? HEADER_SIZE + pack.readUInt16LE(6) : 0;
  if (!framed || metadataEnd + pack.readUInt32LE(20) + TAG_SIZE !== pack.length) {
    throw new Error('the file is not a rule pack');
  }
  try {
    return { ...JSON.parse(pack.toString('utf8', HEADER_SIZE, metadataEnd)) };
  } catch (cause) {
    throw new Error('the metadata of the pack are no JSON', { cause });
  }
}
