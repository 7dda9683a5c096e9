// Short texts as numbers. Terms, titles and fields are short, and a call of the library costs more than they do.
//
// All targets are little-endian: the first byte is the lowest.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace corvenda {

inline std::uint64_t loadWord(const char* bytes) {
  std::uint64_t word = 0;
  std::memcpy(&word, bytes, sizeof word);
  return word;
}

inline std::uint64_t loadHalf(const char* bytes) {
  std::uint32_t half = 0;
  std::memcpy(&half, bytes, sizeof half);
  return half;
}

inline std::uint64_t loadByte(const char* bytes) { return static_cast<unsigned char>(*bytes); }

/// Up to eight bytes as a number. Fewer than four lose nothing: three bytes hold the first, the middle and the last.
inline std::uint64_t loadFew(const char* bytes, std::size_t count) {
  if (count >= 4) return loadHalf(bytes) | loadHalf(bytes + count - 4) << 32U;
  if (count == 0) return 0;
  return loadByte(bytes) | loadByte(bytes + count / 2) << 8U | loadByte(bytes + count - 1) << 16U;
}

/// The first eight bytes; zeros after the end of a shorter text.
inline std::uint64_t loadFront(std::string_view text) {
  const char* const bytes = text.data();
  const std::size_t size = text.size();
  if (size >= 8) return loadWord(bytes);
  // The parts overlap where the text is shorter than both.
  if (size >= 4) return loadHalf(bytes) | loadHalf(bytes + size - 4) << (8 * (size - 4));
  if (size == 0) return 0;
  const std::size_t middle = size / 2;
  return loadByte(bytes) | loadByte(bytes + middle) << (8 * middle) | loadByte(bytes + size - 1) << (8 * (size - 1));
}

/// How many of eight bytes come before the first that is this ASCII character; 8 if none is.
inline std::size_t bytesBefore(std::uint64_t bytes, char ascii) {
  constexpr std::uint64_t kOnes = 0x0101010101010101U;
  const std::uint64_t others = bytes ^ static_cast<unsigned char>(ascii) * kOnes;
  // A zero byte is the lowest one of which the subtraction borrows.
  return static_cast<std::size_t>(std::countr_zero((others - kOnes) & ~others & (kOnes << 7U))) / 8;
}

inline bool isSameText(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  if (a.size() > 32) return a == b;
  if (a.size() < 8) return loadFew(a.data(), a.size()) == loadFew(b.data(), b.size());
  const std::size_t back = a.size() - 8;
  if (loadWord(a.data() + back) != loadWord(b.data() + back)) return false;
  for (std::size_t at = 0; at < back; at += 8) {
    if (loadWord(a.data() + at) != loadWord(b.data() + at)) return false;
  }
  return true;
}

}  // namespace corvenda
