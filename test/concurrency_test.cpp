// Threads that load, filter and warm up at once. It is worth most under ThreadSanitizer.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "cache/rule_pack_loader.h"
#include "cache/warm_up.h"
#include "facet/facet_extraction.h"
#include "lookup/index_lookup.h"

namespace corvenda {
namespace {

TEST(Concurrency, LoadsFiltersViewsAndWarmUpsAtOnce) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 12;
  const std::string root = CORVENDA_TEST_PACKS;
  const auto path = [&](const std::string& tag) { return root + "/" + tag + ".klrx"; };
  std::atomic<int> good = 0;

  // Two packs alternate in one slot, so that tables are replaced while other threads still read them.
  const auto work = [&](int number) {
    for (int round = 0; round < kRounds; ++round) {
      const std::string tag = (number + round / 3) % 2 == 0 ? "a" : "b";
      std::shared_ptr<const LoadedPack> loaded;
      SemanticError error;
      if (!RulePackLoader(path(tag), root, semanticCache().baseSlot, &loaded, &error)) continue;
      const RecordTable& table = loaded->table;
      TextArena arena;
      const bool found = filterRecords(table, Section::kHuman, tag + "12", true).size() == 2 &&
                         lookupRows(table, Section::kScene, tag + "299", false, &arena).size() == 1 &&
                         extractSemanticFacets(table, tag + "5", "").groups.size() == 1 && !findMasterRow(table, "k");
      const bool warm = warmUp({path(tag), root, round % 2 == 0 ? path("o") : "", root}, &error);
      good += found && warm ? 1 : 0;
    }
  };
  std::vector<std::thread> threads;
  for (int number = 0; number < kThreads; ++number) threads.emplace_back(work, number);
  for (std::thread& thread : threads) thread.join();
  EXPECT_EQ(good, kThreads * kRounds);

  // The addon requires the root earlier, so that this failure can't be reached from there.
  SemanticError error;
  EXPECT_FALSE(warmUp({path("a"), root, path("o"), ""}, &error));
  EXPECT_EQ(error.message, "overlayAllowedRoot is required with overlayPackPath");
}

}  // namespace
}  // namespace corvenda
