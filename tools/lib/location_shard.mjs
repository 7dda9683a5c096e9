// The location shard "LDB1": places under the names by which they are written. All integers are little-endian.
//
//   header    magic "LDB1", u16 version 1, u16 reserved, u32 alias count
//   alias     u16 length, text, u16 record count, records
//   record    u16 length, code, u8 English flag, f32 weight, u16 length, label, u16 length, country label

import { ByteWriter } from './byte_writer.mjs';

/**
 * Builds the data of a location shard document.
 *
 * Texts are taken as they are: aliases should be folded with `compactTerm`. Readers refuse an empty code, an English flag
 * above 1, and an empty alias that has records. `recordCount` and the options are for making documents that a reader must
 * refuse.
 *
 * @param {{ alias: string | Uint8Array, recordCount?: number, records: { code: string | Uint8Array, englishFlag?: number,
 *   weight?: number, label?: string | Uint8Array, countryLabel?: string | Uint8Array }[] }[]} [entries] `englishFlag` is
 *   0 (native, the default) or 1; `weight` is rounded to single precision, 0 by default; labels are empty by default
 * @param {object} [options]
 * @param {number} [options.version]
 * @param {number} [options.aliasCount]
 * @returns {Buffer}
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
