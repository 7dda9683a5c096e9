// Paths in all their spellings, where links can stand in them and names are told apart by their case.
#include "pack/pack_file.h"

#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

namespace corvenda {
namespace {

namespace fs = std::filesystem;

/// What `locatePack` must give, with every path resolved part by part.
std::string locateLongWay(const std::string& path, const std::string& root) {
  PackLocation location;
  SemanticError error;
  if (!canonicalizePackPath(path, &location.path, &error) || !canonicalizePackPath(root, &location.root, &error) ||
      !checkPackRoot(location.path, location.root, &error) || !checkPackExtension(location.path, &error)) {
    return error.message;
  }
  if (!queryFileStatus(location.path, &location.status) || !location.status.isRegular) {
    return "semantic rule-pack file stat is invalid";
  }
  return location.path.string() + " below " + location.root.string();
}

TEST(PackFile, AllSpellingsOfAPath) {
  const fs::path folder = fs::canonical(testing::TempDir()) / "corvenda-spellings";
  fs::remove_all(folder);
  for (const char* name : {"a/a", "\xC3\xA9", "d.klrx"}) fs::create_directories(folder / name);
  for (const char* name : {"x.klrx", "a/x.klrx", "a/a/x.klrx", "\xC3\xA9/x.klrx", "a/x.bin", "a\\x.klrx"})
    std::ofstream(folder / name) << std::string(40, 'x');
  fs::create_symlink(folder / "a", folder / "link");
  fs::create_symlink("x.klrx", folder / "a/l.klrx");
  const std::string base = folder.string() + "/";
  const char* const parts[] = {"", "a/", "./", "../", "/", "no/", "link/", "A/", "\xC3\xA9/"};
  const char* const names[] = {"x.klrx", "x.bin", "l.klrx", "d.klrx", "x.klrx/", "a\\x.klrx", ".."};
  const char* const roots[] = {"", "/", "a", "a/", "a//", "a/.", "A", "link", "no/..", "\xC3\xA9", "x.klrx"};
  int located = 0;
  int shortWays = 0;
  const auto compare = [&](const std::string& path, const std::string& root) {
    PackLocation location;
    SemanticError error;
    const bool found = locatePack(path, root, &location, &error);
    located += found ? 1 : 0;
    EXPECT_EQ(found ? location.path.string() + " below " + location.root.string() : error.message,
              locateLongWay(path, root))
        << path << " below " << root;
  };
  for (const std::string first : parts) {
    for (const std::string second : parts) {
      for (const char* name : names) {
        FileStatus status;
        const std::string path = base + first + second + name;
        shortWays += queryCanonicalFile(path, &status) ? 1 : 0;
        for (const char* root : roots) compare(path, base + root);
      }
    }
  }
  EXPECT_GT(located, shortWays);
  FileStatus status;
  EXPECT_EQ(shortWays, queryCanonicalFile(folder, &status) ? 10 : 0) << "none without openat2";
  fs::remove_all(folder);
}

}  // namespace
}  // namespace corvenda
