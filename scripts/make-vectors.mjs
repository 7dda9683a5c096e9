// Writes vectors/: small sealed packs and signed manifests for whoever writes another reader or writer, most of them with one
// fault. Each is the good recipe with one step changed and everything after that step right again, so that only the layer
// named beside it can refuse the file. The same source gives the same bytes: nonces are made from the names.
//
//   node scripts/make-vectors.mjs

import { createHash, createPrivateKey } from 'node:crypto';
import { mkdirSync, readdirSync, rmSync, writeFileSync } from 'node:fs';
import { join } from 'node:path';
import { fileURLToPath, pathToFileURL } from 'node:url';

import {
  buildBinaryIndex, buildLocationShard, buildManifest, buildMetadata, buildPayload, developmentTrust, INDEX_DOCUMENT_NAME,
  sealPack,
} from '../tools/index.mjs';

export const vectorFolder = fileURLToPath(new URL('../vectors', import.meta.url));

/** The rule sets that are expected of every vector. */
export const expectedIds = Object.freeze({ baseRuleSetId: 'vectors-1', ruleSetId: 'vectors-2' });

const sha256 = (bytes) => createHash('sha256').update(bytes).digest();

// --- The good recipe ------------------------------------------------------------------------------------------------

const sceneRow = {
  term: '滑板', fields: ['skate', 'street skating', '4', 'category', 'zh', 'Skate', 'Skating', 'SKT', 'board', 'street skating', '4'],
};
const goodSections = [{ type: 'scene', rows: [sceneRow] }];
const goodPlaces = [{ alias: '海边', records: [{ code: 'SEA', weight: 0.5, label: '海边', countryLabel: '海' }] }];

const indexDocument = (data = buildBinaryIndex({ sections: goodSections }), changed = {}) =>
  ({ type: 'semantic-index', name: INDEX_DOCUMENT_NAME, data, ...changed });
const shardDocument = (data = buildLocationShard(goodPlaces)) => ({ type: 'location-shard', name: 'location-world', data });
const goodDocuments = [indexDocument(), shardDocument()];

const same = (value) => value;

/**
 * The steps of a pack, each of which a vector may change.
 * @typedef {object} PackSteps
 * @property {import('../tools/index.mjs').PayloadDocument[]} [documents]
 * @property {{ payloadVersion?: number, documentCount?: number }} [payloadOptions]
 * @property {(payload: Buffer) => Buffer} [payload]
 * @property {Record<string, any>} [metadata] fields in place of the right ones
 * @property {(metadata: string) => string} [text]
 * @property {(payload: Buffer) => Buffer} [store] what is sealed in place of the payload
 * @property {import('../tools/index.mjs').KeyId} [sealKey] that of the metadata by default
 * @property {(pack: Buffer) => Buffer} [file]
 */

/**
 * @param {string} name
 * @param {PackSteps} steps
 */
function makePack(name, steps) {
  const { documents = goodDocuments, payloadOptions, payload = same, metadata, text = same, store = same, sealKey, file = same } = steps;
  const bytes = payload(Buffer.from(buildPayload(documents, payloadOptions)));
  const fields = { kind: 'patch', keyId: 'test-v1', ...expectedIds, payloadSha256: sha256(bytes).toString('hex'), ...metadata };
  const keyId = sealKey ?? metadata?.keyId ?? 'test-v1';
  const nonce = sha256(name).subarray(0, 12);
  return file(Buffer.from(sealPack({ metadata: text(buildMetadata(fields)), payload: store(bytes), keyId, nonce })));
}

// --- Single changes -------------------------------------------------------------------------------------------------

const cut = (count) => (bytes) => bytes.subarray(0, bytes.length - count);
const longer = (bytes) => Buffer.concat([bytes, Buffer.from([0])]);
const put = (at, ...values) => (bytes) =>
  Buffer.concat([bytes.subarray(0, at), Buffer.from(values), bytes.subarray(at + values.length)]);
/** Of the byte at `at`, from the end if it is negative. */
const flipBit = (at) => (bytes) => put((at + bytes.length) % bytes.length, bytes.at(at) ^ 1)(bytes);
const swap = (from, to) => (text) => text.replace(from, to);

