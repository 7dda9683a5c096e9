// Location shards ("LDB1"): aliases of places with their location records. See docs/format/location-shard.md.
#pragma once

#include <string_view>
#include <vector>

#include "base/semantic_error.h"
#include "pack/pack_records.h"

namespace corvenda {

/// One record of a shard. The texts point into the document.
struct LocationShardRow {
  std::string_view alias;
  std::string_view code;
  std::string_view label;         ///< may be empty
  std::string_view countryLabel;  ///< may be empty
  std::uint8_t englishFlag = 0;   ///< 0: the alias is in the native language, 1: English
  double weight = 0;              ///< widened from a single; not validated, so it may be negative or NaN
};

/// Appends the records of the document to `rows` in file order. Errors begin with "native location shard"; an absent
/// `rows` is "native location shard magic is invalid".
bool parseLocationShard(ByteSpan document, std::vector<LocationShardRow>* rows, SemanticError* error);

/// Parses the shard and appends its rows, in the layout of location rows, under the document's name as section.
bool appendLocationShard(const RulePackDocument& document, std::vector<IndexRecord>* records, SemanticError* error);

}  // namespace corvenda
