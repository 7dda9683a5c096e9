#include "scene/scene_candidates.h"

#include <algorithm>
#include <utility>

#include "text/text_primitives.h"

namespace corvenda {
namespace {

std::string identityOf(const RecordTable& table, std::uint32_t number) {
  TextArena arena;
  return recordIdentityKey(recordAt(table, number, &arena));
}

/// Rows with different terms are the same only by the byte that joins identities, rows of one table only if the row
/// says so; what is left to compare are rows of different tables.
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

bool equalsWholeText(const SceneRow& row, const TitleTexts& title) { return row.term == textOfRow(row, title); }

}  // namespace

void clearCandidates(SceneCandidates* candidates) {
  candidates->rows.clear();
  candidates->seenRows.clear();
}

void addCandidate(const RecordTable& table, std::uint32_t number, std::optional<std::uint32_t> position,
                  SceneCandidates* candidates) {
  if (isTaken(table, number, candidates)) return;
  SceneCandidate& candidate = candidates->rows.emplace_back();
  readSceneRow(table, number, &candidate.row);
  candidate.position = position;
  candidate.table = &table;
  candidate.number = number;
}

void addImpliedRow(const ImpliedScene& implied, const MasterRow& master, const TitleTexts& title,
                   SceneCandidates* candidates) {
  SceneCandidate& candidate = candidates->rows.emplace_back();
  SceneRow& row = candidate.row;
  readSceneRow(*master.table, master.number, &row);
  row.term = implied.term;
  row.fieldCount = scene_field::kCount;
  row.key = implied.key;
  row.detail = implied.detail;
  row.rowPriority = "0";
  row.priorityIsNumber = true;
  row.priorityNumber = 0;
  row.kind = implied.kind;
  row.lang = implied.english ? "en" : "zh";
  row.english = implied.english;
  const auto position = containsTerm(title.compactRaw, implied.term);
  if (position) candidate.position = static_cast<std::uint32_t>(*position);
}

std::string_view textOfRow(const SceneRow& row, const TitleTexts& title) {
  return row.english ? title.compactEnglish : title.compactRaw;
}

std::optional<std::size_t> positionInText(const SceneCandidate& candidate, const TitleTexts& title) {
  if (candidate.row.english) return containsTerm(title.compactEnglish, candidate.row.term);
  if (!candidate.position) return std::nullopt;
  return *candidate.position;
}

void sortCandidates(SceneCandidates* candidates, std::string_view positionText) {
  for (SceneCandidate& candidate : candidates->rows) {
    candidate.score = sceneRowScore(candidate.row, candidate.position, positionText);
  }
  if (candidates->rows.size() < 2) return;
  const auto order = [](const SceneCandidate& candidate) {
    return SceneRowOrder{rankOf(candidate.row.kind), candidate.score, candidate.row.term};
  };
  std::stable_sort(candidates->rows.begin(), candidates->rows.end(),
                   [&](const auto& a, const auto& b) { return sceneRowBefore(order(a), order(b)); });
}

void promoteWholeTitle(SceneCandidates* candidates, const TitleTexts& title) {
  SceneCandidate* best = nullptr;
  std::int32_t bestRank = 0;
  for (SceneCandidate& candidate : candidates->rows) {
    const std::int32_t rank = rankOf(candidate.row.kind);
    if (!isTagged(candidate.row) || rank == 0 || !equalsWholeText(candidate.row, title)) continue;
    const bool better =
        best == nullptr || rank > bestRank || (rank == bestRank && candidate.row.term.size() > best->row.term.size());
    if (!better) continue;
    best = &candidate;
    bestRank = rank;
  }
  // A swap of two places, not a rotation: the former first row goes to the place of the promoted one.
  if (best != nullptr) std::swap(*best, candidates->rows.front());
}

}  // namespace corvenda
