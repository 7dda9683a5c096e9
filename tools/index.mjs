// Making rule packs: the builders that the command `klrx` uses, for programs and tests that make packs of their own.
// The formats are described at the head of each module.

export { buildBinaryIndex, INDEX_DOCUMENT_NAME, SECTION_NAMES } from './lib/binary_index.mjs';
export { buildLocationShard } from './lib/location_shard.mjs';
export { compressLz4Block } from './lib/lz4.mjs';
export { buildManifest, manifestText } from './lib/manifest.mjs';
export { buildMetadata, buildPack, readPackMetadata, sealPack } from './lib/pack_file.mjs';
export { buildPayload, DOCUMENT_TYPES } from './lib/payload.mjs';
export { compactTerm, formatFixed } from './lib/text.mjs';
export { developmentTrust, signDetached } from './lib/trust.mjs';

/**
 * The shapes of what the builders take.
 * @typedef {import('./lib/binary_index.mjs').IndexSection} IndexSection
 * @typedef {import('./lib/location_shard.mjs').LocationEntry} LocationEntry
 * @typedef {import('./lib/location_shard.mjs').LocationRecord} LocationRecord
 * @typedef {import('./lib/pack_file.mjs').MetadataFields} MetadataFields
 * @typedef {import('./lib/payload.mjs').PayloadDocument} PayloadDocument
 * @typedef {import('./lib/trust.mjs').KeyId} KeyId
 * @typedef {import('./lib/trust.mjs').SigningKey} SigningKey
 * @typedef {import('./lib/trust.mjs').Trust} Trust
 */
