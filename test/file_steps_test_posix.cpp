// Files and names that change at every step: a load runs in a child process whose system calls are stopped one by one,
// and the change is made before the first of them, then in another child before the second, and so on.
#include <signal.h>  // NOLINT(modernize-deprecated-headers): raise is POSIX
#include <sys/ptrace.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "cache/rule_pack_loader.h"
#include "delta/delta_manifest.h"
#include "support/child_posix.h"

namespace corvenda {
namespace {

namespace fs = std::filesystem;

using Change = std::function<void()>;

/// Does the work in a child and makes the change before its `step`-th system call. False if it has fewer.
bool workWithChange(int step, const Change& change, const std::function<void()>& work) {
  const pid_t child = startChild([&] {
    ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    raise(SIGSTOP);
    work();
  });
  constexpr int kSystemCall = SIGTRAP | 0x80;
  int status = 0;
  waitpid(child, &status, 0);
  ptrace(PTRACE_SETOPTIONS, child, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL);
  bool changed = false;
  for (int stops = 0; WIFSTOPPED(status); waitpid(child, &status, 0)) {
    // A system call stops twice, when it begins and when it ends.
    if (WSTOPSIG(status) == kSystemCall && ++stops == 2 * step - 1) {
      change();
      changed = true;
    }
    const int signal = WSTOPSIG(status);
    ptrace(changed ? PTRACE_CONT : PTRACE_SYSCALL, child, nullptr,
           signal == kSystemCall || signal == SIGSTOP ? 0 : signal);
  }
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "step " << step << ": status " << status;
  return changed;
}

bool canTrace() {
  const pid_t child = startChild([] { _exit(ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1); });
  int status = 0;
  waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

std::ptrdiff_t openDescriptors() {
  return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
}

struct FileSteps : testing::Test {
  // In memory if possible: a disk would be waited for at each exchange of a file.
  fs::path folder =
      fs::canonical(fs::exists("/dev/shm") ? "/dev/shm" : testing::TempDir()) / ("steps-" + std::to_string(getpid()));
  fs::path root = folder / "root";
  fs::path inside = root / "sub";
  fs::path outside = folder / "outside";
  ChildReport* report = sharedReport();

  void SetUp() override {
    if (!canTrace()) GTEST_SKIP() << "this system traces no processes";
  }
  ~FileSteps() override { fs::remove_all(folder); }

  /// Copies files below the root, under old times; one that can take their place; and one of the same names outside.
  void reset(const std::vector<std::pair<fs::path, std::string>>& files, const fs::path& other, const fs::path& far) {
    fs::remove_all(folder);
    fs::create_directories(inside);
    fs::create_directories(outside);
    for (const auto& [from, name] : files) {
      fs::copy_file(from, inside / name);
      fs::copy_file(far, outside / name);
      fs::last_write_time(inside / name, fs::file_time_type{});
    }
    fs::copy_file(other, folder / "other");
    *report = {};
  }

  /// What can happen to a file below the root.
  std::vector<std::pair<const char*, Change>> changesOf(const std::string& name) {
    const fs::path file = inside / name;
    return {
        {"removed", [=] { fs::remove(file); }},
        {"exchanged", [=, this] { fs::rename(folder / "other", file); }},
        {"overwritten", [=, this] { fs::copy_file(folder / "other", file, fs::copy_options::overwrite_existing); }},
        {"cut", [=] { fs::resize_file(file, fs::file_size(file) / 2); }},
        {"emptied", [=] { fs::resize_file(file, 0); }},
        {"a pipe", [=] { fs::remove(file), mkfifo(file.c_str(), 0600); }},
        {"a folder", [=] { fs::remove(file), fs::create_directory(file); }},
        {"a link out of the root", [=, this] { fs::remove(file), fs::create_symlink(outside / name, file); }},
        {"its folder a link out of the root",
         [=, this] { fs::rename(inside, folder / "moved"), fs::create_symlink(outside, inside); }},
    };
  }

  /// Makes each change of the file at each step of the work. Returns all outcomes.
  std::set<std::string> changeAtEachStep(const std::string& name, const std::function<void()>& prepare,
                                         const std::function<void()>& work) {
    std::set<std::string> outcomes;
    const std::size_t count = changesOf(name).size();
    for (std::size_t i = 0; i < count; ++i) {
      int step = 0;
      const auto [what, change] = changesOf(name)[i];
      do {
        prepare();
        const bool reached = workWithChange(++step, change, [&] {
          const std::ptrdiff_t before = openDescriptors();
          work();
          if (openDescriptors() != before) say(report, "descriptors are left");
        });
        if (!reached) break;
        EXPECT_TRUE(report->sound) << what << " before step " << step << ": " << report->outcome;
        outcomes.insert(report->outcome);
      } while (!HasFailure());
      EXPECT_GT(step, 15) << what;
    }
    return outcomes;
  }
};

TEST_F(FileSteps, Packs) {
  const fs::path packs = CORVENDA_TEST_PACKS;
  const std::string path = inside / "a.klrx";
  const auto load = [&] {
    SemanticCacheSlot& slot = semanticCache().baseSlot;
    slot = {};
    std::shared_ptr<const LoadedPack> loaded;
    SemanticError error;
    const bool done = RulePackLoader(path, root, slot, &loaded, &error);
    report->sound = done == slot.valid && done == error.message.empty();
    say(report, done ? std::string(termOf(loaded->table, 0).substr(0, 1)) : error.message);
  };
  // All have the same size. "o", which lies outside, is never loaded.
  const auto prepare = [&] { reset({{packs / "a.klrx", "a.klrx"}}, packs / "b.klrx", packs / "o.klrx"); };
  const std::string kind = "semantic rule-pack ";
  const std::set<std::string> expected = {
      "a",
      "b",
      kind + "file is not a regular file",
      kind + "file size is invalid",
      kind + "file stat is invalid",
      kind + "length fields are invalid",
      kind + "path is outside the approved root",
  };
  EXPECT_EQ(changeAtEachStep("a.klrx", prepare, load), expected);
}

TEST_F(FileSteps, Manifests) {
  const fs::path vectors = CORVENDA_VECTORS;
  const std::string pack = "a_patch_is_accepted.klrx";
  const fs::path manifest = vectors / "a_manifest_vouches_for_its_patch.manifest";
  const auto verify = [&] {
    SemanticCacheSlot& slot = semanticCache().overlaySlot;
    slot = {};
    DeltaManifest fields;
    SemanticError error;
    const bool done =
        verifySemanticDeltaManifest(inside / "m", {inside / pack, root, "vectors-1", "vectors-2"}, &fields, &error);
    // The rows in use are those that were signed, whatever has happened to the file.
    const bool signedRows = slot.valid && slot.fileSha256 && digestHex(*slot.fileSha256) == fields.packSha256;
    report->sound = done ? signedRows : !error.message.empty();
    say(report, done ? "verified" : error.message);
  };
  for (const std::string& name : {std::string("m"), pack}) {
    // In place of the pack another sound patch, in place of the manifest one that is signed for another patch.
    const fs::path other =
        vectors / (name == "m" ? "a_manifest_names_another_file.manifest" : "a_compressed_patch_is_accepted.klrx");
    const auto prepare = [&] { reset({{manifest, "m"}, {vectors / pack, pack}}, other, other); };
    const auto outcomes = changeAtEachStep(name, prepare, verify);
    EXPECT_TRUE(outcomes.count("verified") == 1 && outcomes.size() >= 5) << name;
    for (const std::string& outcome : outcomes) {
      EXPECT_TRUE(outcome == "verified" || outcome.starts_with("semantic ")) << outcome;
    }
  }
}

}  // namespace
}  // namespace corvenda
