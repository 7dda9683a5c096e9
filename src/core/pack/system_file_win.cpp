#include <algorithm>
#include <string_view>
#include <utility>

#include <windows.h>

#include "pack/system_file.h"

namespace fs = std::filesystem;

namespace corvenda {
namespace {

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

std::intptr_t handleFrom(HANDLE handle) { return reinterpret_cast<std::intptr_t>(handle); }

HANDLE handleOf(const OpenFile& file) { return reinterpret_cast<HANDLE>(file.handle); }

bool isOpen(const OpenFile& file) { return handleOf(file) != INVALID_HANDLE_VALUE; }

/// A path in front of which nothing is read into: no limit of 260 units, no names of devices, no dots left out at the
/// end of a name.
std::wstring literalName(const std::wstring& path) {
  if (path.starts_with(L"\\\\?\\") || path.starts_with(L"\\\\.\\")) return path;
  if (path.starts_with(L"\\\\")) return L"\\\\?\\UNC" + path.substr(1);
  return path.size() > 1 && path[1] == L':' ? L"\\\\?\\" + path : path;
}

/// The same path as people write it.
std::wstring plainName(const std::wstring& path) {
  constexpr std::wstring_view kLiteral = L"\\\\?\\";
  constexpr std::wstring_view kNetwork = L"\\\\?\\UNC\\";
  if (path.starts_with(kNetwork)) return L"\\\\" + path.substr(kNetwork.size());
  const bool drive =
      path.starts_with(kLiteral) && path.size() > kLiteral.size() + 1 && path[kLiteral.size() + 1] == L':';
  return drive ? path.substr(kLiteral.size()) : path;
}

/// Opens what a literal name leads to, for questions alone, which no sharing mode of others forbids. A directory opens
/// too. The result is a system error code.
DWORD openForQuestions(const std::wstring& name, DWORD flags, OpenFile* file) {
  file->handle = handleFrom(CreateFileW(name.c_str(), FILE_READ_ATTRIBUTES, kShareAll, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_BACKUP_SEMANTICS | flags, nullptr));
  return isOpen(*file) ? ERROR_SUCCESS : GetLastError();
}

/// Whether an opening failed because nothing has this name. A name that can't be one is nothing's either.
bool isNothingThere(DWORD error) {
  constexpr DWORD kErrors[] = {ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME, ERROR_BAD_PATHNAME,
                               ERROR_DIRECTORY,      ERROR_BAD_NETPATH,    ERROR_BAD_NET_NAME};
  return std::find(std::begin(kErrors), std::end(kErrors), error) != std::end(kErrors);
}

/// A result of one of the functions that fill a buffer with a path, or say how long it has to be; empty if it fails.
template <typename Fill>
std::wstring filledPath(Fill fill) {
  std::wstring path(MAX_PATH, L'\0');
  for (;;) {
    const DWORD length = fill(path.data(), static_cast<DWORD>(path.size()));
    const bool fits = length < path.size();
    path.resize(length);
    if (fits) return path;
  }
}

/// The path made absolute and normalised, as text, in the way that Windows reads paths.
std::wstring fullPath(const std::wstring& path) {
  return filledPath([&](wchar_t* buffer, DWORD size) { return GetFullPathNameW(path.c_str(), size, buffer, nullptr); });
}

/// Where an open file lies, links resolved and each name in its true case. A volume without a letter goes by its
/// identifier.
std::wstring finalPath(const OpenFile& file) {
  for (const DWORD volume : {DWORD{VOLUME_NAME_DOS}, DWORD{VOLUME_NAME_GUID}}) {
    const std::wstring path = filledPath([&](wchar_t* buffer, DWORD size) {
      return GetFinalPathNameByHandleW(handleOf(file), buffer, size, FILE_NAME_NORMALIZED | volume);
    });
    if (!path.empty()) return plainName(path);
  }
  return {};
}

/// True if a relative path names nothing from its first part on.
bool isRelativeToNothing(const fs::path& normal) {
  const fs::path first = *normal.begin();
  OpenFile file;
  return first != "." && first != ".." &&
         isNothingThere(openForQuestions(literalName(fullPath(first.native())), 0, &file));
}

/// Resolves the longest front part that exists and appends the rest of the text.
bool resolveFullPath(const std::wstring& full, fs::path* resolved, bool* exists) {
  const std::size_t rootLength = fs::path(full).root_path().native().size();
  std::size_t end = full.size();
  for (;;) {
    OpenFile file;
    const DWORD error = openForQuestions(literalName(full.substr(0, end)), 0, &file);
    if (error == ERROR_SUCCESS) {
      const std::wstring front = finalPath(file);
      const bool isSeparated = front.ends_with(L'\\') && end < full.size() && full[end] == L'\\';
      *resolved = front + full.substr(isSeparated ? end + 1 : end);
      *exists = end == full.size();
      return !front.empty();
    }
    if (!isNothingThere(error)) return false;
    if (end <= rootLength) break;
    const std::size_t separator = full.rfind(L'\\', end - 1);
    end = separator == std::wstring::npos ? rootLength : std::max(separator, rootLength);
  }
  *resolved = full;
  *exists = false;
  return true;
}

FileStatus statusOf(HANDLE handle, const BY_HANDLE_FILE_INFORMATION& information) {
  const auto wide = [](DWORD high, DWORD low) { return static_cast<std::uint64_t>(high) << 32 | low; };
  const FILETIME& time = information.ftLastWriteTime;  // 100 nanoseconds, where the file system keeps them so fine
  const bool isRegular =
      (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0 && GetFileType(handle) == FILE_TYPE_DISK;
  return {isRegular, wide(information.nFileSizeHigh, information.nFileSizeLow),
          static_cast<std::int64_t>(wide(time.dwHighDateTime, time.dwLowDateTime))};
}

/// Whether the open name stands for another one: a link or a mount point. Other reparse points are files all the same,
/// such as one whose content a cloud service still has.
bool isLink(const OpenFile& file) {
  FILE_ATTRIBUTE_TAG_INFO information;
  return GetFileInformationByHandleEx(handleOf(file), FileAttributeTagInfo, &information, sizeof information) != 0 &&
         (information.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
         IsReparseTagNameSurrogate(information.ReparseTag);
}

}  // namespace

fs::path pathFromUtf8(const std::string& text) {
  const auto size = static_cast<int>(text.size());
  std::wstring wide(text.size(), L'\0');  // never more units than bytes
  wide.resize(static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, wide.data(), size)));
  return wide;
}

std::string utf8FromPath(const fs::path& path) {
  constexpr std::size_t kMaxBytes = 3;  // of one unit; two that make up a character of four have four
  const std::wstring& wide = path.native();
  std::string text(kMaxBytes * wide.size(), '\0');
  text.resize(
      static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, wide.data(), static_cast<int>(wide.size()), text.data(),
                                                   static_cast<int>(text.size()), nullptr, nullptr)));
  return text;
}

