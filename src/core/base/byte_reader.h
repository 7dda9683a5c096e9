// Reading binary structures: one record, one bounds check.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace corvenda {

/// The bytes that are still to be read. A structure inside another one gets a reader of its own (`takeReader`) and so
/// can't read past its own end; "nothing follows" is `size == 0`.
struct ByteReader {
  const std::uint8_t* data = nullptr;
  std::size_t size = 0;
};

/// Cuts `count` bytes off the front. False, with nothing changed, if fewer are left. The one bounds check of all
/// readers.
inline bool takeBytes(ByteReader& reader, std::uint64_t count, const std::uint8_t** bytes) {
  if (count > reader.size) return false;
  *bytes = reader.data;
  reader.data += count;
  reader.size -= static_cast<std::size_t>(count);
  return true;
}

inline bool takeReader(ByteReader& reader, std::uint64_t count, ByteReader* child) {
  const std::uint8_t* bytes = nullptr;
  if (!takeBytes(reader, count, &bytes)) return false;
  *child = {bytes, static_cast<std::size_t>(count)};
  return true;
}

inline bool takeText(ByteReader& reader, std::uint64_t count, std::string_view* text) {
  const std::uint8_t* bytes = nullptr;
  if (!takeBytes(reader, count, &bytes)) return false;
  *text = {reinterpret_cast<const char*>(bytes), static_cast<std::size_t>(count)};
  return true;
}

inline bool takeU8(ByteReader& reader, std::uint8_t* value) {
  const std::uint8_t* bytes = nullptr;
  if (!takeBytes(reader, 1, &bytes)) return false;
  *value = bytes[0];
  return true;
}

/// Little-endian, as all integers of the formats.
inline bool takeU16(ByteReader& reader, std::uint16_t* value) {
  const std::uint8_t* bytes = nullptr;
  if (!takeBytes(reader, 2, &bytes)) return false;
  *value = static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
  return true;
}

inline bool takeU32(ByteReader& reader, std::uint32_t* value) {
  const std::uint8_t* bytes = nullptr;
  if (!takeBytes(reader, 4, &bytes)) return false;
  *value = static_cast<std::uint32_t>(bytes[0]) | static_cast<std::uint32_t>(bytes[1]) << 8 |
           static_cast<std::uint32_t>(bytes[2]) << 16 | static_cast<std::uint32_t>(bytes[3]) << 24;
  return true;
}

/// Cuts the magic off if the reader begins with it.
inline bool takeMagic(ByteReader& reader, std::string_view magic) {
  std::string_view text;
  ByteReader ahead = reader;
  if (!takeText(ahead, magic.size(), &text) || text != magic) return false;
  reader = ahead;
  return true;
}

}  // namespace corvenda
