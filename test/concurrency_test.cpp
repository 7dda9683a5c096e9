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

std::string uintBytes(std::uint64_t value, int size) {
  std::string bytes;
  for (int i = 0; i < size; ++i) bytes += static_cast<char>(value >> (8 * i));
  return bytes;
}

std::string counted(const std::string& text) { return uintBytes(text.size(), 2) + text; }

ByteSpan spanOf(const std::string& text) { return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()}; }

/// A payload with an index alone. All five sections hold the same `count` rows: TAG0, TAG1, …, with six fields each.
std::string payloadOf(const std::string& tag, std::uint64_t count) {
  std::string rows;
  for (std::uint64_t i = 0; i < count; ++i) {
    rows += counted(tag + std::to_string(i)) + uintBytes(6, 2);
    for (const char* field : {"k", "f", "1", "category", "zh", "c"}) rows += counted(field);
  }
  std::string index = "SIX1" + uintBytes(3, 2) + uintBytes(5, 2) + uintBytes(1, 4) + uintBytes(0, 4);
  for (std::uint64_t type = 1; type <= 5; ++type) {
    index += uintBytes(type, 2) + uintBytes(1, 2) + uintBytes(count, 4) + uintBytes(rows.size(), 4) + uintBytes(0, 4);
    index += rows;
  }
  Sha256Digest digest;
  EXPECT_TRUE(sha256(spanOf(index), &digest, nullptr));
  const std::string name = "semantic-binary-index-v1";
  return "SRP1" + uintBytes(1, 2) + uintBytes(1, 2) + uintBytes(8, 1) + uintBytes(2, 1) + uintBytes(name.size(), 2) +
         uintBytes(index.size(), 4) + std::string(digest.begin(), digest.end()) + name + index;
}

/// A pack, sealed here because the packer is no C++.
std::string packOf(std::string payload) {
  const std::string metadata =
      R"({"schema":"corvenda.semantic-rule-pack.v1","kind":"base","keyId":"test-v1","ruleSetId":"r","baseRuleSetId":"r",)"
      R"("version":1,"payloadSha256":")" +
      sha256Hex(spanOf(payload), nullptr) + "\"}";
  const std::string nonce(kGcmNonceSize, 'n');
  std::uint8_t key[kPackKeySize];
  std::uint8_t tag[kGcmTagSize];
  int size = static_cast<int>(payload.size());
  EXPECT_TRUE(resolvePackKey("test-v1", key, nullptr));
  EVP_CIPHER_CTX* const context = EVP_CIPHER_CTX_new();
  EVP_EncryptInit_ex(context, EVP_aes_256_gcm(), nullptr, key, spanOf(nonce).data());
  EVP_EncryptUpdate(context, nullptr, &size, spanOf(metadata).data(), static_cast<int>(metadata.size()));
  auto* const bytes = reinterpret_cast<std::uint8_t*>(payload.data());
  EVP_EncryptUpdate(context, bytes, &size, bytes, static_cast<int>(payload.size()));
  EVP_EncryptFinal_ex(context, tag, &size);
  EVP_CIPHER_CTX_ctrl(context, EVP_CTRL_GCM_GET_TAG, kGcmTagSize, tag);
  EVP_CIPHER_CTX_free(context);
  return "KLRX" + uintBytes(1, 2) + uintBytes(metadata.size(), 2) + nonce + uintBytes(payload.size(), 4) + metadata +
         payload + std::string(std::begin(tag), std::end(tag));
}

TEST(Concurrency, LoadsFiltersViewsAndWarmUpsAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 12;
  constexpr int kRows = 300;
  const std::string root = std::filesystem::canonical(testing::TempDir()) / ("threads-" + std::to_string(getpid()));
  std::filesystem::create_directory(root);
  const auto path = [&](const std::string& tag) { return root + "/" + tag + ".klrx"; };
  for (const char* tag : {"a", "b", "o"}) std::ofstream(path(tag), std::ios::binary) << packOf(payloadOf(tag, kRows));
  std::atomic<int> good = 0;

  // Two packs take turns in one slot, so that tables are replaced while other threads still read them.
  const auto work = [&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string tag = (number + round / 3) % 2 == 0 ? "a" : "b";
      std::shared_ptr<const LoadedPack> loaded;
      SemanticError error;
      if (!RulePackLoader(path(tag), root, semanticCache().baseSlot, &loaded, &error)) continue;
      const RecordTable& table = loaded->table;
      const bool found = filterRecords(table, Section::kHuman, tag + "12", true).size() == 2 &&
                         lookupRows(table, Section::kScene, tag + "299", false).size() == 1 &&
                         extractSemanticFacets(table, tag + "5", "").groups.size() == 1 &&
                         sectionRecords(table, Section::kLocation).size() == kRows && sceneMasterRows(table).empty();
      const bool viewed = ensureLocationView({}, sectionRecords(table, Section::kLocation), &error);
      const bool warm = warmUp({path(tag), root, round % 2 == 0 ? path("o") : "", root}, &error);
      good += found && viewed && warm ? 1 : 0;
    }
  };
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) threads.emplace_back(work, number);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, kThreads * kRounds);

  // The addon asks for the root first, so that this is never met there.
  SemanticError error;
  EXPECT_FALSE(warmUp({path("a"), root, path("o"), ""}, &error));
  EXPECT_EQ(error.message, "overlayAllowedRoot is required with overlayPackPath");
  std::filesystem::remove_all(root);
}

}  // namespace
}  // namespace corvenda
