// The scores and the order of scene rows. The constants are part of the contract: callers see the scores.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "rows/lexicon_rows.h"

namespace corvenda {

/// The parts of a score.
struct SceneScore {
  double early = 0;
  double length = 0;
  double priority = 0;
};

/// All 0 for a row with fewer than five fields or whose priority is not a number. `position` is where the term was
/// found; the characters before it are counted in `positionText`.
SceneScore sceneScoreParts(const SceneEvidence& row, std::optional<std::size_t> position,
                           std::string_view positionText);

/// Orders candidates of the same rank and length, and is reported as "score": early + (length + row priority), added in
/// this order.
double sceneRowScore(const SceneScore& score);

/// The score of a "detail" row whose term stands at `position` in `text`, the compacted text of its language.
double detailRowScore(const SceneEvidence& row, std::size_t position, std::string_view text);

/// What `sceneRowBefore` compares.
struct SceneRowOrder {
  std::int32_t rank = 0;
  double score = 0;
  std::string_view term;
};

/// The strict order of candidates: higher rank, longer term in bytes, higher score, term in byte order. A score that is
/// NaN counts as the lowest, so that the order stays strict whatever a pack holds.
bool sceneRowBefore(const SceneRowOrder& a, const SceneRowOrder& b);

}  // namespace corvenda
