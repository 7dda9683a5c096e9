// Runs a fuzz target over the files of a folder: each whole, and cut at every length up to a limit.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "fuzz_target.h"

namespace {

/// Longer seeds are cut at this many lengths, evenly spread, so that a replay takes a moment.
constexpr std::size_t kCuts = 256;

void run(const std::vector<char>& bytes, std::size_t size) {
  // A copy of exactly this size, so that a sanitizer sees a read past its end.
  const std::vector<std::uint8_t> exact(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(size));
  LLVMFuzzerTestOneInput(exact.data(), exact.size());
}

}  // namespace

int main(int argc, char** argv) {
  std::size_t files = 0;
  for (int i = 1; i < argc; ++i) {
    std::error_code status;
    for (const auto& entry : std::filesystem::directory_iterator(argv[i], status)) {
      std::ifstream file(entry.path(), std::ios::binary);
      const std::vector<char> bytes(std::istreambuf_iterator<char>(file), {});
      const std::size_t step = std::max<std::size_t>(1, bytes.size() / kCuts);
      for (std::size_t size = 0; size < bytes.size(); size += step) run(bytes, size);
      run(bytes, bytes.size());
      ++files;
    }
  }
  std::printf("%zu seeds\n", files);
  return files == 0 ? 1 : 0;
}
