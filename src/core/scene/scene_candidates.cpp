#include "scene/scene_candidates.h"

#include <algorithm>
#include <utility>

#include "scene/scene_trace.h"
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

std::optional<std::size_t> positionInTitle(const SceneCandidate& candidate, const TitleTexts& title) {
  if (candidate.position) return *candidate.position;
  return containsTerm(title.compactRaw, candidate.evidence.term);
}

bool candidateBefore(SceneCandidate* a, SceneCandidate* b, const TitleTexts& title, std::string_view positionText) {
  const std::int32_t rankA = rankOf(a->evidence.kind);
  const std::int32_t rankB = rankOf(b->evidence.kind);
  if (rankA != rankB) return rankA > rankB;
  const std::string_view termA = a->evidence.term;
  const std::string_view termB = b->evidence.term;
  if (termA.size() != termB.size()) return termA.size() > termB.size();
  return sceneRowBefore({rankA, scoreOf(a, title, positionText), termA},
                        {rankB, scoreOf(b, title, positionText), termB});
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
  if (!candidates->seenRows.empty()) candidates->seenRows.clear();
}

void addCandidate(const RecordTable& table, std::uint32_t number, const SceneEvidence& evidence,
                  std::optional<std::uint32_t> position, SceneCandidates* candidates) {
  if (isTaken(table, number, candidates)) {
    if (candidates->trace != nullptr) candidates->trace->dropped.push_back({&table, number, SceneDrop::kRepeated});
    return;
  }
  candidates->rows.push_back({evidence, std::nullopt, position, number, &table, nullptr});
}

void addImpliedRow(const ImpliedScene& implied, const MasterRow& master, SceneCandidates* candidates) {
  SceneRow& row = candidates->implied.emplace_back(sceneRowAt(*master.table, master.number));
  row.fieldCount = scene_field::kCount;
  row.key = implied.key;
  row.detail = implied.detail;
  row.rowPriority = "0";
  row.lang = implied.english ? "en" : "zh";
  SceneCandidate& candidate = candidates->rows.emplace_back();
  candidate.implied = &row;
  candidate.evidence = {implied.term, implied.kind, true, implied.english, !implied.english, false, true, 0};
}

std::string_view textOfRow(const SceneEvidence& row, const TitleTexts& title) {
  return row.english ? title.compactEnglish : title.compactRaw;
}

std::optional<std::size_t> positionInText(const SceneCandidate& candidate, const TitleTexts& title) {
  return candidate.evidence.english ? containsTerm(title.compactEnglish, candidate.evidence.term)
                                    : positionInTitle(candidate, title);
}

double scoreOf(SceneCandidate* candidate, const TitleTexts& title, std::string_view positionText) {
  if (!candidate->score) {
    candidate->score = sceneRowScore(scorePartsOf(*candidate, title, positionText));
  }
  return *candidate->score;
}

SceneScore scorePartsOf(const SceneCandidate& candidate, const TitleTexts& title, std::string_view positionText) {
  return sceneScoreParts(candidate.evidence, positionInTitle(candidate, title), positionText);
}

void rankCandidates(SceneCandidates* candidates, const TitleTexts& title, std::string_view positionText) {
  SceneCandidate* first = nullptr;
  SceneCandidate* whole = nullptr;  // the first of those that equal their whole text
  for (SceneCandidate& candidate : candidates->rows) {
    if (first == nullptr || candidateBefore(&candidate, first, title, positionText)) first = &candidate;
    const SceneEvidence& row = candidate.evidence;
    if (!row.tagged || rankOf(row.kind) == 0 || !equalsWholeText(row, title)) continue;
    if (whole == nullptr || candidateBefore(&candidate, whole, title, positionText)) whole = &candidate;
  }
  candidates->positionText = positionText;
  candidates->top = whole != nullptr ? whole : first;
  candidates->displaced = first;
}

bool standsBefore(SceneCandidate* a, SceneCandidate* b, const SceneCandidates& candidates, const TitleTexts& title) {
  if (a == candidates.top || b == candidates.top) return a == candidates.top;
  // The displaced one stands where the top one would.
  SceneCandidate* const placeOfA = a == candidates.displaced ? candidates.top : a;
  SceneCandidate* const placeOfB = b == candidates.displaced ? candidates.top : b;
  if (candidateBefore(placeOfA, placeOfB, title, candidates.positionText)) return true;
  return placeOfA < placeOfB && !candidateBefore(placeOfB, placeOfA, title, candidates.positionText);
}

}  // namespace corvenda