bool queryFileStatus(const fs::path& path, FileStatus* status) {
  OpenFile file;
  return openForQuestions(literalName(path.native()), 0, &file) == ERROR_SUCCESS && queryOpenFile(file, status);
}

bool queryLinkStatus(const fs::path& path, FileStatus* status) {
  OpenFile file;
  if (openForQuestions(literalName(path.native()), FILE_FLAG_OPEN_REPARSE_POINT, &file) != ERROR_SUCCESS ||
      !queryOpenFile(file, status)) {
    return false;
  }
  status->isRegular = status->isRegular && !isLink(file);
  return true;
}

// Case, short names and links have to be asked for in one question each: nothing is gained.
bool queryCanonicalFile(const std::string&, FileStatus*) { return false; }

bool resolvePath(const fs::path& path, fs::path* resolved, bool* exists) {
  const fs::path normal = path.lexically_normal();
  if (!path.has_root_path() && isRelativeToNothing(normal)) {
    *resolved = normal;
    *exists = false;
    return true;
  }
  const std::wstring full = fullPath(path.native());
  return !full.empty() && resolveFullPath(full, resolved, exists);
}

OpenFile::~OpenFile() {
  if (isOpen(*this)) CloseHandle(handleOf(*this));
}

// A link that takes the name's place after the question is followed; where the file lies is asked for afterwards.
bool openFile(const fs::path& path, OpenFile* file) {
  FileStatus status;
  if (!queryLinkStatus(path, &status) || !status.isRegular) return false;
  file->handle = handleFrom(CreateFileW(literalName(path.native()).c_str(), GENERIC_READ, kShareAll, nullptr,
                                        OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr));
  return isOpen(*file);
}

bool queryOpenFile(const OpenFile& file, FileStatus* status) {
  BY_HANDLE_FILE_INFORMATION information;
  if (GetFileInformationByHandle(handleOf(file), &information) == 0) return false;
  *status = statusOf(handleOf(file), information);
  return true;
}

bool queryOpenPath(const OpenFile& file, const fs::path&, fs::path* openPath) {
  *openPath = finalPath(file);
  return !openPath->empty();
}

bool readOpenFile(const OpenFile& file, std::uint8_t* bytes, std::size_t size) {
  constexpr std::size_t kStep = std::size_t{1} << 30;  // a length of 32 bits has to hold it
  while (size > 0) {
    DWORD count = 0;
    if (ReadFile(handleOf(file), bytes, static_cast<DWORD>(std::min(size, kStep)), &count, nullptr) == 0 ||
        count == 0) {
      return false;
    }
    bytes += count;
    size -= count;
  }
  return true;
}

}  // namespace corvenda
