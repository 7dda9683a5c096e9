// Files and names that change between two steps of a load. This program wraps functions of the C library and makes each
// change inside such a call, so that it always happens at the same step.
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "cache/rule_pack_loader.h"
#include "delta/delta_manifest.h"

namespace {

/// What happens before the next file is opened, and before anything is read from it; each once.
std::function<void()> beforeOpen;
std::function<void()> beforeRead;

/// As on a system without /proc.
bool withoutProc = false;

void happen(std::function<void()>& change) {
  if (change) std::exchange(change, nullptr)();
}

}  // namespace

// Visible, so that shared libraries take them, too.
#pragma GCC visibility push(default)

extern "C" int open(const char* path, int flags, ...) {
  if ((flags & O_NOFOLLOW) != 0) happen(beforeOpen);
  va_list more;
  va_start(more, flags);
  const int mode = (flags & O_CREAT) != 0 ? va_arg(more, int) : 0;
  va_end(more);
  return static_cast<int>(syscall(SYS_openat, AT_FDCWD, path, flags, mode));
}

extern "C" ssize_t readlink(const char* path, char* target, size_t size) {
  if (withoutProc && std::string_view(path).starts_with("/proc/")) {
    errno = ENOENT;
    return -1;
  }
  return syscall(SYS_readlinkat, AT_FDCWD, path, target, size);
}

extern "C" ssize_t read(int descriptor, void* bytes, size_t size) {
  happen(beforeRead);
  return syscall(SYS_read, descriptor, bytes, size);
}

#pragma GCC visibility pop

namespace corvenda {
namespace {

namespace fs = std::filesystem;

constexpr char kOutside[] = "semantic rule-pack path is outside the approved root";
constexpr char kNotRegular[] = "semantic rule-pack file is not a regular file";
constexpr char kSize[] = "semantic rule-pack file size is invalid";
constexpr char kUnreadable[] = "semantic rule-pack file cannot be read";

struct FileRace : testing::Test {
  fs::path packs = CORVENDA_TEST_PACKS;
  fs::path folder = fs::canonical(testing::TempDir()) / ("race-" + std::to_string(getpid()));
  fs::path root = folder / "root";
  fs::path outside = folder / "outside";
  fs::path pack = root / "a.klrx";

  FileRace() {
    fs::create_directories(root);
    reset();
  }
  ~FileRace() override { fs::remove_all(folder); }

