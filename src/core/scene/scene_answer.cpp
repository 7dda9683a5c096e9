#include "scene/scene_answer.h"

#include <algorithm>
#include <utility>

#include "rows/lexicon_rows.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

bool isTagged(const IndexRecord& record) { return record.fields.size() > scene_field::kLang; }

bool equalsWholeText(const IndexRecord& record, const TitleTexts& title) {
  return record.term == textOfRow(record, title);
}

}  // namespace

std::string_view textOfRow(const IndexRecord& record, const TitleTexts& title) {
  return fieldOrEmpty(record, scene_field::kLang) == "en" ? title.compactEnglish : title.compactRaw;
}

HumanMatch matchHumanRow(const IndexRecord& human, const TitleTexts& title) {
  HumanMatch match;
  match.plain = isPlainToken(human.term);
  match.rawHit = !match.plain && containsTerm(title.compactRaw, human.term).has_value();
  match.englishHit = match.plain && matchesWordRun(title.english, human.term);
  match.any =
      human.fields.size() >= human_field::kCount &&
      (match.rawHit || match.englishHit || human.term == title.compactRaw || human.term == title.compactEnglish);
  return match;
}

std::vector<std::uint32_t> possibleHumanRows(const RecordTable& table, const TitleTexts& title) {
  const TermIndex& index = sectionTermIndex(table, Section::kHuman);
  std::vector<std::uint32_t> numbers;
  appendContainedRows(index, title.compactRaw, &numbers);
  appendWordRunRows(index, title.english, &numbers);
  appendEqualRows(index, title.compactEnglish, &numbers);
  sortUnique(&numbers);
  return numbers;
}

bool isOverrideRank(std::int32_t rank) { return rank >= kCompoundRank; }

void addMadeUpRow(SceneCandidates* candidates, std::string_view section, std::string_view term, std::string_view key,
                  std::string_view detail, std::string_view kind, std::string_view lang, const IndexRecord& master) {
  IndexRecord& row = candidates->madeUp.emplace_back();
  row.section = section;
  row.term = term;
  row.fields.reserve(scene_field::kCount);
  for (const std::string_view field : {key, detail, std::string_view("0"), kind, lang}) row.fields.emplace_back(field);
  for (std::size_t field = scene_field::kLabel; field < scene_field::kCount; ++field) {
    row.fields.push_back(master.fields[field]);
  }
  candidates->rows.push_back({&row, {}});
}

void sortCandidates(SceneCandidates* candidates, const TitleTexts& title, std::string_view positionText) {
  for (SceneCandidate& candidate : candidates->rows) {
    candidate.order = sceneRowOrder(*candidate.record, title.compactRaw, positionText);
  }
  std::sort(candidates->rows.begin(), candidates->rows.end(),
            [](const SceneCandidate& a, const SceneCandidate& b) { return sceneRowBefore(a.order, b.order); });
}

void promoteWholeTitle(SceneCandidates* candidates, const TitleTexts& title) {
  SceneCandidate* best = nullptr;
  for (SceneCandidate& candidate : candidates->rows) {
    if (!isTagged(*candidate.record) || candidate.order.rank == 0) continue;
    if (!equalsWholeText(*candidate.record, title)) continue;
    const bool better =
        best == nullptr || candidate.order.rank > best->order.rank ||
        (candidate.order.rank == best->order.rank && candidate.record->term.size() > best->record->term.size());
    if (better) best = &candidate;
  }
  // A swap of two places, not a rotation: the former first row goes to the place of the promoted one.
  if (best != nullptr) std::swap(*best, candidates->rows.front());
}

std::string_view chooseDetail(const SceneCandidates& candidates, const TitleTexts& title, std::string_view sceneKey,
                              std::string_view detail) {
  std::int32_t bestRank = -1;
  for (const auto& [record, order] : candidates.rows) {
    if (!isTagged(*record) || record->fields[scene_field::kKey] != sceneKey) continue;
    if (!isOverrideRank(order.rank) || order.rank <= bestRank || !equalsWholeText(*record, title)) continue;
    bestRank = order.rank;
    detail = record->fields[scene_field::kDetail];
  }
  if (bestRank >= 0) return detail;

  double bestScore = -1.0;
  std::size_t bestLength = 0;
  for (const auto& [record, order] : candidates.rows) {
    if (!isTagged(*record) || record->fields[scene_field::kKey] != sceneKey) continue;
    if (record->fields[scene_field::kKind] != "detail") continue;
    const auto score = detailRowScore(*record, textOfRow(*record, title));
    if (!score) continue;
    if (*score > bestScore || (*score == bestScore && record->term.size() > bestLength)) {
      bestScore = *score;
      bestLength = record->term.size();
      detail = record->fields[scene_field::kDetail];
    }
  }
  return detail;
}

SceneEntry makeSceneEntry(const IndexRecord& record, std::string_view sceneKey, std::string_view detail) {
  const std::size_t count = record.fields.size();
  SceneEntry entry;
  entry.key = sceneKey;
  entry.defaultDetail = count > scene_field::kDefaultDetail ? record.fields[scene_field::kDefaultDetail] : detail;
  entry.priority = count > scene_field::kPriority ? record.fields[scene_field::kPriority]
                                                  : fieldOrEmpty(record, scene_field::kRowPriority);
  entry.label = fieldOrEmpty(record, scene_field::kLabel);
  entry.archiveLabel = fieldOrEmpty(record, scene_field::kArchiveLabel);
  entry.archiveCode = fieldOrEmpty(record, scene_field::kArchiveCode);
  entry.icon = fieldOrEmpty(record, scene_field::kIcon);
  return entry;
}

}  // namespace corvenda
