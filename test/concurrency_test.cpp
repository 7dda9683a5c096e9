// Threads that load, filter, build the location view and warm up at once. It is worth most under ThreadSanitizer.
#include <atomic>
#include <filesystem>
#include <fstream>
#include <thread>

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <unistd.h>

#include "cache/location_view.h"
#include "cache/warm_up.h"
#include "facet/facet_extraction.h"
#include "lookup/index_lookup.h"
#include "pack/crypto.h"
#include "pack/key_table.h"
#include "pack/rule_pack_loader.h"

namespace corvenda {
namespace {

namespace fs = std::filesystem;

// --- Packs, sealed here because the packer is no C++
// ------------------------------------------------------------------

std::string uintBytes(std::uint64_t value, int size) {
  std::string bytes;
  for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i));
  return bytes;
}

std::string counted(const std::string& text) { return uintBytes(text.size(), 2) + text; }

ByteSpan spanOf(const std::string& text) { return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}; }

/// All five sections hold the same `count` rows: terms TAG0, TAG1, …, each with six fields.
std::string indexData(const std::string& tag, int count) {
  std::string body;
  for (int i = 0; i < count; ++i) {
    body += counted(tag + std::to_string(i)) + uintBytes(6, 2);
    for (const char* field : {"k", "f", "1", "category", "zh", "c"}) body += counted(field);
  }
  std::string index = "SIX1" + uintBytes(3, 2) + uintBytes(5, 2) + uintBytes(1, 4) + uintBytes(0, 4);
  for (std::uint64_t type = 1; type <= 5; ++type) {
    index += uintBytes(type, 2) + uintBytes(1, 2) + uintBytes(static_cast<std::uint64_t>(count), 4) +
             uintBytes(body.size(), 4) + uintBytes(0, 4) + body;
  }
  return index;
}

std::string payloadOf(const std::string& data, const std::string& documentName) {
  Sha256Digest digest;
  EXPECT_TRUE(sha256(spanOf(data), &digest, nullptr));
  return "SRP1" + uintBytes(1, 2) + uintBytes(1, 2) + uintBytes(8, 1) + uintBytes(2, 1) +
         uintBytes(documentName.size(), 2) + uintBytes(data.size(), 4) + std::string(digest.begin(), digest.end()) +
         documentName + data;
}

std::string sealed(const std::string& payload) {
  const std::string metadata =
      R"({"schema":"corvenda.semantic-rule-pack.v1","kind":"base","keyId":"test-v1","ruleSetId":"r","baseRuleSetId":"r",)"
      R"("payloadSha256":")" +
      sha256Hex(spanOf(payload), nullptr) + R"(","version":1})";
  std::uint8_t key[kPackKeySize];
  EXPECT_TRUE(resolvePackKey("test-v1", key, nullptr));
  const std::string nonce(kGcmNonceSize, 'n');
  std::string ciphertext(payload.size(), '\0');
  std::string tag(kGcmTagSize, '\0');
  auto* const out = reinterpret_cast<unsigned char*>(ciphertext.data());
  int written = 0;
  EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
  EVP_EncryptInit_ex(context, EVP_aes_256_gcm(), nullptr, key, spanOf(nonce).data());
  EVP_EncryptUpdate(context, nullptr, &written, spanOf(metadata).data(), static_cast<int>(metadata.size()));
  EVP_EncryptUpdate(context, out, &written, spanOf(payload).data(), static_cast<int>(payload.size()));
  EVP_EncryptFinal_ex(context, out + written, &written);
  EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, static_cast<int>(tag.size()), tag.data());
  EVP_CIPHER_CTX_free(context);
  return "KLRX" + uintBytes(1, 2) + uintBytes(metadata.size(), 2) + nonce + uintBytes(ciphertext.size(), 4) + metadata +
         ciphertext + tag;
}

struct PackDirectory : testing::Test {
  std::string root = fs::canonical(fs::temp_directory_path()) / ("corvenda-threads-" + std::to_string(getpid()));

  void SetUp() override { fs::create_directory(root); }
  void TearDown() override { fs::remove_all(root); }

  std::string writePack(const std::string& tag, int count, const std::string& name = "semantic-binary-index-v1") const {
    std::string path = root + "/" + tag + ".klrx";
    std::ofstream(path, std::ios::binary) << sealed(payloadOf(indexData(tag, count), name));
    return path;
  }
};

using Concurrency = PackDirectory;
using WarmUp = PackDirectory;

// --- Tests
// ------------------------------------------------------------------------------------------------------------

TEST_F(Concurrency, LoadsFiltersViewsAndWarmUpsAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 12;
  constexpr int kRows = 300;
  const std::string paths[] = {writePack("a", kRows), writePack("b", kRows)};
  const std::string overlayPath = writePack("o", 10);
  std::atomic<int> good = 0;

  // Two packs take turns in one slot, so that tables are replaced while other threads still read them.
  const auto work = [&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      const int which = (number + round / 3) % 2;
      const std::string tag = which == 0 ? "a" : "b";
      std::shared_ptr<const LoadedPack> loaded;
      SemanticError error;
      if (!RulePackLoader(paths[which], root, semanticCache().baseSlot, &loaded, &error)) continue;
      const RecordTable& table = loaded->table;
      const bool found = filterRecords(table, Section::kHuman, tag + "12", true).size() == 2 &&
                         lookupRows(table, Section::kScene, tag + "299", false).size() == 1 &&
                         extractSemanticFacets(table, tag + "5", "").groups.size() == 1 &&
                         sectionRecords(table, Section::kLocation).size() == kRows && sceneMasterRows(table).empty();
      const bool viewed = ensureLocationView({}, sectionRecords(table, Section::kLocation), &error);
      const bool warm = warmUp({paths[which], root, round % 2 == 0 ? overlayPath : "", root}, &error);
      good += found && viewed && warm ? 1 : 0;
    }
  };
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
  for (int number = 0; number < kThreads; ++number) threads.emplace_back(work, number);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, kThreads * kRounds);
}

TEST_F(WarmUp, FailuresAndWhatTheyLeave) {
  const std::string base = writePack("base", 1);
  const std::string overlay = writePack("overlay", 1);
  const std::string wordless = writePack("wordless", 1, "other");
  const struct {
    const char* name;
    WarmUpRequest request;
    bool warm;
    std::string message;
  } rows[] = {
      {"base alone", {base, root, "", ""}, true, ""},
      {"both", {base, root, overlay, root}, true, ""},
      {"an overlay without a root",
       {base, root, overlay, ""},
       false,
       "overlayAllowedRoot is required with overlayPackPath"},
      {"the base comes first",
       {root + "/none.klrx", root, overlay, ""},
       false,
       "semantic rule-pack file stat is invalid"},
      {"no overlay", {base, root, root + "/none.klrx", root}, false, "semantic rule-pack file stat is invalid"},
      {"a failure without words", {wordless, root, "", ""}, false, ""},
      {"the same of the overlay", {base, root, wordless, root}, false, ""},
  };
  SemanticCache& cache = semanticCache();
  for (const auto& row : rows) {
    cache.baseSlot = {};
    cache.overlaySlot = {};
    SemanticError error;
    EXPECT_EQ(warmUp(row.request, &error), row.warm) << row.name;
    EXPECT_EQ(error.message, row.message) << row.name;
    EXPECT_EQ(cache.baseSlot.valid, row.request.packPath == base) << row.name;
    EXPECT_EQ(cache.overlaySlot.valid, row.warm && !row.request.overlayPackPath.empty()) << row.name;
  }
}

}  // namespace
}  // namespace corvenda
