// Memory from the system: what is wiped, what is given back, which block owns it.
#include "base/secure_block.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include <gtest/gtest.h>

#include "support/resident_bytes.h"

namespace corvenda {
namespace {

bool isAll(const std::uint8_t* bytes, std::size_t size, std::uint8_t value) {
  return std::all_of(bytes, bytes + size, [value](std::uint8_t byte) { return byte == value; });
}

constexpr std::size_t kMany = std::size_t{64} << 20;
constexpr std::size_t kFew = std::size_t{5} << 20;

/// How many of the first `kMany` bytes from here on take memory.
std::size_t resident(const std::uint8_t* pages) { return residentBytes(pages, kMany); }

TEST(SecureBlock, ZeroedWritableAndOwnedOnce) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{1}, std::size_t{4097}, (std::size_t{2} << 20) + 1}) {
    SecureBlock block = allocateBlock(size);
    ASSERT_EQ(block.size, size);
    ASSERT_TRUE(isAll(block.data, size, 0));
    std::fill_n(block.data, size, std::uint8_t{7});
    const std::uint8_t* const place = block.data;
    SecureBlock moved(std::move(block));
    EXPECT_TRUE(block.data == nullptr && block.size == 0);  // NOLINT(bugprone-use-after-move): that is what is tested
    SecureBlock other = allocateBlock(3);
    other = std::move(moved);
    EXPECT_TRUE(other.data == place && other.size == size && isAll(other.data, size, 7));
    EXPECT_EQ(moved.data, nullptr);  // NOLINT(bugprone-use-after-move): that is what is tested
    other = SecureBlock();
    EXPECT_EQ(other.data, nullptr);
  }
}

TEST(SecureBlock, WhatIsNotKeptIsWiped) {
  for (const std::size_t size : {std::size_t{100}, std::size_t{100000}, std::size_t{5} << 20}) {
    SecureBlock block = allocateBlock(size);
    std::fill_n(block.data, size, std::uint8_t{7});
    std::uint8_t* const all = block.data;
    releaseRange(&block, 50, size / 2);
    EXPECT_TRUE(isAll(all, 50, 7) && isAll(all + 50, size / 2, 0) && isAll(all + 50 + size / 2, size / 2 - 50, 7));
    keepRange(&block, 10, 20);
    EXPECT_TRUE(block.data == all + 10 && block.size == 20);
    EXPECT_TRUE(isAll(all, 10, 0) && isAll(all + 10, 20, 7) && isAll(all + 30, size - 30, 0));
  }
}

TEST(SecureBlock, MemoryGoesBackToTheSystem) {
  SecureBlock block = allocateBlock(kMany);
  const std::uint8_t* const pages = block.data;
  EXPECT_LT(resident(pages), kFew) << "before it is written";
  trimBlock(&block, kMany - kFew);
  std::memset(block.data, 7, block.size);
  EXPECT_GT(resident(pages), kMany - 2 * kFew);
  releaseRange(&block, 123, block.size - 1000);
  EXPECT_LT(resident(pages), kFew);
  std::memset(block.data, 7, block.size);
  keepRange(&block, 4000, 1000);
  EXPECT_LT(resident(pages), kFew);
  EXPECT_GT(resident(pages), 0U);
  block = SecureBlock();
  EXPECT_EQ(resident(pages), 0U);
}

}  // namespace
}  // namespace corvenda