  /// Pack "a" below the root, pack "b" under the same name outside, and nothing in the cache.
  void reset() {
    beforeOpen = beforeRead = nullptr;
    fs::remove_all(root);
    for (const auto& [tag, to] : {std::pair("a", root), std::pair("b", outside)}) {
      fs::create_directories(to);
      put(tag, to / "a.klrx");
    }
    semanticCache().baseSlot = {};
  }
  void put(const std::string& tag, const fs::path& to) {
    fs::copy_file(packs / (tag + ".klrx"), to, fs::copy_options::overwrite_existing);
  }
  /// The tag of the pack that is loaded, or the message.
  std::string load() {
    std::shared_ptr<const LoadedPack> loaded;
    SemanticError error;
    if (!RulePackLoader(pack, root, semanticCache().baseSlot, &loaded, &error)) return error.message;
    return std::string(termOf(loaded->table, 0).substr(0, 1));
  }
};

std::ptrdiff_t openDescriptors() {
  return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

TEST_F(FileRace, PacksAndTheirNames) {
  const auto replace = [this](const std::string& tag) {
    put(tag, folder / "new");
    fs::rename(folder / "new", pack);
  };
  const auto exchangeFolder = [this] {
    fs::rename(root, folder / "moved");
    fs::create_symlink(outside, root);
  };
  const struct {
    const char* what;
    std::function<void()> atOpen, atRead;
    std::string expected;
  } rows[] = {
      {"nothing", {}, {}, "a"},
      {"removed", [&] { fs::remove(pack); }, {}, kNotRegular},
      {"another file", [&] { replace("b"); }, {}, "b"},
      {"a link", [&] { fs::remove(pack), fs::create_symlink(packs / "a.klrx", pack); }, {}, kNotRegular},
      {"a folder", [&] { fs::remove(pack), fs::create_directory(pack); }, {}, kNotRegular},
      {"a pipe", [&] { fs::remove(pack), mkfifo(pack.c_str(), 0600); }, {}, kNotRegular},
      {"cut short", [&] { fs::resize_file(pack, 39); }, {}, kSize},
      {"grown", [&] { fs::resize_file(pack, 134217729); }, {}, kSize},
      {"the folder a link out of the root", exchangeFolder, {}, kOutside},
      {"removed, open", {}, [&] { fs::remove(pack); }, "a"},
      {"another file, open", {}, [&] { replace("b"); }, "a"},
      {"the folder a link, open", {}, exchangeFolder, "a"},
      {"cut short, open", {}, [&] { fs::resize_file(pack, 39); }, kSize},
      {"a byte less, open",
       {},
       [&] { fs::resize_file(pack, fs::file_size(pack) - 1); },
       "semantic rule-pack length fields are invalid"},
      {"overwritten, open", {}, [&] { put("b", pack); }, "b"},
      {"the time, open", {}, [&] { fs::last_write_time(pack, fs::file_time_type{}); }, "a"},
  };
  for (const auto& row : rows) {
    reset();
    fs::remove_all(folder / "moved");
    const std::ptrdiff_t descriptors = openDescriptors();
    beforeOpen = row.atOpen;
    beforeRead = row.atRead;
    EXPECT_EQ(load(), row.expected) << row.what;
    EXPECT_FALSE(beforeOpen || beforeRead) << row.what << " never happened";
    EXPECT_EQ(openDescriptors(), descriptors) << row.what;
    EXPECT_EQ(semanticCache().baseSlot.valid, row.expected.size() == 1) << row.what;
  }
}

TEST_F(FileRace, WithoutProc) {
  withoutProc = true;
  EXPECT_EQ(load(), "a");
  reset();
  beforeOpen = [this] { fs::rename(root, folder / "moved"), fs::create_symlink(outside, root); };
  EXPECT_EQ(load(), kOutside);
  reset();
  fs::remove_all(folder / "moved");
  beforeRead = [this] { fs::remove(pack); };
  EXPECT_EQ(load(), "a");
  withoutProc = false;
}

TEST_F(FileRace, AFileThatNeverRests) {
  int reads = 0;
  const std::function<void()> change = [&] {
    std::ofstream(pack, std::ios::app) << ++reads;
    beforeRead = change;
  };
  beforeRead = change;
  EXPECT_EQ(load(), kUnreadable);
  EXPECT_EQ(reads, 3);
}

TEST_F(FileRace, TheSlotIsUnderTheFileThatWasRead) {
  beforeOpen = [this] { put("b", pack), fs::last_write_time(pack, fs::file_time_type{}); };
  EXPECT_EQ(load(), "b");
  const auto held = semanticCache().baseSlot.loaded;
  EXPECT_EQ(load(), "b");
  EXPECT_EQ(semanticCache().baseSlot.loaded, held) << "a hit";
  put("a", pack);
  EXPECT_EQ(load(), "a");
}

TEST_F(FileRace, Manifests) {
  const fs::path manifest = root / "m.json";
  const auto verify = [&] {
    DeltaManifest fields;
    SemanticError error;
    EXPECT_FALSE(verifySemanticDeltaManifest(manifest, {pack, root, "x", "y"}, &fields, &error));
    return error.message;
  };
  for (const fs::path& to : {root, outside}) std::ofstream(to / "m.json") << "{}";
  EXPECT_EQ(verify(), "semantic delta manifest contract is invalid");
  beforeOpen = [&] { fs::remove(manifest), mkfifo(manifest.c_str(), 0600); };
  EXPECT_EQ(verify(), "semantic delta manifest is not a regular file");
  fs::remove(manifest);
  std::ofstream(manifest) << "{}";
  beforeOpen = [this] { fs::rename(root, folder / "moved"), fs::create_symlink(outside, root); };
  EXPECT_EQ(verify(), "semantic delta manifest is outside the approved root");
}

TEST_F(FileRace, HashedBytesAreTheOnesThatAreOpened) {
  const auto hashed = [this] {
    HashedPack read;
    read.path = pack;
    read.root = root;
    EXPECT_TRUE(readPackFile(pack, &read.image, nullptr) && sha256(bytesOf(read.image.bytes), &read.sha256, nullptr));
    return read;
  };
  SemanticCacheSlot& slot = semanticCache().overlaySlot;
  std::shared_ptr<const LoadedPack> loaded;
  const auto loadHashed = [&](HashedPack read) {
    EXPECT_TRUE(loadHashedPack(std::move(read), slot, &loaded, nullptr));
    return std::string(termOf(loaded->table, 0).substr(0, 1));
  };
  HashedPack first = hashed();
  const fs::file_time_type time = fs::last_write_time(pack);
  put("b", pack);
  fs::last_write_time(pack, time);
  HashedPack second = hashed();
  ASSERT_EQ(first.image.status, second.image.status);
  EXPECT_EQ(loadHashed(std::move(first)), "a") << "whatever the file holds by now";
  EXPECT_EQ(loadHashed(std::move(second)), "b") << "another digest under the same key";
  const auto held = slot.loaded;
  EXPECT_EQ(loadHashed(hashed()), "b");
  EXPECT_EQ(slot.loaded, held) << "the same digest: a hit";
  slot.fileSha256.reset();
  loadHashed(hashed());
  EXPECT_NE(slot.loaded, held) << "from bytes that nobody hashed";
}

}  // namespace
}  // namespace corvenda
