// A block of many megabytes, which is decoded and released in steps. The format itself is tested through packs, and
// against a plain decoder on arbitrary bytes in fuzz/.
#include "pack/lz4_block.h"

#include <algorithm>
#include <random>

#include <gtest/gtest.h>

namespace corvenda {
namespace {

void addLength(std::vector<std::uint8_t>* block, std::size_t length) {
  if (length < 15) return;
  for (length -= 15; length >= 255; length -= 255) block->push_back(255);
  block->push_back(static_cast<std::uint8_t>(length));
}

/// A sequence of random literals and a match of at least 4 bytes, and what it decodes to.
void addSequence(std::mt19937* random, std::size_t literals, std::size_t offset, std::size_t match,
                 std::vector<std::uint8_t>* block, std::vector<std::uint8_t>* decoded) {
  block->push_back(
      static_cast<std::uint8_t>(std::min<std::size_t>(literals, 15) << 4 | std::min<std::size_t>(match - 4, 15)));
  addLength(block, literals);
  for (std::size_t i = 0; i < literals; ++i) {
    block->push_back(static_cast<std::uint8_t>((*random)()));
    decoded->push_back(block->back());
  }
  block->push_back(static_cast<std::uint8_t>(offset));
  block->push_back(static_cast<std::uint8_t>(offset >> 8));
  addLength(block, match - 4);
  for (std::size_t i = 0; i < match; ++i) decoded->push_back((*decoded)[decoded->size() - offset]);
}

TEST(Lz4Block, OfManySteps) {
  std::mt19937 random(1);
  std::vector<std::uint8_t> input;
  std::vector<std::uint8_t> decoded;
  // The third run of literals spans two steps by itself.
  for (const std::size_t literals : {std::size_t{1}, std::size_t{3000000}, std::size_t{9000000}, std::size_t{70}}) {
    addSequence(&random, literals, 1, 4, &input, &decoded);
    for (std::size_t i = 0; i < 100000; ++i) {
      const std::size_t offset = 1 + random() % (i % 2 == 0 ? 20 : std::min<std::size_t>(decoded.size(), 65535));
      addSequence(&random, random() % 24, std::min(offset, decoded.size()), 4 + random() % 40, &input, &decoded);
    }
  }
  SecureBlock block = allocateBlock(input.size());
  std::copy(input.begin(), input.end(), block.data);
  SemanticError error;
  ASSERT_TRUE(decodeLz4Block(&block, &error)) << error.message;
  ASSERT_EQ(block.size, decoded.size());
  EXPECT_TRUE(std::equal(decoded.begin(), decoded.end(), block.data));
}

}  // namespace
}  // namespace corvenda
