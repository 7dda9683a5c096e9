// Our own decoder of the LZ4 block format (see docs/format/lz4-block.md).
//
// A block does not say how much it decodes to. So it is walked twice: the first pass checks every step and adds up the
// size, the second decodes into memory of exactly that size and has nothing left to check. Both passes together are
// faster than one that has to grow its output, and growing would leave copies of decoded bytes in freed memory.
#pragma once

#include <span>

#include "base/secure_block.h"
#include "base/semantic_error.h"

namespace corvenda {

/// The first pass. The format's end-of-block rules are not enforced: a block may end right after a match. An empty
/// block decodes to nothing.
///
/// Errors: "semantic LZ4 literal bounds are invalid", "… match offset is truncated", "… match offset is invalid",
/// "… match length is truncated".
bool measureLz4Block(ByteSpan input, std::size_t* decodedSize, SemanticError* error);

/// The second pass, over a block that `measureLz4Block` accepted and an output of exactly the size it gave.
struct Lz4Decoder {
  ByteSpan input;
  std::span<std::uint8_t> output;
  std::size_t inputUsed = 0;
  std::size_t outputUsed = 0;
};

/// Decodes whole sequences until at least `inputLimit` bytes of the input, or all of it, are used.
void decodeLz4Sequences(Lz4Decoder* decoder, std::size_t inputLimit);

/// Replaces the block with what it decodes to. The input is given back while decoding goes on, so that both together
/// take hardly more memory than the larger. The decoded size has no upper limit: only a holder of the pack key can make
/// a block that gets this far, and running out of memory ends the process. After a failure the block is unchanged.
/// Errors: those of `measureLz4Block`.
bool decodeLz4Block(SecureBlock* block, SemanticError* error);

}  // namespace corvenda
