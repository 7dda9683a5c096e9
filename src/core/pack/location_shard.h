// Location shards ("LDB1"): aliases of places with their location records. See docs/format/location-shard.md.
#pragma once

#include <functional>

#include "base/secure_memory.h"
#include "base/semantic_error.h"
#include "pack/pack_records.h"

namespace corvenda {

/// Takes the records of a shard while they are read, in file order.
using ShardRowSink = std::function<void(const ShardRowSource& row)>;

/// Gives the records of the document to `sink`; those before a fault have been given when it is met. Errors begin with
/// "native location shard"; an absent sink is "native location shard magic is invalid".
bool parseLocationShard(ByteSpan document, const ShardRowSink& sink, SemanticError* error);

}  // namespace corvenda
