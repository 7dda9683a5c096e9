#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <system_error>

#if __has_include(<linux/openat2.h>)
#include <linux/openat2.h>
#include <sys/syscall.h>
#endif

#include "pack/system_file.h"

namespace fs = std::filesystem;

namespace corvenda {
namespace {

FileStatus statusOf(const struct stat& stat) {
  // Nanoseconds in unsigned arithmetic: a year too far away for 64 bits wraps to some value, which is enough to
  // compare.
  const std::uint64_t time =
      static_cast<std::uint64_t>(stat.st_mtim.tv_sec) * 1000000000U + static_cast<std::uint64_t>(stat.st_mtim.tv_nsec);
  return {S_ISREG(stat.st_mode), static_cast<std::uint64_t>(stat.st_size), static_cast<std::int64_t>(time)};
}

bool finishQuery(int result, const struct stat& stat, FileStatus* status) {
  if (result != 0) return false;
  *status = statusOf(stat);
  return true;
}

/// True for an absolute path that normalising as text would not change: no empty part, no "." or "..", no slash at the
/// end.
bool isNormalText(std::string_view path) {
  if (!path.starts_with('/')) return false;
  while (!path.empty()) {
    path.remove_prefix(1);
    const std::string_view part = path.substr(0, path.find('/'));
    if (part.empty() || part == "." || part == "..") return false;
    path.remove_prefix(part.size());
  }
  return true;
}

/// Opens a path that leads over no link, only to query it.
void openWithoutLinks([[maybe_unused]] const std::string& path, [[maybe_unused]] OpenFile* file) {
#ifdef SYS_openat2
  struct open_how how {};
  how.flags = O_PATH | O_CLOEXEC;
  how.resolve = RESOLVE_NO_SYMLINKS;
  file->handle = syscall(SYS_openat2, AT_FDCWD, path.c_str(), &how, sizeof how);
#endif
}

int descriptorOf(const OpenFile& file) { return static_cast<int>(file.handle); }

/// Without /proc: the path resolved once more, provided that it still leads to the open file.
bool resolveOpenPath(const OpenFile& file, const fs::path& path, fs::path* openPath) {
  struct stat open {};
  struct stat named {};
  bool exists = false;
  return resolvePath(path, openPath, &exists) && fstat(descriptorOf(file), &open) == 0 &&
         lstat(openPath->c_str(), &named) == 0 && open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

}  // namespace

fs::path pathFromUtf8(const std::string& text) { return text; }

std::string utf8FromPath(const fs::path& path) { return path.native(); }

bool queryFileStatus(const fs::path& path, FileStatus* status) {
  struct stat stat {};
  return finishQuery(::stat(path.c_str(), &stat), stat, status);
}

bool queryLinkStatus(const fs::path& path, FileStatus* status) {
  struct stat stat {};
  return finishQuery(lstat(path.c_str(), &stat), stat, status);
}

bool queryCanonicalFile(const std::string& path, FileStatus* status) {
  if (!isNormalText(path)) return false;
  OpenFile file;
  openWithoutLinks(path, &file);
  return file.handle >= 0 && queryOpenFile(file, status);
}

bool resolvePath(const fs::path& path, fs::path* resolved, bool* exists) {
  std::error_code status;
  *resolved = fs::canonical(path, status);
  *exists = !status;
  if (!*exists) *resolved = fs::weakly_canonical(path, status);
  return !status && !resolved->empty();
}

OpenFile::~OpenFile() {
  if (handle >= 0) close(descriptorOf(*this));
}

bool openFile(const fs::path& path, OpenFile* file) {
  do {
    file->handle = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  } while (file->handle < 0 && errno == EINTR);
  return file->handle >= 0;
}

bool queryOpenFile(const OpenFile& file, FileStatus* status) {
  struct stat stat {};
  return finishQuery(fstat(descriptorOf(file), &stat), stat, status);
}

bool queryOpenPath(const OpenFile& file, const fs::path& path, fs::path* openPath) {
  std::error_code status;
  *openPath = fs::read_symlink("/proc/self/fd/" + std::to_string(file.handle), status);
  return !status || resolveOpenPath(file, path, openPath);
}

bool readOpenFile(const OpenFile& file, std::uint8_t* bytes, std::size_t size) {
  while (size > 0) {
    const ssize_t count = read(descriptorOf(file), bytes, size);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return false;
    bytes += count;
    size -= static_cast<std::size_t>(count);
  }
  return true;
}

}  // namespace corvenda
