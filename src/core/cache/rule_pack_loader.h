// The one entrance to a pack: path confinement, cache, seal, payload. See docs/format/pack.md for the file.
#pragma once

#include <memory>
#include <string>

#include "base/secure_block.h"
#include "base/semantic_error.h"
#include "cache/semantic_cache.h"

namespace corvenda {

/// Gives the parsed pack behind `packPath`, from `slot` if it holds this very file (same canonical path, size and
/// last-write time), else from the file. Two path canonicalisations and two status queries on a hit, no read.
///
/// Takes `semanticCacheMutex` behind the status queries and holds it to the end of the load, decryption included. A
/// failed load leaves the slot as it was. Rows are shared, not copied: filter them with cache/record_table.h.
///
/// Errors begin with "semantic rule-pack", "semantic binary index", "semantic LZ4", "native location shard" or
/// "native"; one has an empty message (see parseRulePackPayload).
bool RulePackLoader(const std::string& packPath, const std::string& allowedRoot, SemanticCacheSlot& slot,
                    std::shared_ptr<const LoadedPack>* loaded, SemanticError* error);

/// Checks and opens the image of a pack file: everything between reading the file and filling the slot. After a failure
/// `loaded` is to be dropped.
bool openRulePack(SecureBlock file, LoadedPack* loaded, SemanticError* error);

/// What lies behind the seal: reads the rows of a decrypted payload, keeps them, and wipes the parts of the payload
/// that no row lies in. `digest` gets the payload's own, made while it is parsed; it is empty if there is none, which
/// is what `error` tells then. The fuzz targets come in here.
bool readPayloadRows(SecureBlock payload, LoadedPack* loaded, std::string* digest, SemanticError* error);

}  // namespace corvenda
