// Our own decoder of the LZ4 block format (see docs/format/lz4-block.md).
//
// A block does not tell what it decodes to. So it is walked twice: the first pass checks every step and adds up the
// size, the second decodes into memory of exactly that size and checks nothing any more. Both passes together are
// faster than one that has to grow its output, and no copy of decoded bytes is left behind by growth.
#pragma once

#include <span>

#include "base/secure_block.h"
#include "base/semantic_error.h"

namespace corvenda {

/// The first pass. Accepts a block that ends directly after a match, and checks none of the format's end-of-block
/// rules. An empty block decodes to nothing.
///
/// Errors: "semantic LZ4 literal bounds are invalid", "… match offset is truncated", "… match offset is invalid",
/// "… match length is truncated".
bool measureLz4Block(ByteSpan input, std::size_t* decodedSize, SemanticError* error);

/// The second pass, over a block that was measured and an output of just that size.
struct Lz4Decoder {
  ByteSpan input;
  std::span<std::uint8_t> output;
  std::size_t inputUsed = 0;
  std::size_t outputUsed = 0;
};

/// Decodes whole sequences until `inputLimit` bytes of the input are used, or more by the rest of a sequence.
void decodeLz4Sequences(Lz4Decoder* decoder, std::size_t inputLimit);

/// Replaces the block by what it decodes to. The input is given back while the decoding goes on, so that the two
/// together take hardly more memory than the larger. The decoded size has no upper limit: only who holds the pack key
/// can make a block that gets here, and running out of memory ends the process. After a failure the block is as it was.
/// Errors: those of `measureLz4Block`.
bool decodeLz4Block(SecureBlock* block, SemanticError* error);

}  // namespace corvenda
