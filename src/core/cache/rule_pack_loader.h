// The one way to load a pack: path confinement, cache, seal, payload. See docs/format/pack.md for the file.
#pragma once

#include <memory>
#include <string>

#include "base/secure_block.h"
#include "base/semantic_error.h"
#include "cache/semantic_cache.h"
#include "pack/pack_file.h"

namespace corvenda {

/// Gives the parsed pack at `packPath`: from `slot` if that holds this very file (same canonical path, size and
/// last-write time), else from the file. A hit reads nothing; it only resolves the paths and queries the file's status.
///
/// Then takes `semanticCacheMutex` and holds it to the end of the load, decryption included. A failed load leaves the
/// slot as it was.
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

/// Loads these very bytes, whatever the file holds by now: from `slot` only if that was filled from bytes with this
/// digest. Apart from that like `RulePackLoader`, with the same checks of the path first. Errors: those of
/// `checkPackRoot`, `checkPackExtension` and `openRulePack`, "semantic rule-pack file stat is invalid".
bool loadHashedPack(HashedPack pack, SemanticCacheSlot& slot, std::shared_ptr<const LoadedPack>* loaded,
                    SemanticError* error);

/// Checks and opens the image of a pack file: everything between reading the file and filling the slot. After a failure
/// the caller drops `loaded`. Errors begin with "semantic rule-pack", "semantic binary index", "semantic LZ4", "native
/// location shard" or "native"; one has an empty message (see parseRulePackPayload).
bool openRulePack(SecureBlock file, LoadedPack* loaded, SemanticError* error);

/// Reads a decrypted payload: keeps it with its rows, and wipes the documents in which no row lies. `digest` is set to
/// the payload's digest, computed while parsing; if that failed, it stays empty and `error` says why. The fuzz targets
/// begin here.
bool readPayloadRows(SecureBlock payload, LoadedPack* loaded, std::string* digest, SemanticError* error);

}  // namespace corvenda
