#include "scene/scene_detail.h"

namespace corvenda {
namespace {

bool speaksFor(const SceneCandidate& candidate, std::string_view sceneKey) {
  return candidate.evidence.tagged && keyOf(candidate) == sceneKey;
}

/// The override of the highest rank that equals the whole text of its row; the first of several.
const SceneCandidate* findExactOverride(const SceneCandidates& candidates, const TitleTexts& title,
                                        std::string_view sceneKey) {
  const SceneCandidate* best = nullptr;
  for (const SceneCandidate& candidate : candidates.rows) {
    const SceneEvidence& row = candidate.evidence;
    if (!isOverride(row.kind) || row.term != textOfRow(row, title) || !speaksFor(candidate, sceneKey)) continue;
    if (best == nullptr || rankOf(row.kind) > rankOf(best->evidence.kind)) best = &candidate;
  }
  return best;
}

/// The detail row with the highest score, then the longest term; the first of several.
const SceneCandidate* findBestDetail(const SceneCandidates& candidates, const TitleTexts& title,
                                     std::string_view sceneKey) {
  const SceneCandidate* best = nullptr;
  double bestScore = -1.0;
  for (const SceneCandidate& candidate : candidates.rows) {
    const SceneEvidence& row = candidate.evidence;
    if (row.kind != SceneKind::kDetail || !speaksFor(candidate, sceneKey)) continue;
    const auto position = positionInText(candidate, title);
    if (!position) continue;
    const double score = detailRowScore(row, *position, textOfRow(row, title));
    if (score > bestScore || (score == bestScore && row.term.size() > best->evidence.term.size())) {
      bestScore = score;
      best = &candidate;
    }
  }
  return best;
}

}  // namespace

std::string_view chooseDetail(const SceneCandidates& candidates, const TitleTexts& title, std::string_view sceneKey,
                              std::string_view detail) {
  const SceneCandidate* candidate = findExactOverride(candidates, title, sceneKey);
  if (candidate == nullptr) candidate = findBestDetail(candidates, title, sceneKey);
  return candidate == nullptr ? detail : rowOf(*candidate).detail;
}

}  // namespace corvenda
