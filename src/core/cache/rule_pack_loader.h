// The one entrance to a pack: path confinement, cache, seal, payload. See docs/format/pack.md for the file.
#pragma once

#include <memory>
#include <string>

#include "base/secure_block.h"
#include "base/semantic_error.h"
#include "cache/semantic_cache.h"
#include "pack/pack_file.h"

namespace corvenda {

/// Gives the parsed pack behind `packPath`, from `slot` if it holds this very file (same canonical path, size and
/// last-write time), else from the file. A hit reads nothing: it asks where the paths lead and for the file's status.
///
/// Takes `semanticCacheMutex` after that and holds it to the end of the load, decryption included. A failed load leaves
/// the slot as it was. Rows are shared, not copied: filter them with rows/record_table.h.
///
/// Errors: those of `locatePack`, `readPackFile`, `checkPackRoot` and `openRulePack`.
bool RulePackLoader(const std::string& packPath, const std::string& allowedRoot, SemanticCacheSlot& slot,
                    std::shared_ptr<const LoadedPack>* loaded, SemanticError* error);

/// A pack file that was read and hashed by the caller.
struct HashedPack {
  FileImage image;
  std::filesystem::path path;  ///< canonical, as `root`
  std::filesystem::path root;
  Sha256Digest sha256{};  ///< of the image
};

/// The load of these very bytes, whatever lies in the file by now: from `slot` only if it was filled from bytes with
/// this digest. Otherwise as `RulePackLoader`, whose checks of the path come first. Errors: those of `checkPackRoot`,
/// `checkPackExtension` and `openRulePack`, "semantic rule-pack file stat is invalid".
bool loadHashedPack(HashedPack pack, SemanticCacheSlot& slot, std::shared_ptr<const LoadedPack>* loaded,
                    SemanticError* error);

/// Checks and opens the image of a pack file: everything between reading the file and filling the slot. After a failure
/// `loaded` is to be dropped. Errors begin with "semantic rule-pack", "semantic binary index", "semantic LZ4", "native
/// location shard" or "native"; one has an empty message (see parseRulePackPayload).
bool openRulePack(SecureBlock file, LoadedPack* loaded, SemanticError* error);

/// What lies behind the seal: reads the rows of a decrypted payload, keeps them, and wipes the parts of the payload
/// that no row lies in. `digest` gets the payload's own, made while it is parsed; it is empty if there is none, which
/// is what `error` tells then. The fuzz targets come in here.
bool readPayloadRows(SecureBlock payload, LoadedPack* loaded, std::string* digest, SemanticError* error);

}  // namespace corvenda
