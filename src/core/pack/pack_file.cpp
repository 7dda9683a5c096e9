#include "pack/pack_file.h"

#include <algorithm>
#include <fstream>
#include <system_error>

namespace fs = std::filesystem;

namespace corvenda {
namespace {

constexpr std::size_t kMaxPathLength = 4096;

/// The path with A to Z lowered, or empty if it holds a unit above 127. Folding more than ASCII would depend on the
/// file system, so what can't be folded is turned away as a whole.
fs::path::string_type foldAscii(const fs::path& path) {
  fs::path::string_type folded = path.native();
  for (auto& unit : folded) {
    if (unit >= 'A' && unit <= 'Z') unit = static_cast<fs::path::value_type>(unit - 'A' + 'a');
    if (static_cast<std::make_unsigned_t<fs::path::value_type>>(unit) > 127) return {};
  }
  return folded;
}

}  // namespace

bool canonicalizePackPath(const std::string& path, fs::path* out, SemanticError* error) {
  if (path.empty() || path.size() > kMaxPathLength) return fail(error, "semantic rule-pack path is invalid");
  std::error_code status;
  const std::u8string utf8(path.begin(), path.end());
  *out = fs::weakly_canonical(fs::path(utf8), status);
  if (status || out->empty()) return fail(error, "semantic rule-pack path cannot be canonicalized");
  return true;
}

bool isInsideApprovedRoot(const fs::path& path, const fs::path& root) {
  const auto foldedPath = foldAscii(path);
  const auto foldedRoot = foldAscii(root);
  if (foldedPath.empty() || foldedRoot.empty() || foldedPath.size() <= foldedRoot.size()) return false;
  if (!foldedPath.starts_with(foldedRoot)) return false;
  const auto behind = foldedPath[foldedRoot.size()];
  return behind == '/' || behind == '\\';
}

bool queryFileStamp(const fs::path& path, FileStamp* stamp) {
  std::error_code status;
  stamp->size = fs::file_size(path, status);
  if (status) return false;
  const fs::file_time_type time = fs::last_write_time(path, status);
  if (status) return false;
  stamp->lastWriteTime = static_cast<std::int64_t>(time.time_since_epoch().count());
  return true;
}

bool readFileWhole(const fs::path& path, std::uintmax_t minSize, std::uintmax_t maxSize,
                   const FileReadMessages& messages, SecureBlock* bytes, SemanticError* error) {
  *bytes = {};
  std::error_code status;
  if (fs::symlink_status(path, status).type() != fs::file_type::regular) return fail(error, messages.notRegular);
  const std::uintmax_t size = fs::file_size(path, status);
  if (status || size < minSize || size > maxSize) return fail(error, messages.size);
  std::ifstream file;
  // Without a buffer the stream reads straight into ours, and no copy of the file is left in freed memory.
  file.rdbuf()->pubsetbuf(nullptr, 0);
  file.open(path, std::ios::binary);
  if (!file) return fail(error, messages.open);
  SecureBlock read = allocateBlock(static_cast<std::size_t>(size));
  file.read(reinterpret_cast<char*>(read.data), static_cast<std::streamsize>(size));
  if (!file) return fail(error, messages.read);
  *bytes = std::move(read);
  return true;
}

bool readPackFile(const fs::path& path, SecureBlock* bytes, SemanticError* error) {
  static constexpr FileReadMessages kMessages = {
      "semantic rule-pack file is not a regular file",
      "semantic rule-pack file size is invalid",
      "semantic rule-pack file cannot be opened",
      "semantic rule-pack file cannot be read",
  };
  return readFileWhole(path, kMinPackSize, kMaxPackSize, kMessages, bytes, error);
}

}  // namespace corvenda
