#include "pack/lz4_block.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "base/byte_reader.h"

namespace corvenda {
namespace {

/// A length of 15 in the token continues in extension bytes, up to and including the first below 255.
constexpr std::uint64_t kExtendedLength = 15;
constexpr std::uint64_t kMinMatch = 4;

/// Most literal runs and matches fit into one or two steps of this size, each a single load and store of a vector
/// register.
constexpr std::size_t kStride = 16;

/// How much of the input is decoded before it is given back: 4 MiB, two large pages.
constexpr std::size_t kReleaseStep = std::size_t{4} << 20;

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

/// `takeLength` where the extension bytes are known to be there.
std::size_t readLength(const std::uint8_t*& in, std::size_t tokenLength) {
  if (tokenLength != kExtendedLength) return tokenLength;
  std::size_t length = tokenLength;
  std::uint8_t extension = 0;
  do {
    extension = *in++;
    length += extension;
  } while (extension == 255);
  return length;
}

/// Copies in steps of `Stride` bytes and may write up to one step beyond the end. The source lies at least `Stride`
/// bytes before the target, so that no step reads what it writes.
template <std::size_t Stride>
void copyStrides(std::uint8_t* out, const std::uint8_t* from, const std::uint8_t* end) {
  do {
    std::memcpy(out, from, Stride);
    out += Stride;
    from += Stride;
  } while (out < end);
}

/// Copies without a byte beyond the end, sixteen bytes at a time. The C library's copy would leave hundreds of
/// decrypted bytes in vector registers. They then reach the stack: the system's loader saves the registers there when a
/// library's function is bound at its first call.
void copyExactly(std::uint8_t* out, const std::uint8_t* from, std::size_t length) {
  const std::size_t rest = length % kStride;
  const std::size_t whole = length - rest;
  if (whole > 0) copyStrides<kStride>(out, from, out + whole);
  std::memcpy(out + whole, from + whole, rest);
}

/// A match may overlap its own output. What exists is copied, then twice as much, and so on: the same bytes as copying
/// one at a time gives.
void copyMatchExactly(std::uint8_t* out, std::size_t offset, std::size_t length) {
  const std::uint8_t* const from = out - offset;
  while (length > 0) {
    const std::size_t ready = std::min(length, static_cast<std::size_t>(out - from));
    copyExactly(out, from, ready);
    out += ready;
    length -= ready;
  }
}

/// The same with room for one step beyond the end.
void copyMatchWidely(std::uint8_t* out, std::size_t offset, std::size_t length) {
  const std::uint8_t* const end = out + length;
  if (offset >= kStride) return copyStrides<kStride>(out, out - offset, end);
  if (offset >= 8) return copyStrides<8>(out, out - offset, end);
  // The pattern is repeated until its beginning is 8 bytes away or more.
  std::size_t period = offset;
  for (std::size_t i = 0; i < 8; ++i) out[i] = (out - offset)[i];
  while (period < 8) period += offset;
  if (length > 8) copyStrides<8>(out + 8, out + 8 - period, end);
}

}  // namespace

bool measureLz4Block(ByteSpan input, std::size_t* decodedSize, SemanticError* error) {
  ByteReader reader{input.data(), input.size()};
  std::uint64_t decoded = 0;
  *decodedSize = 0;
  while (reader.size > 0) {
    std::uint8_t token = 0;
    takeU8(reader, &token);
    std::uint64_t length = 0;
    const std::uint8_t* literals = nullptr;
    if (!takeLength(reader, token >> 4, &length) || !takeBytes(reader, length, &literals)) {
      return fail(error, "semantic LZ4 literal bounds are invalid");
    }
    decoded += length;
    if (reader.size == 0) break;
    std::uint16_t offset = 0;
    if (!takeU16(reader, &offset)) return fail(error, "semantic LZ4 match offset is truncated");
    if (offset == 0 || offset > decoded) return fail(error, "semantic LZ4 match offset is invalid");
    if (!takeLength(reader, token & 15, &length)) return fail(error, "semantic LZ4 match length is truncated");
    decoded += length + kMinMatch;
  }
  *decodedSize = static_cast<std::size_t>(decoded);
  return true;
}

void decodeLz4Sequences(Lz4Decoder* decoder, std::size_t inputLimit) {
  const std::uint8_t* in = decoder->input.data() + decoder->inputUsed;
  const std::uint8_t* const inEnd = decoder->input.data() + decoder->input.size();
  const std::uint8_t* const limit = decoder->input.data() + std::min(inputLimit, decoder->input.size());
  std::uint8_t* out = decoder->output.data() + decoder->outputUsed;
  const std::uint8_t* const outEnd = decoder->output.data() + decoder->output.size();
  const auto inLeft = [&] { return static_cast<std::size_t>(inEnd - in); };
  const auto outLeft = [&] { return static_cast<std::size_t>(outEnd - out); };
  while (in < limit) {
    const std::uint8_t token = *in++;
    std::size_t length = readLength(in, token >> 4);
    if (length <= kStride && inLeft() >= kStride && outLeft() >= kStride) {
      std::memcpy(out, in, kStride);
    } else if (length > 0) {
      copyExactly(out, in, length);
    }
    in += length;
    out += length;
    if (in == inEnd) break;
    const std::size_t offset = static_cast<std::size_t>(in[0] | in[1] << 8);
    in += 2;
    length = readLength(in, token & 15) + kMinMatch;
    if (outLeft() - length >= kStride) {
      copyMatchWidely(out, offset, length);
    } else {
      copyMatchExactly(out, offset, length);
    }
    out += length;
  }
  decoder->inputUsed = static_cast<std::size_t>(in - decoder->input.data());
  decoder->outputUsed = static_cast<std::size_t>(out - decoder->output.data());
}

bool decodeLz4Block(SecureBlock* block, SemanticError* error) {
  std::size_t decodedSize = 0;
  if (!measureLz4Block(bytesOf(*block), &decodedSize, error)) return false;
  SecureBlock decoded = allocateBlock(decodedSize);
  Lz4Decoder decoder{bytesOf(*block), {decoded.data, decoded.size}};
  // Steps end where large pages do, so that whole ones go back to the system, which can reuse them for the output.
  std::size_t stepEnd = kReleaseStep - reinterpret_cast<std::uintptr_t>(block->data) % kReleaseStep;
  for (std::size_t released = 0; decoder.inputUsed < block->size; stepEnd += kReleaseStep) {
    decodeLz4Sequences(&decoder, stepEnd);
    if (decoder.inputUsed < stepEnd) break;
    releaseRange(block, released, stepEnd - released);
    released = stepEnd;
  }
  *block = std::move(decoded);
  return true;
}

}  // namespace corvenda
