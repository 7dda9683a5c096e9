// Memory that runs out at each place of a load, one at a time, each in a child process.
//
// The core is built without exceptions, so most failed allocations end the process: at once, by an abort, and not by
// going on with what isn't there. A few are met: those of the cryptographic library, of the file system functions, and
// of a thread that can't be started. Then the load fails with a message, or does without.
#include <sys/resource.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <map>
#include <thread>

#include <gtest/gtest.h>

#include <openssl/crypto.h>

#include "cache/rule_pack_loader.h"
#include "delta/delta_manifest.h"
#include "scene/scene_intent.h"
#include "support/child_posix.h"

namespace {

/// The number of the allocation that fails; negative: none does.
std::atomic<int> untilFailure = -1;
bool failsNow(bool armed) { return armed && untilFailure >= 0 && untilFailure-- == 0; }

/// Which allocations are counted.
bool countNew = false;
bool countCrypto = false;

void* cryptoMalloc(std::size_t size, const char*, int) { return failsNow(countCrypto) ? nullptr : std::malloc(size); }
void* cryptoRealloc(void* block, std::size_t size, const char*, int) {
  return failsNow(countCrypto) ? nullptr : std::realloc(block, size);
}
void cryptoFree(void* block, const char*, int) { std::free(block); }

/// Before the library has allocated anything.
const bool replaced = CRYPTO_set_mem_functions(cryptoMalloc, cryptoRealloc, cryptoFree) == 1;

}  // namespace

// A sanitizer has its own, whose checks are worth more.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
#define CORVENDA_COUNTS_NEW 1
// The library's operator delete calls free.
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const block = failsNow(countNew) ? nullptr : std::malloc(size);
  if (block == nullptr) std::__throw_bad_alloc();
  return block;
}
#else
#define CORVENDA_COUNTS_NEW 0
#endif

namespace corvenda {
namespace {

const std::string kPacks = CORVENDA_TEST_PACKS;
const std::string kVectors = CORVENDA_VECTORS;

std::string loadPack(const std::string& name) {
  SemanticCacheSlot& slot = semanticCache().baseSlot;
  std::shared_ptr<const LoadedPack> loaded;
  SemanticError error;
  const auto before = slot.loaded;
  if (!RulePackLoader(kPacks + "/" + name, kPacks, slot, &loaded, &error)) {
    return slot.loaded == before ? error.message : "a failed load changed the slot";
  }
  TitleTexts title;
  fillTitle("a7 b7 g7", "x", &title);
  return resolveSceneIntent(loaded->table, title).hit ? "answers" : "rows are missing";
}

std::string verify() {
  DeltaManifest manifest;
  SemanticError error;
  const DeltaExpectation expected{kVectors + "/a_patch_is_accepted.klrx", kVectors, "vectors-1", "vectors-2"};
  const bool done =
      verifySemanticDeltaManifest(kVectors + "/a_manifest_vouches_for_its_patch.manifest", expected, &manifest, &error);
  return done ? "answers" : error.message;
}

/// What comes of the work in a child: what it says, or "abort".
std::string outcomeOf(const std::function<void()>& limit, const std::function<std::string()>& work) {
  ChildReport* const report = sharedReport();
  const auto run = [&] {
    limit();
    const std::string outcome = work();
    untilFailure = -1;
    say(report, outcome);
  };
  // In a thread, because an exception that leaves one ends the process, and in this one the test's frame would catch
  // it.
  const pid_t child = startChild([&] { std::thread(run).join(); });
  int status = 0;
  waitpid(child, &status, 0);
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGABRT) return "abort";
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? report->outcome : "status " + std::to_string(status);
}

using Outcomes = std::map<std::string, int>;

/// Fails the first allocation of a kind, then the second, and so on, until the work needs no more.
Outcomes failEach(bool* counted, const std::function<std::string()>& work) {
  Outcomes outcomes;
  for (int number = 0;; ++number) {
    bool reached = true;
    const auto arm = [&] { *counted = true, untilFailure = number; };
    const std::string outcome = outcomeOf(arm, [&] {
      std::string said = work();
      // Not reached: as many allocations as the work makes.
      return untilFailure >= 0 ? "done" : said;
    });
    reached = outcome != "done";
    if (!reached || number > 20000) return outcomes;
    ++outcomes[outcome];
  }
}

struct MemoryFault : testing::Test {
  MemoryFault() {
    semanticCache().baseSlot = {};
    semanticCache().overlaySlot = {};
    EXPECT_EQ(loadPack("b.klrx"), "answers");  // so that libraries are ready, and a slot is filled
    semanticCache().overlaySlot = {};
  }
};

void expectOnly(const Outcomes& outcomes, const std::vector<std::string>& allowed) {
  for (const auto& [outcome, count] : outcomes) {
    EXPECT_NE(std::find(allowed.begin(), allowed.end(), outcome), allowed.end())
        << outcome << ", " << count << " times";
  }
}

TEST_F(MemoryFault, EachAllocationOfTheCore) {
  if (CORVENDA_COUNTS_NEW == 0) GTEST_SKIP() << "a sanitizer allocates";
  const Outcomes outcomes = failEach(&countNew, [] { return loadPack("a.klrx"); });
  expectOnly(outcomes, {"abort"});
  EXPECT_GT(outcomes.at("abort"), 20);
  expectOnly(failEach(&countNew, verify), {"abort", "semantic rule-pack path cannot be canonicalized"});
}

TEST_F(MemoryFault, EachAllocationOfTheCryptographicLibrary) {
  ASSERT_TRUE(replaced);
  const std::vector<std::string> messages = {
      "native AES provider cannot be opened",
      "native AES object length is invalid",
      "native AES key cannot be initialized",
      "native SHA-256 provider cannot be opened",
      "native SHA-256 object length is invalid",
      "native SHA-256 calculation failed",
      "answers",
  };
  const Outcomes outcomes = failEach(&countCrypto, [] { return loadPack("a.klrx"); });
  expectOnly(outcomes, messages);
  EXPECT_GE(outcomes.size(), 2U);
}

TEST_F(MemoryFault, TooFewPages) {
  if (CORVENDA_COUNTS_NEW == 0) GTEST_SKIP() << "a sanitizer needs address space of its own";
#ifndef __x86_64__
  GTEST_SKIP() << "an emulator needs address space of its own";
#endif
  Outcomes outcomes;
  for (rlim_t more = 1U << 12U; more <= 1U << 29U; more += more / 3) {
    const auto limit = [more] {
      rlim_t pages = 0;
      std::ifstream("/proc/self/statm") >> pages;
      const rlim_t bytes = pages * static_cast<rlim_t>(sysconf(_SC_PAGESIZE)) + more;
      const rlimit space{bytes, bytes};
      setrlimit(RLIMIT_AS, &space);
    };
    ++outcomes[outcomeOf(limit, [] { return loadPack("g.klrx"); })];
  }
  expectOnly(outcomes, {"abort", "answers"});
  EXPECT_TRUE(outcomes["abort"] > 3 && outcomes["answers"] > 3) << outcomes["abort"] << " " << outcomes["answers"];
}

}  // namespace
}  // namespace corvenda
