// The payload of a pack ("SRP1"): a flat archive of documents, each proved by its digest. See docs/format/payload.md.
#pragma once

#include <vector>

#include "base/semantic_error.h"
#include "pack/pack_records.h"

namespace corvenda {

/// Walks the archive: counts the documents by type name, parses every binary index at once (its rows go to `records`)
/// and keeps the binary location shards in `shardDocuments` (may be null) in payload order. There is no partial result
/// in `pack`, except that index members may have been stored by an index before the fault.
/// Errors begin with "semantic rule-pack" or are those of the binary index. One failure has an **empty** message: a
/// document of the index's type with the wrong encoding or name.
bool parseRulePackPayload(ByteSpan payload, RulePack* pack, SemanticError* error,
                          std::vector<RulePackDocument>* shardDocuments, std::vector<IndexRecord>* records);

}  // namespace corvenda
