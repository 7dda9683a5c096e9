// A hash of byte strings whose values nobody outside the process can predict.
//
// Terms come from packs and callers. Under a fixed hash, thousands of them could be chosen to collide in one place of a
// table. The seed is drawn once per process.
#pragma once

#include <cstdint>
#include <string_view>

#include "base/short_text.h"

#if defined(_MSC_VER) && !defined(__clang__)
#include <intrin.h>
#endif

namespace corvenda {

struct HashSeed {
  std::uint64_t first;
  std::uint64_t second;
};

/// The seed of the process.
const HashSeed& hashSeed();

/// Folds the 128 bits of a product into 64. Both factors are mixed with the seed, so that no pair of inputs is known to
/// collide.
inline std::uint64_t foldedProduct(std::uint64_t a, std::uint64_t b) {
#if defined(_MSC_VER) && !defined(__clang__)
  std::uint64_t high = 0;
  const std::uint64_t low = _umul128(a, b, &high);
  return low ^ high;
#else
  __extension__ using Wide = unsigned __int128;
  const Wide product = static_cast<Wide>(a) * b;
  return static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64);
#endif
}

/// The hash of `text` under `seed`. The constant of the last step is 2^64 divided by the golden ratio: bits without a
/// pattern, so that a seed of zero would still mix.
inline std::uint64_t keyedHash(std::string_view text, const HashSeed& seed) {
  const char* bytes = text.data();
  std::size_t left = text.size();
  std::uint64_t state = seed.first ^ text.size();
  for (; left > 16; left -= 16, bytes += 16) {
    state = foldedProduct(loadWord(bytes) ^ state, loadWord(bytes + 8) ^ seed.second);
  }
  const bool whole = left >= 8;
  const std::uint64_t front = whole ? loadWord(bytes) : loadFew(bytes, left);
  const std::uint64_t back = whole ? loadWord(bytes + left - 8) : left;
  return foldedProduct(foldedProduct(front ^ state, back ^ seed.second) ^ seed.first,
                       0x9E3779B97F4A7C15U ^ seed.second);
}

/// For the standard library's tables.
struct KeyedHash {
  std::size_t operator()(std::string_view text) const { return static_cast<std::size_t>(keyedHash(text, hashSeed())); }
};

}  // namespace corvenda
