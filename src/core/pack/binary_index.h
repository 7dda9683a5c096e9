// The binary index ("SIX1"): the document of a pack that holds its rows. See docs/format/binary-index.md.
#pragma once

#include <functional>
#include <string_view>

#include "base/secure_memory.h"
#include "base/semantic_error.h"
#include "pack/pack_records.h"

namespace corvenda {

/// Receives the rows of a binary index as they are read, in file order.
struct IndexRowSink {
  /// A section begins: its name, and where its rows lie.
  std::function<void(std::string_view section, const std::uint8_t* body)> beginSection;
  std::function<void(const IndexRowSource& row)> addRow;
};

/// Parses the document, passes its rows to `sink` (may be null), and sets the index members of `pack` at the very end:
/// a failed parse leaves them as they were, though the rows before the fault have been passed on. Errors begin with
/// "semantic binary index".
bool parseBinaryIndex(ByteSpan document, RulePack* pack, SemanticError* error, const IndexRowSink* sink);

}  // namespace corvenda
