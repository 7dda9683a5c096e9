#include "scene/scene_score.h"

#include <cmath>

#include "text/term_score.h"
#include "text/text_primitives.h"

namespace corvenda {

SceneScore sceneScoreParts(const SceneEvidence& row, std::optional<std::size_t> position,
                           std::string_view positionText) {
  if (!row.tagged || !row.priorityIsNumber) return {};
  const double length = lengthScore(row.term, row.chinese ? 1.2 : 0.9, 12.0);
  // A term that isn't in the title itself (an English row, found in the reading) counts as if it stood at the start.
  const double early = earlyScore(10.0, positionText.substr(0, position.value_or(0)));
  return {early, length, row.priority};
}

double sceneRowScore(const SceneScore& score) { return score.early + (score.length + score.priority); }

double detailRowScore(const SceneEvidence& row, std::size_t position, std::string_view text) {
  const double early = earlyScore(8.0, text.substr(0, position));
  return early + (lengthScore(row.term, row.chinese ? 0.9 : 0.7, 10.0) + 6.0);
}

bool sceneRowBefore(const SceneRowOrder& a, const SceneRowOrder& b) {
  if (a.rank != b.rank) return a.rank > b.rank;
  if (a.term.size() != b.term.size()) return a.term.size() > b.term.size();
  if (std::isnan(a.score) != std::isnan(b.score)) return std::isnan(b.score);
  if (!std::isnan(a.score) && a.score != b.score) return a.score > b.score;
  // string_view compares as unsigned bytes.
  return a.term < b.term;
}

}  // namespace corvenda
