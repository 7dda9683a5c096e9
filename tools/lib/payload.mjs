// The payload "SRP1": the named documents of a pack. All integers are little-endian.
//
//   header    magic "SRP1", u16 version 1, u16 document count (1 to 512)
//   document  u8 type (1 to 9), u8 encoding (1 or 2), u16 name length (1 to 128), u32 data length (not 0),
//             32 bytes SHA-256 of the data, name (ASCII letters, digits, "-", ".", "_"), data

import { createHash } from 'node:crypto';
import { ByteWriter, toBytes } from './byte_writer.mjs';

/** Document type names in the order of their numbers, which begin at 1. */
export const DOCUMENT_TYPES = Object.freeze([
  'scene-lexicon',
  'human-language',
  'star-manifest',
  'star-shard',
  'location-meta',
  'location-shard',
  'bundled-patch',
  'semantic-index',
  'semantic-facet-lexicon',
]);

function documentType(type) {
  if (typeof type === 'number') return type;
  const index = DOCUMENT_TYPES.indexOf(type);
  if (index < 0) throw new RangeError(`document type ${JSON.stringify(type)} is none of ${DOCUMENT_TYPES.join(', ')}`);
  return index + 1;
}

/**
 * One document. The last three values are for making payloads that a reader must refuse; left out, they are computed.
 * @typedef {object} PayloadDocument
 * @property {number | string} type a name, or 1 to 9 (0 to 255 are written)
 * @property {number} [encoding] 2 by default, the only one whose content is parsed
 * @property {string | Uint8Array} name 1 to 128 of the ASCII letters, digits, "-", "." and "_"
 * @property {string | Uint8Array} data at least one byte
 * @property {Uint8Array} [sha256]
 * @property {number} [nameLength]
 * @property {number} [dataLength]
 */

/**
 * Builds a payload of 1 to 512 documents. Nothing is tested but what the lengths can hold; the options are for making
 * payloads that a reader must refuse.
 *
 * @param {readonly PayloadDocument[]} [documents]
 * @param {object} [options]
 * @param {number} [options.payloadVersion] 1 by default
 * @param {number} [options.documentCount] that of `documents` by default
 * @returns {Uint8Array} a Buffer
 * @throws {RangeError} for a type name that does not exist, or a number or length that its bytes cannot hold
 */
export function buildPayload(documents = [], { payloadVersion = 1, documentCount = documents.length } = {}) {
  const writer = new ByteWriter();
  writer.raw('SRP1').uint(payloadVersion, 2, 'payload version').uint(documentCount, 2, 'document count');
  for (const document of documents) {
    const name = toBytes(document.name, 'a document name');
    const data = toBytes(document.data, 'document data');
    writer.uint(documentType(document.type), 1, 'document type').uint(document.encoding ?? 2, 1, 'document encoding');
    writer.uint(document.nameLength ?? name.length, 2, 'the length of a document name');
    writer.uint(document.dataLength ?? data.length, 4, 'the length of a document');
    writer.raw(document.sha256 ?? createHash('sha256').update(data).digest(), 'document digest');
    writer.raw(name).raw(data);
  }
  return writer.finish();
}
