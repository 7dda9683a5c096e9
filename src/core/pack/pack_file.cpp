#include "pack/pack_file.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace fs = std::filesystem;

namespace corvenda {
namespace {

constexpr std::size_t kMaxPathLength = 4096;

/// The most passes in resolving a path. Each but the last two removes a ".." that followed a name which doesn't exist;
/// a path that needs more is contrived, or the file system keeps changing.
constexpr int kMaxPasses = 16;

/// The most attempts at a file that changes while it is being read. With more, a busy writer would hold up all other
/// loads for longer.
constexpr int kMaxReads = 3;

bool isPathText(const std::string& path) {
  return !path.empty() && path.size() <= kMaxPathLength && path.find('\0') == std::string::npos;
}

/// The path with A to Z lowered, or empty if it holds a unit above 127: folding more than ASCII would depend on the
/// file system, so such paths are refused.
fs::path::string_type foldAscii(const fs::path& path) {
  fs::path::string_type folded = path.native();
  for (auto& unit : folded) {
    if (unit >= 'A' && unit <= 'Z') unit = static_cast<fs::path::value_type>(unit - 'A' + 'a');
    if (static_cast<std::make_unsigned_t<fs::path::value_type>>(unit) > 127) return {};
  }
  return folded;
}

bool isAscii(const std::string& text) {
  return std::all_of(text.begin(), text.end(), [](char byte) { return static_cast<unsigned char>(byte) <= 127; });
}

/// The root without a slash at its end, if the path begins with exactly that text and a slash follows; else empty. If
/// the path turns out to be canonical, so is this root, and since both are ASCII, `isInsideApprovedRoot` holds.
std::string_view rootContinuedBy(const std::string& path, const std::string& root) {
  std::string_view bare = root;
  if (bare.ends_with('/')) bare.remove_suffix(1);
  const bool continued = path.size() > bare.size() && path.starts_with(bare) && path[bare.size()] == '/';
  return continued && isPathText(path) && isAscii(path) ? bare : std::string_view();
}

bool isWithin(const FileStatus& status, const SizeLimits& limits) {
  return status.size >= limits.min && status.size <= limits.max;
}

/// The long way: every part of both paths is resolved. A path that can't be looked up has the status of no file.
bool resolveLocation(const std::string& packPath, const std::string& allowedRoot, PackLocation* location,
                     SemanticError* error) {
  if (!canonicalizePackPath(packPath, &location->path, error) ||
      !canonicalizePackPath(allowedRoot, &location->root, error) ||
      !checkPackRoot(location->path, location->root, error) || !checkPackExtension(location->path, error)) {
    return false;
  }
  // A path is still relative only if nothing of it existed a moment ago. It is not looked up again: as a key of the
  // cache it would mean a different file in each working directory.
  const bool queried = location->path.is_absolute() && queryFileStatus(location->path, &location->status);
  if (!queried) location->status = {};
  return true;
}

enum class ReadOutcome { kRead, kChanged, kFailed };

ReadOutcome failedRead(SemanticError* error, const char* message) {
  fail(error, message);
  return ReadOutcome::kFailed;
}

/// A file of the wrong kind or size says so, even if it also can't be opened.
const char* whyNotOpened(const fs::path& path, const SizeLimits& limits, const FileReadMessages& messages) {
  FileStatus status;
  if (!queryLinkStatus(path, &status) || !status.isRegular) return messages.notRegular;
  return isWithin(status, limits) ? messages.open : messages.size;
}

/// Every check after opening is made on the open file: its name may lead to another one by now.
ReadOutcome readOnce(const fs::path& path, const SizeLimits& limits, const FileReadMessages& messages, FileImage* image,
                     SemanticError* error) {
  OpenFile file;
  if (!openFile(path, &file)) return failedRead(error, whyNotOpened(path, limits, messages));
  FileImage read;
  if (!queryOpenFile(file, &read.status) || !read.status.isRegular) return failedRead(error, messages.notRegular);
  if (!isWithin(read.status, limits)) return failedRead(error, messages.size);
  if (!queryOpenPath(file, path, &read.openPath)) return ReadOutcome::kChanged;
  read.bytes = allocateBlock(static_cast<std::size_t>(read.status.size));
  const bool complete = readOpenFile(file, read.bytes.data, read.bytes.size);
  FileStatus after;
  if (!queryOpenFile(file, &after) || after != read.status) return ReadOutcome::kChanged;
  if (!complete) return failedRead(error, messages.read);
  *image = std::move(read);
  return ReadOutcome::kRead;
}

}  // namespace

bool canonicalizePackPath(const std::string& path, fs::path* out, SemanticError* error) {
  if (!isPathText(path)) return fail(error, "semantic rule-pack path is invalid");
  *out = pathFromUtf8(path);
  for (int pass = 0; pass < kMaxPasses; ++pass) {
    const fs::path before = std::move(*out);
    bool exists = false;
    if (!resolvePath(before, out, &exists)) break;
    if (exists || out->native() == before.native()) return true;
  }
  return fail(error, "semantic rule-pack path cannot be canonicalized");
}

bool isInsideApprovedRoot(const fs::path& path, const fs::path& root) {
  const auto foldedPath = foldAscii(path);
  const auto foldedRoot = foldAscii(root);
  if (foldedPath.empty() || foldedRoot.empty() || foldedPath.size() <= foldedRoot.size()) return false;
  if (!foldedPath.starts_with(foldedRoot)) return false;
  const auto next = foldedPath[foldedRoot.size()];
  return next == '/' || next == '\\';
}

bool checkPackRoot(const fs::path& path, const fs::path& root, SemanticError* error) {
  return isInsideApprovedRoot(path, root) || fail(error, "semantic rule-pack path is outside the approved root");
}

bool checkPackExtension(const fs::path& path, SemanticError* error) {
  return path.extension() == ".klrx" || fail(error, "semantic rule-pack extension is invalid");
}

bool queryPlainPath(const std::string& packPath, const std::string& allowedRoot, FileStatus* status) {
  return !rootContinuedBy(packPath, allowedRoot).empty() && queryCanonicalFile(packPath, status);
}

bool locatePack(const std::string& packPath, const std::string& allowedRoot, PackLocation* location,
                SemanticError* error) {
  if (queryPlainPath(packPath, allowedRoot, &location->status)) {
    location->path = packPath;
    location->root = rootContinuedBy(packPath, allowedRoot);
    if (!checkPackExtension(location->path, error)) return false;
  } else if (!resolveLocation(packPath, allowedRoot, location, error)) {
    return false;
  }
  if (!location->status.isRegular || !isWithin(location->status, kPackSize)) {
    return fail(error, "semantic rule-pack file stat is invalid");
  }
  return true;
}

bool readFileWhole(const fs::path& path, const SizeLimits& limits, const FileReadMessages& messages, FileImage* image,
                   SemanticError* error) {
  for (int reads = 0; reads < kMaxReads; ++reads) {
    const ReadOutcome outcome = readOnce(path, limits, messages, image, error);
    if (outcome != ReadOutcome::kChanged) return outcome == ReadOutcome::kRead;
  }
  return fail(error, messages.read);
}

bool readPackFile(const fs::path& path, FileImage* image, SemanticError* error) {
  static constexpr FileReadMessages kMessages = {
      "semantic rule-pack file is not a regular file",
      "semantic rule-pack file size is invalid",
      "semantic rule-pack file cannot be opened",
      "semantic rule-pack file cannot be read",
  };
  return readFileWhole(path, kPackSize, kMessages, image, error);
}

}  // namespace corvenda
