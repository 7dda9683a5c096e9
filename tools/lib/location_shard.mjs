// The location shard "LDB1": places under the names by which they are written. All integers are little-endian.
//
//   header    magic "LDB1", u16 version 1, u16 reserved, u32 alias count
//   alias     u16 length, text, u16 record count, records
//   record    u16 length, code, u8 English flag, f32 weight, u16 length, label, u16 length, country label

import { ByteWriter } from './byte_writer.mjs';
import { formatFixed } from './text.mjs';

/**
 * One place under one alias.
 * @typedef {object} LocationRecord
 * @property {string | Uint8Array} code readers refuse an empty one
 * @property {number} [englishFlag] 0 (native, the default) or 1 (English); readers refuse more
 * @property {number} [weight] rounded to single precision, 0 by default
 * @property {string | Uint8Array} [label] empty by default, and so is `countryLabel`
 * @property {string | Uint8Array} [countryLabel]
 */

/**
 * The places of one alias.
 * @typedef {object} LocationEntry
 * @property {string | Uint8Array} alias taken as it is: it should be folded with `compactTerm`; readers refuse an empty one
 *   that has records
 * @property {readonly LocationRecord[]} [records]
 * @property {number} [recordCount] that of `records` by default; another makes a document that readers must refuse
 */

/**
 * Builds the data of a location shard document. The options are for making documents that a reader must refuse.
 *
 * @param {readonly LocationEntry[]} [entries]
 * @param {object} [options]
 * @param {number} [options.version] 1 by default
 * @param {number} [options.aliasCount] that of `entries` by default
 * @returns {Uint8Array} a Buffer
 * @throws {RangeError} for a number or length that its bytes cannot hold
 */
export function buildLocationShard(entries = [], { version = 1, aliasCount = entries.length } = {}) {
  const writer = new ByteWriter();
  writer.raw('LDB1').uint(version, 2, 'shard version').uint(0, 2).uint(aliasCount, 4, 'alias count');
  for (const { alias, records = [], recordCount = records.length } of entries) {
    writer.counted(alias, 'an alias').uint(recordCount, 2, 'the record count of an alias');
    for (const { code, englishFlag = 0, weight = 0, label = '', countryLabel = '' } of records) {
      writer.counted(code, 'a location code').uint(Number(englishFlag), 1, 'English flag').float32(weight);
      writer.counted(label, 'a label').counted(countryLabel, 'a country label');
    }
  }
  return writer.finish();
}

/** The fields of the row that a reader makes of a record. */
export function placeFields({ code, englishFlag = 0, weight = 0, label = '', countryLabel = '' }) {
  const [source, lang] = englishFlag ? ['location-db-en', 'en'] : ['location-db-native', 'zh'];
  return [code, source, formatFixed(Math.fround(weight)), label, lang, countryLabel];
}