const index = (options) => ({ documents: [indexDocument(buildBinaryIndex({ sections: goodSections, ...options }))] });
const indexBytes = (change) => ({ documents: [indexDocument(change(buildBinaryIndex({ sections: goodSections })))] });
const sections = (...list) => index({ sections: list, addMissing: false });
const row = (term, fields) => index({ sections: [{ type: 'scene', rows: [{ term, fields }] }] });
const shard = (entries, options) => ({ documents: [indexDocument(), shardDocument(buildLocationShard(entries, options))] });
const place = (changed) => shard([{ ...goodPlaces[0], records: [{ ...goodPlaces[0].records[0], ...changed }] }]);
const shardBytes = (change) => ({ documents: [indexDocument(), shardDocument(change(buildLocationShard(goodPlaces)))] });
const document = (changed) => ({ documents: [{ type: 'scene-lexicon', encoding: 1, name: 'notes', data: 'x', ...changed }] });
const everySection = ['scene', 'human', 'celebrity', 'location', 'facet'].map((type) => ({ type }));

const compressed = (store, rest) => ({ metadata: { compression: 'lz4-block-v1' }, store, ...rest });
/** The beginning of an LZ4 sequence: a token and the bytes that extend its number of literals, at least 15. */
function literalLength(literals, match) {
  const rest = literals - 15;
  return Buffer.concat([Buffer.from([0xf0 | match]), Buffer.alloc(Math.floor(rest / 255), 255), Buffer.from([rest % 255])]);
}
const literalsOnly = (bytes) => Buffer.concat([literalLength(bytes.length, 0), bytes]);
const REPEATED = '滑'.repeat(20);
/** The payload with its repeated characters, from the second on, as a match that reaches into what it makes. */
function withMatch(bytes) {
  const [begin, end] = [bytes.indexOf(REPEATED) + 3, bytes.indexOf(REPEATED) + Buffer.byteLength(REPEATED)];
  const match = Buffer.from([3, 0, end - begin - 4 - 15]); // offset 3, then what the token's 4 + 15 leave of the length
  return Buffer.concat([literalLength(begin, 15), bytes.subarray(0, begin), match, literalsOnly(bytes.subarray(end))]);
}

// --- Packs: [name, message, comment, changed steps] by the layer that must refuse them ------------------------------

const [PACK, INDEX, SHARD, LZ4] = ['semantic rule-pack', 'semantic binary index', 'native location shard', 'semantic LZ4'];
const METADATA = `${PACK} metadata is invalid`;
const DESCRIPTOR = `${PACK} document descriptor is invalid`;
const SEAL = `${PACK} authentication or decryption failed`;

