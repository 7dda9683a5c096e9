#include "scene/scene_intent.h"
#include "text/text_primitives.h"

#include <set>

#include "rows/lexicon_rows.h"

namespace corvenda {
namespace {

/// The rows whose terms occur in either folded form of the title, in pack order for each form, each row once.
void gatherSceneRows(const RecordTable& table, const TitleTexts& title, SceneCandidates* candidates) {
  std::set<std::string> seenRows;
  for (const std::string* text : {&title.compactRaw, &title.compactEnglish}) {
    if (text->empty()) continue;
    for (const IndexRecord* record : filterRecords(table, Section::kScene, *text, true)) {
      if (seenRows.insert(recordIdentityKey(*record)).second) candidates->rows.push_back({record, {}});
    }
  }
}

/// Adds what the human phrases of the title imply, where the scene has a master row.
void gatherHumanRows(const RecordTable& table, const TitleTexts& title, SceneCandidates* candidates) {
  const auto& masters = sceneMasterRows(table);
  for (const std::uint32_t number : possibleHumanRows(table, title)) {
    const IndexRecord& human = table.records[number];
    const HumanMatch match = matchHumanRow(human, title);
    if (!match.any) continue;
    const auto master = masters.find(human.fields[human_field::kSceneKey]);
    if (master == masters.end()) continue;
    // The row speaks for the whole title, not for the phrase. A third field, whatever it says, is what allows "en".
    const bool english = match.plain && human.fields.size() > human_field::kCount;
    addMadeUpRow(candidates, human.section, match.rawHit ? title.compactRaw : title.compactEnglish,
                 human.fields[human_field::kSceneKey], human.fields[human_field::kDetail], "conflict",
                 english ? "en" : "zh", table.records[master->second]);
  }
}

/// An English alias counts only as whole words of the English reading as the caller wrote it: this keeps a short word
/// from firing inside a longer one. Without an English reading all "en" rows go.
void dropPartialEnglishRows(const TitleTexts& title, SceneCandidates* candidates) {
  std::erase_if(candidates->rows, [&](const SceneCandidate& candidate) {
    return fieldOrEmpty(*candidate.record, scene_field::kLang) == "en" &&
           !matchesWordRun(title.english, candidate.record->term);
  });
}

}  // namespace

SceneAnswer resolveSceneIntent(const RecordTable& table, const TitleTexts& title, SceneCandidates* candidates) {
  gatherSceneRows(table, title, candidates);
  gatherHumanRows(table, title, candidates);
  dropPartialEnglishRows(title, candidates);
  // Positions are found in the compacted title and counted in the title as written: the prefix is taken from the
  // spelling with its blanks, so it is shorter than it looks.
  sortCandidates(candidates, title, title.raw);
  promoteWholeTitle(candidates, title);
  SceneAnswer answer;
  if (candidates->rows.empty()) return answer;

  const auto& [top, order] = candidates->rows.front();
  answer.sceneKey = fieldOrEmpty(*top, scene_field::kKey);
  answer.sceneDetail = chooseDetail(*candidates, title, answer.sceneKey, fieldOrEmpty(*top, scene_field::kDetail));
  answer.hit = IntentHit{top->term, fieldOrEmpty(*top, scene_field::kLang), order.rank, order.score,
                         makeSceneEntry(*top, answer.sceneKey, answer.sceneDetail)};
  return answer;
}

}  // namespace corvenda
