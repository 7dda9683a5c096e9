// Our own decoder of the LZ4 block format (see docs/format/lz4-block.md).
#pragma once

#include "base/secure_memory.h"
#include "base/semantic_error.h"

namespace corvenda {

/// Decodes one block of unknown decoded size into `output`, which is emptied first. Accepts a block that ends directly
/// behind a match, and checks none of the format's end-of-block rules. An empty input gives an empty output.
///
/// The output has no upper limit. Only who holds the pack key can make a block that gets here.
///
/// Errors: "semantic LZ4 literal bounds are invalid", "… match offset is truncated", "… match offset is invalid",
/// "… match length is truncated". What was decoded before the fault stays in `output`.
bool decodeLz4Block(ByteSpan input, SecureBytes* output, SemanticError* error);

}  // namespace corvenda
