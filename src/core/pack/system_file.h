// Files as the operating system knows them; one source file a platform. What may be read, and the messages of a
// refusal, are in pack_file.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace corvenda {

/// A path from its UTF-8 text, and the text of a path. Where paths are UTF-16, what is no text there becomes U+FFFD.
std::filesystem::path pathFromUtf8(const std::string& text);
std::string utf8FromPath(const std::filesystem::path& path);

struct FileStatus {
  bool isRegular = false;
  std::uint64_t size = 0;          ///< bytes
  std::int64_t lastWriteTime = 0;  ///< in the platform's unit; compared for equality only
  bool operator==(const FileStatus&) const = default;
};

/// The status of what a path leads to, links followed. False if there is nothing, or the system won't say.
bool queryFileStatus(const std::filesystem::path& path, FileStatus* status);

/// The status of the name itself: a link is not a regular file.
bool queryLinkStatus(const std::filesystem::path& path, FileStatus* status);

/// `queryFileStatus` for a path that is already absolute and canonical as written. False if it isn't, or if the
/// platform can't tell in one call; the caller then has to resolve the path.
bool queryCanonicalFile(const std::string& path, FileStatus* status);

/// Resolves what exists of the path, links included, and normalises the rest as text. A relative path of which nothing
/// exists stays relative. `exists` says whether all of it exists, so that nothing is left to resolve. False if the
/// system can't tell.
bool resolvePath(const std::filesystem::path& path, std::filesystem::path* resolved, bool* exists);

/// An open file; move-only, closed by scope.
struct OpenFile {
  std::intptr_t handle = -1;

  OpenFile() = default;
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile();
};

/// Opens what bears this very name for reading, and never waits: even a pipe opens at once. False if it can't be
/// opened; a link can't.
bool openFile(const std::filesystem::path& path, OpenFile* file);

bool queryOpenFile(const OpenFile& file, FileStatus* status);

/// Where the open file really lies, whatever names were exchanged meanwhile; `path` is what it was opened as. False if
/// the system can't tell.
bool queryOpenPath(const OpenFile& file, const std::filesystem::path& path, std::filesystem::path* openPath);

/// Reads `size` bytes from where the last read ended. False for fewer.
bool readOpenFile(const OpenFile& file, std::uint8_t* bytes, std::size_t size);

}  // namespace corvenda
