// Paths and files: confinement below the approved root, and reading a pack whole.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "base/secure_block.h"
#include "base/semantic_error.h"

namespace corvenda {

/// Limits of a pack file in bytes, both included: 40 is a header with an empty everything, 128 MiB bounds a load.
constexpr std::uintmax_t kMinPackSize = 40;
constexpr std::uintmax_t kMaxPackSize = 134217728;

/// The weakly canonical form of a UTF-8 path: what exists is resolved in the file system, links included, the rest is
/// normalised lexically. A relative path of which nothing exists stays relative.
/// Errors: "semantic rule-pack path is invalid" (not 1 to 4096 bytes), "semantic rule-pack path cannot be
/// canonicalized".
bool canonicalizePackPath(const std::string& path, std::filesystem::path* out, SemanticError* error);

/// True if the canonical `path` lies strictly below the canonical `root`, compared without regard to ASCII case. A path
/// or root with any non-ASCII byte is never inside; neither is anything inside a root that ends with a separator.
bool isInsideApprovedRoot(const std::filesystem::path& path, const std::filesystem::path& root);

/// The size and last-write time under which a file is kept in the cache. The time's unit is the platform's: it is only
/// compared for equality.
struct FileStamp {
  std::uintmax_t size = 0;
  std::int64_t lastWriteTime = 0;
};

/// Two status queries, which follow links. False if one fails (as the size query of a directory does).
bool queryFileStamp(const std::filesystem::path& path, FileStamp* stamp);

/// The words in which reading a file fails; they differ between packs and manifests.
struct FileReadMessages {
  const char* notRegular;
  const char* size;
  const char* open;
  const char* read;
};

/// Reads a regular file of `minSize` to `maxSize` bytes whole. The status query does not follow a link. After a failure
/// `bytes` is empty.
bool readFileWhole(const std::filesystem::path& path, std::uintmax_t minSize, std::uintmax_t maxSize,
                   const FileReadMessages& messages, SecureBlock* bytes, SemanticError* error);

/// `readFileWhole` with the limits of a pack. Errors: "semantic rule-pack file is not a regular file", "… size is
/// invalid", "… cannot be opened", "… cannot be read".
bool readPackFile(const std::filesystem::path& path, SecureBlock* bytes, SemanticError* error);

}  // namespace corvenda
