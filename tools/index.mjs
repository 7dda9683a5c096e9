// Making rule packs: the builders behind the command `klrx`, for programs and tests that make packs of their own.
// The formats are described at the head of each module.

export { buildBinaryIndex, INDEX_DOCUMENT_NAME, SECTION_NAMES } from './lib/binary_index.mjs';
export { buildLocationShard } from './lib/location_shard.mjs';
export { compressLz4Block } from './lib/lz4.mjs';
export { buildManifest, manifestText } from './lib/manifest.mjs';
export { buildMetadata, buildPack, readPackMetadata, sealPack } from './lib/pack_file.mjs';
export { buildPayload, DOCUMENT_TYPES } from './lib/payload.mjs';
export { compactTerm, formatFixed } from './lib/text.mjs';
export { developmentTrust, signDetached } from './lib/trust.mjs';
