// The LZ4 block decoder on blocks written by hand. Blocks of an independent encoder: lz4_blocks.test.mjs.
#include "pack/lz4_block.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace corvenda {
namespace {

std::string decode(const std::string& block, std::string* message) {
  const std::vector<std::uint8_t> input(block.begin(), block.end());
  SecureBytes output{1, 2, 3};  // emptied first
  SemanticError error;
  const bool decoded = decodeLz4Block(input, &output, &error);
  *message = error.message;
  EXPECT_EQ(decoded, error.message.empty());
  EXPECT_EQ(decodeLz4Block(input, &output, nullptr), decoded) << "says nothing without a place for it";
  return decoded ? std::string(output.begin(), output.end()) : std::string();
}

/// A length as token nibble and extension bytes.
std::uint8_t nibble(std::size_t length) { return static_cast<std::uint8_t>(length < 15 ? length : 15); }
std::string extension(std::size_t length) {
  if (length < 15) return {};
  std::string bytes((length - 15) / 255, '\xFF');
  return bytes += static_cast<char>((length - 15) % 255);
}

/// Literals, then a match.
std::string sequence(const std::string& literals, std::size_t offset, std::size_t matchLength) {
  std::string block(1, static_cast<char>(nibble(literals.size()) << 4 | nibble(matchLength - 4)));
  block += extension(literals.size()) + literals;
  block += static_cast<char>(offset & 255);
  block += static_cast<char>(offset >> 8);
  return block += extension(matchLength - 4);
}

TEST(Lz4Block, SequencesByHand) {
  const std::string ff(1, '\xFF');
  const std::string zero(1, '\0');
  const struct {
    const char* name;
    std::string block, expected;
    const char* message;
  } rows[] = {
      {"nothing", "", "", ""},
      {"one empty sequence", zero, "", ""},
      {"one literal", "\x10" "a", "a", ""},
      {"14 literals, the most without extension", "\xE0" "abcdefghijklmn", "abcdefghijklmn", ""},
      {"15 literals take an extension byte of 0", "\xF0" + zero + "abcdefghijklmno", "abcdefghijklmno", ""},
      {"270 literals: 15 + 255 + 0", "\xF0" + ff + zero + std::string(270, 'x'), std::string(270, 'x'), ""},
      {"a match, then nothing: wider than the format", "\x14" "a\x01" + zero, "aaaaaaaaa", ""},
      {"a match, then literals", "\x20" "ab\x02" + zero + "\x20" "cd", "abababcd", ""},
      {"a match without literals of its own", "\x10" "a\x01" + zero + "\x01\x05" + zero + "\x10" "b", "aaaaaaaaaab", ""},
      {"an offset of two bytes", sequence(std::string("z") + std::string(299, 'y'), 300, 4), "z" + std::string(299, 'y') + "zyyy", ""},
      {"19 bytes of match take an extension byte of 0", "\x1F" "a\x01" + zero + zero, std::string(20, 'a'), ""},

      {"no literal where one is due", "\x10", "", "semantic LZ4 literal bounds are invalid"},
      {"no extension byte", "\xF0", "", "semantic LZ4 literal bounds are invalid"},
      {"no byte behind an extension of 255", "\xF0" + ff, "", "semantic LZ4 literal bounds are invalid"},
      {"one literal too few", "\xF0" + zero + "abcdefghijklmn", "", "semantic LZ4 literal bounds are invalid"},
      {"half an offset", "\x10" "a\x01", "", "semantic LZ4 match offset is truncated"},
      {"offset 0", "\x10" "a" + zero + zero, "", "semantic LZ4 match offset is invalid"},
      {"offset one too far", "\x10" "a\x02" + zero, "", "semantic LZ4 match offset is invalid"},
      {"a match with nothing made yet", zero + "\x01" + zero, "", "semantic LZ4 match offset is invalid"},
      {"the offset is judged before the length", "\x1F" "a\x02" + zero, "", "semantic LZ4 match offset is invalid"},
      {"no match extension", "\x1F" "a\x01" + zero, "", "semantic LZ4 match length is truncated"},
      {"no byte behind a match extension of 255", "\x1F" "a\x01" + zero + ff, "", "semantic LZ4 match length is truncated"},
      {"a fault behind good sequences", "\x20" "ab\x02" + zero + "\x20" "c", "", "semantic LZ4 literal bounds are invalid"},
  };
  for (const auto& row : rows) {
    std::string message;
    EXPECT_EQ(decode(row.block, &message), row.expected) << row.name;
    EXPECT_EQ(message, row.message) << row.name;
  }
}

TEST(Lz4Block, MatchesOverlapLikeBytesCopiedOneByOne) {
  for (std::size_t offset = 1; offset <= 40; ++offset) {
    std::string literals;
    for (std::size_t i = 0; i < offset; ++i) literals += static_cast<char>('A' + i);
    for (const std::size_t length : {4U, 5U, 15U, 16U, 17U, 18U, 19U, 31U, 33U, 64U, 100U, 274U, 1000U}) {
      std::string expected = literals;
      for (std::size_t i = 0; i < length; ++i) expected += expected[expected.size() - offset];
      std::string message;
      EXPECT_EQ(decode(sequence(literals, offset, length) + "\x10!", &message), expected + "!") << offset << " " << length;
    }
  }
}

TEST(Lz4Block, CutOffAnywhere) {
  const std::string block = sequence("0123456789abcdef", 16, 6) + sequence("wxyz", 5, 277) + "\x20pq";
  // What each length is: a whole block (.), or cut in its Literals, its Offset or the length of its Match.
  const std::string expected = ".LLLLLLLLLLLLLLLLL.O.LLLL.OMM.LL.";
  ASSERT_EQ(expected.size(), block.size() + 1);
  std::string message;
  const std::string whole = decode(block, &message);
  EXPECT_EQ(whole.size(), 16U + 6 + 4 + 277 + 2);
  for (std::size_t length = 0; length <= block.size(); ++length) {
    EXPECT_TRUE(whole.starts_with(decode(block.substr(0, length), &message))) << length;
    EXPECT_EQ(message, expected[length] == '.'   ? ""
                       : expected[length] == 'L' ? "semantic LZ4 literal bounds are invalid"
                       : expected[length] == 'O' ? "semantic LZ4 match offset is truncated"
                                                 : "semantic LZ4 match length is truncated")
        << length;
  }
}

}  // namespace
}  // namespace corvenda
