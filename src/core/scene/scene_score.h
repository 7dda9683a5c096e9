// The scores and the order of scene rows. Every constant is part of the contract.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pack/pack_records.h"

namespace corvenda {

/// `term`, then 0x1F and the field for each field: two rows with one key are one row for the scene resolvers.
std::string recordIdentityKey(const IndexRecord& record);

/// Orders candidates of one rank and length, and is reported as "score": early + (length + row priority), added in this
/// order. 0.0 for a row of fewer than five fields or with a priority that is no number. The term's position is found in
/// `searchText` and its characters are counted in `positionText`.
double sceneRowScore(const IndexRecord& record, std::string_view searchText, std::string_view positionText);

/// The score of a "detail" row in the compacted title of its language; nothing if its term does not occur there.
std::optional<double> detailRowScore(const IndexRecord& record, std::string_view text);

/// What `sceneRowBefore` compares, computed once a candidate.
struct SceneRowOrder {
  std::int32_t rank = 0;
  double score = 0;
  std::string_view term;
};

SceneRowOrder sceneRowOrder(const IndexRecord& record, std::string_view searchText, std::string_view positionText);

/// The strict order of candidates: higher rank, longer term in bytes, higher score, lesser term in bytes. A score that
/// is NaN counts as the lowest, so that the order stays strict whatever a pack holds.
bool sceneRowBefore(const SceneRowOrder& a, const SceneRowOrder& b);

}  // namespace corvenda
