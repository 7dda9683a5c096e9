#include "scene/scene_detail.h"

namespace corvenda {
namespace {

bool speaksFor(const SceneRow& row, std::string_view sceneKey) { return isTagged(row) && row.key == sceneKey; }

/// The detail of the highest override that equals the whole text of its row; the first of several of one rank.
const SceneRow* findExactOverride(const SceneCandidates& candidates, const TitleTexts& title,
                                  std::string_view sceneKey) {
  const SceneRow* best = nullptr;
  for (const SceneCandidate& candidate : candidates.rows) {
    const SceneRow& row = candidate.row;
    if (!isOverride(row.kind) || !speaksFor(row, sceneKey) || row.term != textOfRow(row, title)) continue;
    if (best == nullptr || rankOf(row.kind) > rankOf(best->kind)) best = &row;
  }
  return best;
}

/// The detail row with the highest score, then the longest term; the first of several.
const SceneRow* findBestDetail(const SceneCandidates& candidates, const TitleTexts& title, std::string_view sceneKey) {
  const SceneRow* best = nullptr;
  double bestScore = -1.0;
  for (const SceneCandidate& candidate : candidates.rows) {
    const SceneRow& row = candidate.row;
    if (row.kind != SceneKind::kDetail || !speaksFor(row, sceneKey)) continue;
    const auto position = positionInText(candidate, title);
    if (!position) continue;
    const double score = detailRowScore(row, *position, textOfRow(row, title));
    if (score > bestScore || (score == bestScore && row.term.size() > best->term.size())) {
      bestScore = score;
      best = &row;
    }
  }
  return best;
}

}  // namespace

std::string_view chooseDetail(const SceneCandidates& candidates, const TitleTexts& title, std::string_view sceneKey,
                              std::string_view detail) {
  const SceneRow* row = findExactOverride(candidates, title, sceneKey);
  if (row == nullptr) row = findBestDetail(candidates, title, sceneKey);
  return row == nullptr ? detail : row->detail;
}

}  // namespace corvenda