/** @type {Record<string, [name: string, message: string | null, comment: string, steps: PackSteps][]>} */
const packs = {
  none: [
    ['a_patch_is_accepted', null, 'the good recipe', {}],
    ['a_patch_under_the_release_key_is_accepted', null, 'the other key of the trust file',
      { metadata: { keyId: 'release-v1' } }],
    ['a_compressed_patch_is_accepted', null, 'one LZ4 block with a match that overlaps itself',
      compressed(withMatch, row('滑板', [REPEATED]))],
    ['an_empty_compression_means_a_plain_payload', null, 'the same as none', { metadata: { compression: '' } }],
    ['unknown_metadata_are_passed_over', null, 'authenticated, and of no meaning', { metadata: { made: 'by hand' } }],
    ['the_first_of_two_metadata_counts', null, 'the second would be refused', { text: swap('}', ',"version":9}') }],
    ['documents_of_unread_types_are_counted', null, 'no index, no shard: a pack without rows', document()],
    ['a_shard_with_encoding_1_is_not_parsed', null, 'its bytes are no shard',
      document({ type: 'location-shard', encoding: 1 })],
    ['reserved_bytes_of_the_index_are_not_read', null, 'offset 12 of the index', indexBytes(put(12, 1, 2, 3, 4))],
    ['sections_stand_in_any_order', null, 'facet first', sections(...[...everySection].reverse())],
  ],
  delta: [
    ['a_base_pack_is_no_patch', 'semantic delta pack kind is not patch', 'sound by itself', { metadata: { kind: 'base' } }],
    ['a_patch_starts_from_another_rule_set', 'semantic delta base rule-set id does not match', 'sound by itself',
      { metadata: { baseRuleSetId: 'vectors-0' } }],
    ['a_patch_leads_to_another_rule_set', 'semantic delta rule-set id does not match', 'sound by itself; ids are compared byte for byte',
      { metadata: { ruleSetId: 'Vectors-2' } }],
  ],
  file: [
    ['thirty_nine_bytes_are_no_pack', `${PACK} file stat is invalid`, 'one byte less than header and tag',
      { file: (bytes) => bytes.subarray(0, 39) }],
  ],
  header: [
    ['the_magic_is_in_lower_case', `${PACK} magic is invalid`, 'klrx', { file: put(0, ...Buffer.from('klrx')) }],
    ['the_format_version_is_2', `${PACK} fixed header is invalid`, 'offset 4', { file: put(4, 2) }],
    ['the_metadata_length_is_0', `${PACK} fixed header is invalid`, 'offset 6', { file: put(6, 0, 0) }],
    ['the_ciphertext_length_is_0', `${PACK} length fields are invalid`, 'offset 20', { file: put(20, 0, 0, 0, 0) }],
    ['the_ciphertext_length_is_the_largest', `${PACK} length fields are invalid`, 'sums are made in 64 bits',
      { file: put(20, 255, 255, 255, 255) }],
    ['the_last_byte_of_the_tag_is_missing', `${PACK} length fields are invalid`, 'cut by one byte', { file: cut(1) }],
    ['a_byte_follows_the_tag', `${PACK} length fields are invalid`, 'nothing follows the tag', { file: longer }],
  ],
  metadata: [
    ['the_schema_is_of_version_2', METADATA, 'sealed as it stands, so that only the scanner can refuse it',
      { metadata: { schema: 'corvenda.semantic-rule-pack.v2' } }],
    ['the_version_is_2', METADATA, 'a number', { metadata: { version: 2 } }],
    ['the_version_is_a_string', METADATA, 'a run of digits is wanted', { metadata: { version: '1' } }],
    ['the_version_wraps_to_1_in_32_bits', METADATA, '4294967297', { metadata: { version: 4294967297 } }],
    ['the_kind_is_unknown', METADATA, 'base or patch', { metadata: { kind: 'delta' } }],
    ['the_key_id_is_unknown', METADATA, 'sealed under test-v1', { metadata: { keyId: 'test-v2' }, sealKey: 'test-v1' }],
    ['a_rule_set_id_has_97_characters', METADATA, 'at most 96', { metadata: { ruleSetId: 'v'.repeat(97) } }],
    ['a_rule_set_id_holds_a_slash', METADATA, 'letters, digits, "-", "." and "_"', { metadata: { ruleSetId: 'vectors/2' } }],
    ['the_base_rule_set_id_is_missing', METADATA, 'a base pack needs one as well', { metadata: { baseRuleSetId: undefined } }],
    ['the_payload_digest_has_63_digits', METADATA, 'its length is tested here, its digits are compared after decompression',
      { metadata: { payloadSha256: '0'.repeat(63) } }],
    ['a_blank_follows_a_colon', METADATA, 'the text is scanned, not parsed', { text: swap('"kind":', '"kind": ') }],
    ['a_string_holds_an_escape', METADATA, 'no escapes, although JSON has them',
      { text: swap('"kind":"patch"', '"kind":"p\\u0061tch"') }],
    ['the_compression_is_unknown', `${PACK} compression is unsupported`, 'only lz4-block-v1',
      { metadata: { compression: 'zstd' } }],
  ],
  seal: [
    ['one_bit_of_the_ciphertext_is_flipped', SEAL, 'the last byte in front of the tag', { file: flipBit(-17) }],
    ['one_bit_of_the_tag_is_flipped', SEAL, 'its last byte', { file: flipBit(-1) }],
    ['one_bit_of_the_nonce_is_flipped', SEAL, 'not authenticated itself: another nonce is another key stream',
      { file: flipBit(8) }],
    ['a_letter_of_the_metadata_was_changed_afterwards', SEAL, 'vectors-3 for vectors-2: the metadata are the additional data',
      { file: (bytes) => put(bytes.indexOf('vectors-2') + 8, 0x33)(bytes) }],
    ['it_was_sealed_under_the_other_key', SEAL, 'the metadata say test-v1', { sealKey: 'release-v1' }],
  ],
  compression: [
    ['a_block_ends_inside_its_literals', `${LZ4} literal bounds are invalid`, 'cut by one byte, then sealed',
      compressed((bytes) => cut(1)(literalsOnly(bytes)))],
    ['a_block_ends_inside_an_offset', `${LZ4} match offset is truncated`, 'one byte of two',
      compressed((bytes) => Buffer.concat([literalsOnly(bytes), Buffer.from([1])]))],
    ['an_offset_is_0', `${LZ4} match offset is invalid`, 'offsets begin at 1',
      compressed((bytes) => Buffer.concat([literalsOnly(bytes), Buffer.from([0, 0])]))],
    ['an_offset_reaches_before_the_beginning', `${LZ4} match offset is invalid`, 'a match before anything is there',
      compressed(() => Buffer.from([0, 1, 0]))],
    ['a_block_ends_inside_a_match_length', `${LZ4} match length is truncated`, 'the token asks for more bytes',
      compressed(() => Buffer.from([0x1f, 0x61, 1, 0]))],
  ],
  digest: [
    ['the_payload_digest_is_of_other_bytes', `${PACK} payload digest is invalid`, 'the seal holds',
      { metadata: { payloadSha256: '0'.repeat(64) } }],
    ['the_payload_digest_is_in_upper_case', `${PACK} payload digest is invalid`, 'digits are lower case',
      { text: (text) => text.replace(/[0-9a-f]{64}/, (digits) => digits.toUpperCase()) }],
  ],
  payload: [
    ['the_payload_magic_is_wrong', `${PACK} payload magic is invalid`, 'SRP2', { payload: put(3, 0x32) }],
    ['the_payload_version_is_2', `${PACK} payload header is invalid`, 'offset 4', { payloadOptions: { payloadVersion: 2 } }],
    ['a_payload_has_no_documents', `${PACK} payload header is invalid`, '1 to 512', { documents: [] }],
    ['a_document_type_is_10', DESCRIPTOR, '1 to 9', document({ type: 10 })],
    ['a_document_encoding_is_3', DESCRIPTOR, '1 or 2', document({ encoding: 3 })],
    ['a_document_name_has_129_bytes', DESCRIPTOR, '1 to 128', document({ name: 'n'.repeat(129) })],
    ['a_document_name_holds_a_slash', `${PACK} document name is invalid`, 'names are no paths', document({ name: 'a/b' })],
    ['a_document_is_empty', DESCRIPTOR, 'at least one byte', document({ data: '' })],
    ['a_document_is_longer_than_the_payload', `${PACK} document bounds are invalid`, 'by one byte',
      document({ dataLength: 2 })],
    ['a_document_is_announced_and_missing', `${PACK} document header is truncated`, 'three of two',
      { payloadOptions: { documentCount: 3 } }],
    ['a_document_digest_is_of_other_bytes', `${PACK} document digest is invalid`, 'the payload\'s digest fits',
      document({ sha256: Buffer.alloc(32) })],
    ['a_byte_follows_the_last_document', `${PACK} payload has trailing bytes`, 'nothing follows it', { payload: longer }],
  ],
  index: [
    ['an_index_has_another_name', '', 'refused without a message',
      { documents: [indexDocument(undefined, { name: 'semantic-binary-index-v2' })] }],
    ['an_index_has_encoding_1', '', 'refused without a message', { documents: [indexDocument(undefined, { encoding: 1 })] }],
    ['the_index_version_is_4', `${INDEX} header is invalid`, 'offset 4', index({ version: 4 })],
    ['an_index_has_no_sources', `${INDEX} header is invalid`, 'at least one', index({ sourceDocumentCount: 0 })],
    ['a_section_stands_twice', `${INDEX} section type is invalid`, 'scene, and no facet',
      sections(...everySection.slice(0, 4), { type: 'scene' })],
    ['a_section_is_missing', `${INDEX} section header is truncated`, 'four of five', sections(...everySection.slice(1))],
    ['a_section_format_is_2', `${INDEX} section header is invalid`, 'always 1',
      index({ sections: [{ type: 'scene', sectionFormat: 2 }] })],
    ['a_section_has_fewer_terms_than_it_says', `${INDEX} term is invalid`, 'one of four billion: nothing is reserved by it',
      index({ sections: [{ ...goodSections[0], termCount: 0xffffffff }] })],
    ['a_section_has_more_bytes_than_its_terms', `${INDEX} section has trailing bytes`, 'a term too many',
      index({ sections: [{ ...goodSections[0], termCount: 0 }] })],
    ['a_term_is_empty', `${INDEX} term is invalid`, 'at least one byte', row('', ['x'])],
    ['a_byte_follows_the_last_section', `${INDEX} has trailing bytes`, 'nothing follows it', indexBytes(longer)],
  ],
  shard: [
    ['the_shard_version_is_2', `${SHARD} header is invalid`, 'offset 4', shard(goodPlaces, { version: 2 })],
    ['a_shard_ends_inside_a_record', `${SHARD} country label is truncated`, 'cut by one byte', shardBytes(cut(1))],
    ['a_shard_has_fewer_aliases_than_it_says', `${SHARD} alias length is invalid`, 'two of one',
      shard(goodPlaces, { aliasCount: 2 })],
    ['an_english_flag_is_2', `${SHARD} record is invalid`, '0 or 1', place({ englishFlag: 2 })],
    ['a_place_has_no_code', `${SHARD} record is invalid`, 'at least one byte', place({ code: '' })],
    ['a_byte_follows_the_last_alias', `${SHARD} has trailing bytes`, 'nothing follows it', shardBytes(longer)],
  ],
};

