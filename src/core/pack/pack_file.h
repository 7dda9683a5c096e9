// Paths and files: confinement below the approved root, and reading a file whole.
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>

#include "base/secure_block.h"
#include "base/semantic_error.h"
#include "pack/system_file.h"

namespace corvenda {

/// Smallest and largest size of a file in bytes.
struct SizeLimits {
  std::uint64_t min = 0;
  std::uint64_t max = 0;
};

/// 40 bytes are the fixed header and the tag with nothing between them. 128 MiB is a limit of the format: it bounds
/// what a load may read.
constexpr SizeLimits kPackSize = {40, 134217728};

/// The canonical form of a UTF-8 path: what exists is resolved in the file system, links included, and the rest is
/// normalised as text. This repeats until nothing changes, because dropping "missing/.." can uncover a link. A relative
/// path of which nothing exists stays relative. Errors: "semantic rule-pack path is invalid" (not 1 to 4096 bytes, or
/// with a NUL), "semantic rule-pack path cannot be canonicalized".
bool canonicalizePackPath(const std::string& path, std::filesystem::path* out, SemanticError* error);

/// True if the canonical `path` lies strictly below the canonical `root`, compared without regard to ASCII case. A path
/// or root with any non-ASCII byte is never inside; neither is anything inside a root that ends with a separator.
bool isInsideApprovedRoot(const std::filesystem::path& path, const std::filesystem::path& root);

/// A pack file below its root, and its status at the time of the check.
struct PackLocation {
  std::filesystem::path path;  ///< canonical and absolute
  std::filesystem::path root;  ///< canonical
  FileStatus status;
};

/// The common case of `locatePack`: a path that is canonical as written and continues the text of its root. One
/// question to the system gives the status of what lies there. False for any other path, and where the platform can't
/// tell.
bool queryPlainPath(const std::string& packPath, const std::string& allowedRoot, FileStatus* status);

/// Confines the path to its root and finds out what lies there. Errors, in the order of the checks: those of
/// `canonicalizePackPath` for path and root, those of `checkPackRoot` and `checkPackExtension`, "semantic rule-pack
/// file stat is invalid".
bool locatePack(const std::string& packPath, const std::string& allowedRoot, PackLocation* location,
                SemanticError* error);

/// `isInsideApprovedRoot`, or the error "semantic rule-pack path is outside the approved root".
bool checkPackRoot(const std::filesystem::path& path, const std::filesystem::path& root, SemanticError* error);

/// Whether the extension is ".klrx", in lower case; if not, the error is "semantic rule-pack extension is invalid".
bool checkPackExtension(const std::filesystem::path& path, SemanticError* error);

/// The whole content of a file, and which file it was.
struct FileImage {
  SecureBlock bytes;
  FileStatus status;               ///< of the very file that was read
  std::filesystem::path openPath;  ///< where that file lay, which its name no longer tells if names were exchanged
};

/// The messages of a failed read; they differ between packs and manifests.
struct FileReadMessages {
  const char* notRegular;
  const char* size;
  const char* open;
  const char* read;
};

/// Reads a whole regular file whose size is within the limits. `path` is canonical; a link is not followed. A file that
/// changes while it is being read is read again. Checking `openPath` against a root is left to the caller. After a
/// failure `image` is unchanged.
bool readFileWhole(const std::filesystem::path& path, const SizeLimits& limits, const FileReadMessages& messages,
                   FileImage* image, SemanticError* error);

/// `readFileWhole` with the limits of a pack. Errors: "semantic rule-pack file is not a regular file", "… size is
/// invalid", "… cannot be opened", "… cannot be read".
bool readPackFile(const std::filesystem::path& path, FileImage* image, SemanticError* error);

}  // namespace corvenda
