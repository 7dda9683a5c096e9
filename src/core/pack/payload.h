// The payload of a pack ("SRP1"): a flat archive of documents, each proved by its digest. See docs/format/payload.md.
#pragma once

#include <string_view>
#include <vector>

#include "base/secure_memory.h"
#include "base/semantic_error.h"
#include "pack/binary_index.h"
#include "pack/digest_batch.h"
#include "pack/pack_records.h"

namespace corvenda {

/// A document of the payload, where it lies in it.
struct RulePackDocument {
  std::string_view name;
  ByteSpan data;
};

/// What the payload holds beside the rows of its binary indexes. All of it points into the payload.
struct PayloadDocuments {
  std::vector<RulePackDocument> shards;  ///< binary location shards, in payload order
  std::vector<ByteSpan> unread;          ///< the data of documents that nothing is taken from
};

/// Walks the archive: counts the documents by type name, parses every binary index at once (its rows go to `sink`,
/// which may be null) and lists the others in `others` (may be null). There is no partial result in `pack`, except that
/// index members may have been stored by an index before the fault.
/// Errors begin with "semantic rule-pack" or are those of the binary index. One failure has an **empty** message: a
/// document of the index's type with the wrong encoding or name.
///
/// The digests of the documents are jobs of `digests`, after those that the caller has put there; all of them are done
/// when this returns.
bool parseRulePackPayload(ByteSpan payload, RulePack* pack, SemanticError* error, PayloadDocuments* others,
                          const IndexRowSink* sink, DigestBatch* digests);

}  // namespace corvenda
