#include "pack/lz4_block.h"

#include <algorithm>
#include <cstring>

#include "base/byte_reader.h"

namespace corvenda {
namespace {

/// A length of 15 in the token goes on in extension bytes, up to the first that is below 255.
constexpr std::uint64_t kExtendedLength = 15;
constexpr std::uint64_t kMinMatch = 4;

bool takeLength(ByteReader& input, std::uint64_t tokenLength, std::uint64_t* length) {
  *length = tokenLength;
  if (tokenLength != kExtendedLength) return true;
  std::uint8_t extension = 0;
  do {
    if (!takeU8(input, &extension)) return false;
    *length += extension;
  } while (extension == 255);
  return true;
}

/// Appends `length` bytes from `offset` bytes behind the end. The match may overlap the bytes that it makes: what is
/// there is copied, then twice as much, and so on, which gives the bytes that copying one at a time gives.
void appendMatch(SecureBytes* output, std::size_t offset, std::size_t length) {
  const std::size_t begin = output->size() - offset;
  std::size_t end = output->size();
  output->resize(end + length);
  std::uint8_t* const bytes = output->data();
  while (length > 0) {
    const std::size_t ready = std::min(length, end - begin);
    std::memcpy(bytes + end, bytes + begin, ready);
    end += ready;
    length -= ready;
  }
}

}  // namespace

bool decodeLz4Block(ByteSpan input, SecureBytes* output, SemanticError* error) {
  output->clear();
  ByteReader reader{input.data(), input.size()};
  while (reader.size > 0) {
    std::uint8_t token = 0;
    takeU8(reader, &token);
    std::uint64_t length = 0;
    const std::uint8_t* literals = nullptr;
    if (!takeLength(reader, token >> 4, &length) || !takeBytes(reader, length, &literals)) {
      return fail(error, "semantic LZ4 literal bounds are invalid");
    }
    output->insert(output->end(), literals, literals + length);
    if (reader.size == 0) return true;
    std::uint16_t offset = 0;
    if (!takeU16(reader, &offset)) return fail(error, "semantic LZ4 match offset is truncated");
    if (offset == 0 || offset > output->size()) return fail(error, "semantic LZ4 match offset is invalid");
    if (!takeLength(reader, token & 15, &length)) return fail(error, "semantic LZ4 match length is truncated");
    appendMatch(output, offset, static_cast<std::size_t>(length + kMinMatch));
  }
  return true;
}

}  // namespace corvenda
