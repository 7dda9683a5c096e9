// The payload of a pack ("SRP1"): a flat archive of documents, each with its digest. See docs/format/payload.md.
#pragma once

#include <string_view>
#include <vector>

#include "base/secure_memory.h"
#include "base/semantic_error.h"
#include "pack/binary_index.h"
#include "pack/digest_batch.h"
#include "pack/pack_records.h"

namespace corvenda {

/// A document of the payload; both members point into it.
struct RulePackDocument {
  std::string_view name;
  ByteSpan data;
};

/// The documents of a payload other than its binary indexes. Everything points into the payload.
struct PayloadDocuments {
  std::vector<RulePackDocument> shards;  ///< binary location shards, in payload order
  std::vector<ByteSpan> unread;          ///< the data of documents that nothing reads
};

/// Walks the archive: counts the documents by type name, parses every binary index (its rows go to `sink`, which may be
/// null) and lists the other documents in `others` (may be null). A failure leaves `pack` as it was, except that an
/// index before the fault may have set the index members. Errors begin with "semantic rule-pack" or are those of the
/// binary index. One failure has an **empty** message: a document of the index's type with the wrong encoding or name.
///
/// The digests of the documents become jobs of `digests`, after those that the caller has put there; all of them are
/// done when this returns.
bool parseRulePackPayload(ByteSpan payload, RulePack* pack, SemanticError* error, PayloadDocuments* others,
                          const IndexRowSink* sink, DigestBatch* digests);

}  // namespace corvenda
