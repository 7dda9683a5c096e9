// Files as the operating system knows them; one source file a platform. What may be read, and in which words a refusal
// is told, stands in pack_file.h.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>

namespace corvenda {

struct FileStatus {
  bool isRegular = false;
  std::uint64_t size = 0;          ///< bytes
  std::int64_t lastWriteTime = 0;  ///< in the platform's unit; compared for equality only
  bool operator==(const FileStatus&) const = default;
};

/// The status of what a path leads to, links followed. False if there is nothing or it can't be asked.
bool queryFileStatus(const std::filesystem::path& path, FileStatus* status);

/// The status of the name itself: a link is no regular file.
bool queryLinkStatus(const std::filesystem::path& path, FileStatus* status);

/// The same as `queryFileStatus` for a path of which nothing has to be resolved, because it is absolute and canonical
/// as it is written. False if it isn't, or where the platform can't tell in one question; the long way is left then.
bool queryCanonicalFile(const std::string& path, FileStatus* status);

/// The path with everything resolved that exists, links included, and the rest normalised as text. A relative path of
/// which nothing exists stays relative. `exists` tells whether all of it exists, so that there is nothing left to
/// resolve. False if the system can't tell.
bool resolvePath(const std::filesystem::path& path, std::filesystem::path* resolved, bool* exists);

/// An open file; move-only, closed by scope.
struct OpenFile {
  std::intptr_t handle = -1;

  OpenFile() = default;
  OpenFile(const OpenFile&) = delete;
  OpenFile& operator=(const OpenFile&) = delete;
  ~OpenFile();
};

/// Opens for reading what has this name itself. Never waits, whatever it is: a pipe opens at once. False if it can't be
/// opened, as a link can't.
bool openFile(const std::filesystem::path& path, OpenFile* file);

bool queryOpenFile(const OpenFile& file, FileStatus* status);

/// Where the open file really lies, whatever names were exchanged meanwhile; `path` is what it was opened as. False if
/// that can't be told.
bool queryOpenPath(const OpenFile& file, const std::filesystem::path& path, std::filesystem::path* openPath);

/// Reads `size` bytes from where the last read ended. False for fewer.
bool readOpenFile(const OpenFile& file, std::uint8_t* bytes, std::size_t size);

}  // namespace corvenda
