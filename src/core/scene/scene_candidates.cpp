#include "scene/scene_candidates.h"

#include <algorithm>
#include <utility>

#include "text/text_primitives.h"

namespace corvenda {
namespace {

SecureText identityOf(const RecordTable& table, std::uint32_t number) {
  TextArena arena;
  return recordIdentityKey(recordAt(table, number, &arena));
}

/// Identities need comparing only in two cases: if candidates come from different tables, because within one
/// `isRepeated` knows, or if a term holds the byte that joins identities, because then even rows with different terms
/// can have the same identity.
bool needsIdentities(const RecordTable& table, const SceneCandidates& candidates) {
  return !candidates.seenRows.empty() || table.hasIdentitySeparator ||
         (!candidates.rows.empty() && candidates.rows.back().table != &table);
}

bool isTaken(const RecordTable& table, std::uint32_t number, SceneCandidates* candidates) {
  if (isRepeated(table, number)) return true;
  if (!needsIdentities(table, *candidates)) return false;
  if (candidates->seenRows.empty()) {
    for (const SceneCandidate& candidate : candidates->rows) {
      candidates->seenRows.insert(identityOf(*candidate.table, candidate.number));
    }
  }
  return !candidates->seenRows.insert(identityOf(table, number)).second;
}

bool equalsWholeText(const SceneEvidence& row, const TitleTexts& title) { return row.term == textOfRow(row, title); }

bool candidateBefore(const SceneCandidate& a, const SceneCandidate& b) {
  return sceneRowBefore({rankOf(a.evidence.kind), a.score, a.evidence.term},
                        {rankOf(b.evidence.kind), b.score, b.evidence.term});
}

}  // namespace

SceneRow rowOf(const SceneCandidate& candidate) {
  return candidate.implied != nullptr ? *candidate.implied : sceneRowAt(*candidate.table, candidate.number);
}

std::string_view keyOf(const SceneCandidate& candidate) {
  return candidate.implied != nullptr ? candidate.implied->key : firstFieldOf(*candidate.table, candidate.number);
}

void clearCandidates(SceneCandidates* candidates) {
  candidates->rows.clear();
  candidates->implied.clear();
  candidates->seenRows.clear();
}

void addCandidate(const RecordTable& table, std::uint32_t number, const SceneEvidence& evidence,
                  std::optional<std::uint32_t> position, SceneCandidates* candidates) {
  if (isTaken(table, number, candidates)) return;
  candidates->rows.push_back({evidence, 0, position, number, &table, nullptr});
}

void addImpliedRow(const ImpliedScene& implied, const MasterRow& master, const TitleTexts& title,
                   SceneCandidates* candidates) {
  SceneRow& row = candidates->implied.emplace_back(sceneRowAt(*master.table, master.number));
  row.fieldCount = scene_field::kCount;
  row.key = implied.key;
  row.detail = implied.detail;
  row.rowPriority = "0";
  row.lang = implied.english ? "en" : "zh";
  SceneCandidate& candidate = candidates->rows.emplace_back();
  candidate.implied = &row;
  candidate.evidence = {implied.term, implied.kind, true, implied.english, !implied.english, false, true, 0};
  const auto position = containsTerm(title.compactRaw, implied.term);
  if (position) candidate.position = static_cast<std::uint32_t>(*position);
}

std::string_view textOfRow(const SceneEvidence& row, const TitleTexts& title) {
  return row.english ? title.compactEnglish : title.compactRaw;
}

std::optional<std::size_t> positionInText(const SceneCandidate& candidate, const TitleTexts& title) {
  if (candidate.evidence.english) return containsTerm(title.compactEnglish, candidate.evidence.term);
  if (!candidate.position) return std::nullopt;
  return *candidate.position;
}

void sortCandidates(SceneCandidates* candidates, std::string_view positionText) {
  // By insertion while there are few, as there nearly always are: the library's stable sort allocates memory first.
  constexpr std::size_t kFew = 24;
  std::vector<SceneCandidate>& rows = candidates->rows;
  for (SceneCandidate& candidate : rows) {
    candidate.score = sceneRowScore(candidate.evidence, candidate.position, positionText);
  }
  if (rows.size() > kFew) {
    std::stable_sort(rows.begin(), rows.end(), candidateBefore);
    return;
  }
  for (auto row = rows.begin(); row != rows.end(); ++row) {
    std::rotate(std::upper_bound(rows.begin(), row, *row, candidateBefore), row, row + 1);
  }
}

void promoteWholeTitle(SceneCandidates* candidates, const TitleTexts& title) {
  SceneCandidate* best = nullptr;
  for (SceneCandidate& candidate : candidates->rows) {
    const SceneEvidence& row = candidate.evidence;
    if (!row.tagged || rankOf(row.kind) == 0 || !equalsWholeText(row, title)) continue;
    const bool better = best == nullptr || rankOf(row.kind) > rankOf(best->evidence.kind) ||
                        (row.kind == best->evidence.kind && row.term.size() > best->evidence.term.size());
    if (better) best = &candidate;
  }
  // A swap of two places, not a rotation: the former first row goes to the place of the promoted one.
  if (best != nullptr) std::swap(*best, candidates->rows.front());
}

}  // namespace corvenda
