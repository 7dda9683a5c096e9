// The binary index ("SIX1"): the one document of a pack whose content is read as rows. See docs/format/binary-index.md.
#pragma once

#include <vector>

#include "base/semantic_error.h"
#include "pack/pack_records.h"

namespace corvenda {

/// Parses the document, appends its rows to `records` (may be null) in file order, and stores the index members of
/// `pack` at the very end: a failed parse leaves them as they were, though rows read before the fault stay appended.
/// Errors begin with "semantic binary index".
bool parseBinaryIndex(ByteSpan document, RulePack* pack, SemanticError* error, std::vector<IndexRecord>* records);

}  // namespace corvenda
