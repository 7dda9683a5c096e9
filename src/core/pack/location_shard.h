// Location shards ("LDB1"): aliases of places, each with its records. See docs/format/location-shard.md.
#pragma once

#include <functional>

#include "base/secure_memory.h"
#include "base/semantic_error.h"
#include "pack/pack_records.h"

namespace corvenda {

/// Receives the records of a shard as they are read, in file order.
using ShardRowSink = std::function<void(const ShardRowSource& row)>;

/// Passes the records of the document to `sink`; if there is a fault, those before it have been passed on. Errors begin
/// with "native location shard"; without a sink it is "native location shard magic is invalid".
bool parseLocationShard(ByteSpan document, const ShardRowSink& sink, SemanticError* error);

}  // namespace corvenda
