#include "scene/scene_detail.h"

#include "scene/scene_trace.h"

namespace corvenda {
namespace {

bool speaksFor(const SceneCandidate& candidate, std::string_view sceneKey) {
  return candidate.evidence.tagged && keyOf(candidate) == sceneKey;
}

/// The detail row with the highest score, then the longest term; the first of several.
const SceneCandidate* findBestDetail(SceneCandidates* candidates, const TitleTexts& title, std::string_view sceneKey) {
  SceneCandidate* best = nullptr;
  double bestScore = -1.0;
  for (SceneCandidate& candidate : candidates->rows) {
    const SceneEvidence& row = candidate.evidence;
    if (row.kind != SceneKind::kDetail || !speaksFor(candidate, sceneKey)) continue;
    const auto position = positionInText(candidate, title);
    if (!position) continue;
    const double score = detailRowScore(row, *position, textOfRow(row, title));
    if (score < bestScore) continue;
    const bool tie = score == bestScore;
    const std::size_t bestSize = tie ? best->evidence.term.size() : 0;
    if (!tie || row.term.size() > bestSize ||
        (row.term.size() == bestSize && standsBefore(&candidate, best, *candidates, title))) {
      bestScore = score;
      best = &candidate;
    }
  }
  return best;
}

}  // namespace

std::string_view chooseDetail(SceneCandidates* candidates, const TitleTexts& title, const SceneRow& top) {
  // An override that equals the whole text is the top row: none has a higher rank, and the first of its rank is put
  // there.
  const SceneEvidence& evidence = candidates->top->evidence;
  if (isOverride(evidence.kind) && evidence.tagged && evidence.term == textOfRow(evidence, title)) return top.detail;
  const SceneCandidate* const detail = findBestDetail(candidates, title, top.key);
  if (candidates->trace != nullptr) candidates->trace->detailCandidate = detail;
  return detail == nullptr ? top.detail : rowOf(*detail).detail;
}

}  // namespace corvenda