// --- Manifests: [name, message, comment, fields or change, pack] ----------------------------------------------------

const CONTRACT = 'semantic delta manifest contract is invalid';
const IDENTITY = 'semantic delta manifest trust or identity check failed';
const FILE = 'semantic delta manifest pack digest or size mismatch';
const SIGNATURE = 'semantic delta manifest Ed25519 signature verification failed';
const MISMATCH = 'semantic delta pack metadata does not match manifest';

const GOOD_PACK = 'a_patch_is_accepted';
// The example of RFC 8410, section 10.3: a private key that is public and pinned nowhere.
const foreignDer = 'MC4CAQAwBQYDK2VwBCIEINTuctv5E1hK1bbY8fdp+K06/nwoy/HU++CXqI9EdVhC';
const foreignKey = createPrivateKey({ key: Buffer.from(foreignDer, 'base64'), format: 'der', type: 'pkcs8' });
const bend = (text) => text.replace(/("signature":")(.)/, (_, key, letter) => key + (letter === 'A' ? 'B' : 'A'));

/**
 * The steps of a manifest.
 * @typedef {object} ManifestSteps
 * @property {string} [pack] the vector that it names
 * @property {Record<string, unknown>} [fields] signed in place of the right ones
 * @property {number} [size] added to the pack's, and signed
 * @property {string[] | string} [modules]
 * @property {import('../tools/index.mjs').SigningKey} [signingKey]
 * @property {boolean} [pins] the pinned key stands in the manifest, whichever signs it
 * @property {(manifest: string) => string} [text]
 */

/** @type {Record<string, [name: string, message: string | null, comment: string, steps: ManifestSteps][]>} */
const manifests = {
  none: [
    ['a_manifest_vouches_for_its_patch', null, 'the good recipe', {}],
    ['an_unknown_key_is_not_signed', null, 'put in after the signing', { text: swap('{', '{"made":"by hand",') }],
    ['leading_zeros_are_signed_without', null, 'the signed text holds numbers in plain decimal',
      { text: (text) => text.replace('"packBytes":', '"packBytes":000') }],
    ['blanks_inside_the_modules_are_signed', null, 'their raw text, up to the first "]"', { modules: '[ "scene" , "facet" ]' }],
  ],
  manifest: [
    ['a_manifest_schema_is_of_version_2', CONTRACT, 'signed as it stands',
      { fields: { schema: 'corvenda.semantic-delta-manifest.v2' } }],
    ['a_manifest_key_id_is_unknown', CONTRACT, 'signed as it stands',
      { fields: { keyId: 'corvenda-intl-manifest-ed25519-v2' } }],
    ['a_blank_follows_a_colon_of_the_manifest', CONTRACT, 'scanned as a pack\'s metadata are',
      { text: swap('"pack":', '"pack": ') }],
    ['the_modules_are_a_string', CONTRACT, 'an array is wanted', { text: swap('["scene"]', '"scene"') }],
    ['the_signature_is_said_to_be_hexadecimal', CONTRACT, 'base64 alone', { text: swap('"base64"', '"hex"') }],
  ],
  trust: [
    ['a_manifest_names_another_file', IDENTITY, 'signed: an old patch can\'t take the place of a new one',
      { fields: { pack: 'another.klrx' } }],
    ['a_manifest_joins_other_rule_sets', IDENTITY, 'signed; the caller expects others', { fields: { ruleSetId: 'vectors-3' } }],
    ['a_manifest_is_signed_by_another_key', IDENTITY, 'and honestly says so', { signingKey: foreignKey }],
  ],
  pack: [
    ['a_signed_digest_is_of_another_file', FILE, 'the digest is of the sealed file',
      { fields: { packSha256: '0'.repeat(64) } }],
    ['a_signed_size_is_one_too_large', FILE, 'the digest fits', { size: 1 }],
    ['the_first_of_two_sizes_counts', FILE, 'the second fits', { text: swap('{', '{"packBytes":1,') }],
  ],
  signature: [
    ['one_letter_of_the_signature_is_changed', SIGNATURE, 'the first of 88', { text: bend }],
    ['the_modules_were_changed_afterwards', SIGNATURE, 'they are signed as raw text',
      { text: swap('["scene"]', '["scene","facet"]') }],
    ['another_key_signed_under_the_pinned_one', SIGNATURE, 'the pins stand there, the signature is not theirs',
      { signingKey: foreignKey, pins: true }],
  ],
  metadata: [
    ['a_manifest_vouches_for_a_base_pack', MISMATCH, 'size, digest and signature hold', { pack: 'a_base_pack_is_no_patch' }],
    ['a_manifest_vouches_for_a_patch_of_another_base', MISMATCH, 'the pack\'s own metadata have the last word',
      { pack: 'a_patch_starts_from_another_rule_set' }],
  ],
  seal: [
    ['a_manifest_vouches_for_a_broken_seal', SEAL, 'the pack is opened like any other once the signature held',
      { pack: 'one_bit_of_the_tag_is_flipped' }],
  ],
};

/**
 * @param {ManifestSteps} steps
 * @param {Buffer} packBytes
 */
function makeManifest({ pack = GOOD_PACK, fields, size = 0, modules = ['scene'], signingKey, pins, text = same }, packBytes) {
  const signed = { ...fields, ...(size && { packBytes: packBytes.length + size }), ...(pins && developmentTrust) };
  return Buffer.from(text(buildManifest({ packBytes, pack: `${pack}.klrx`, ...expectedIds, modules, signingKey, fields: signed })));
}

// --- All ------------------------------------------------------------------------------------------------------------

const MANIFEST_KEY = 'corvenda-intl-manifest-ed25519-v1';

/**
 * All files of the folder but its README, by name.
 * @returns {Map<string, Buffer>}
 */
export function makeVectors() {
  const files = new Map();
  const add = (file, bytes, sidecar) => {
    if (files.has(file)) throw new Error(`two vectors are called ${file}`);
    files.set(file, bytes);
    files.set(file.replace(/\.\w+$/, '.json'), Buffer.from(`${JSON.stringify({ file, ...sidecar }, null, 2)}\n`));
  };
  for (const [layer, list] of Object.entries(packs)) {
    for (const [name, message, comment, steps] of list) {
      const keyId = steps.metadata?.keyId ?? 'test-v1';
      add(`${name}.klrx`, makePack(name, steps), { keyId, layer, message, comment });
    }
  }
  for (const [layer, list] of Object.entries(manifests)) {
    for (const [name, message, comment, steps] of list) {
      const pack = `${steps.pack ?? GOOD_PACK}.klrx`;
      const keyId = steps.fields?.keyId ?? MANIFEST_KEY;
      add(`${name}.manifest`, makeManifest(steps, files.get(pack)), { pack, keyId, layer, message, comment });
    }
  }
  return files;
}

if (process.argv[1] && import.meta.url === pathToFileURL(process.argv[1]).href) {
  mkdirSync(vectorFolder, { recursive: true });
  for (const name of readdirSync(vectorFolder)) if (name !== 'README.md') rmSync(join(vectorFolder, name));
  for (const [name, bytes] of makeVectors()) writeFileSync(join(vectorFolder, name), bytes);
}
