#include "scene/scene_intent.h"

#include <algorithm>
#include <vector>

#include "rows/title_rows.h"
#include "scene/human_phrases.h"
#include "scene/scene_candidates.h"
#include "scene/scene_detail.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

using FoundRows = std::vector<FoundRow>;

/// The scene rows whose terms occur in `text`, in order. English rows count only if they are whole words of the English
/// reading as the caller wrote it: this keeps a short word from firing inside a longer one. `englishRows` are those;
/// they are looked for in `text` all the same.
FoundRows findSceneRows(const RecordTable& table, const FoundRows& englishRows, std::string_view text) {
  FoundRows found;
  TermHits hits;
  findContainedTerms(table, nativeIndex(table), text, &hits);
  for (const TermHit& hit : hits.terms) {
    forEachRow(nativeIndex(table), hit.lastRow, [&](std::uint32_t row) {
      if (sectionOf(table, row) == Section::kScene) found.push_back({row, hit.position});
    });
  }
  for (const FoundRow& english : englishRows) {
    const auto position = containsTerm(text, termOf(table, english.row));
    if (position) found.push_back({english.row, static_cast<std::uint32_t>(*position)});
  }
  std::sort(found.begin(), found.end(), [](const FoundRow& a, const FoundRow& b) { return a.row < b.row; });
  return found;
}

/// The rows whose terms occur in the folded title, in pack order, then those that occur only in the folded English
/// reading.
void gatherSceneRows(const RecordTable& table, const TitleTexts& title, const FoundRows& titleRows,
                     SceneCandidates* candidates) {
  FoundRows englishRows;
  std::copy_if(titleRows.begin(), titleRows.end(), std::back_inserter(englishRows),
               [&](const FoundRow& found) { return table.rows[found.row].english; });
  const FoundRows inRaw = findSceneRows(table, englishRows, title.compactRaw);
  for (const FoundRow& found : inRaw) {
    addCandidate(table, found.row, sceneEvidenceAt(table, found.row), found.position, candidates);
  }
  for (const FoundRow& found : findSceneRows(table, englishRows, title.compactEnglish)) {
    const bool known = std::binary_search(inRaw.begin(), inRaw.end(), found,
                                          [](const FoundRow& a, const FoundRow& b) { return a.row < b.row; });
    if (!known) addCandidate(table, found.row, sceneEvidenceAt(table, found.row), std::nullopt, candidates);
  }
}

/// Adds what the human phrases of the title imply, where the scene has a master row.
void gatherHumanRows(const RecordTable& table, const TitleTexts& title, const FoundRows& titleRows,
                     SceneCandidates* candidates) {
  std::vector<HumanMatch> matches;
  matchHumanRows(table, title, titleRows, &matches);
  for (const HumanMatch& match : matches) {
    const auto master = findMasterRow(table, match.row.sceneKey);
    if (!master) continue;
    // A phrase counts as English only if its row has a third field, whatever that says.
    const bool english = match.row.plain && match.row.fieldCount > human_field::kCount;
    const std::string_view term = impliedTerm(match, title);
    // Like every English row it has to be whole words of the reading.
    if (english && !matchesWordRun(title.english, term)) continue;
    addImpliedRow({term, match.row.sceneKey, match.row.detail, SceneKind::kConflict, english}, {&table, *master},
                  candidates);
  }
}

}  // namespace

SceneAnswer resolveSceneIntent(const RecordTable& table, const TitleTexts& title) {
  TitleSearch search;
  TitleRows rows;
  findTitleRows(table, title, &search, &rows);
  SceneCandidates candidates;
  gatherSceneRows(table, title, rows.scenes, &candidates);
  gatherHumanRows(table, title, rows.humans, &candidates);
  // Positions are bytes of the compacted title, but the characters before them are counted in the title as written,
  // blanks included. Odd, but scores depend on it; the batch counts in the compacted title.
  rankCandidates(&candidates, title, title.raw);
  SceneAnswer answer;
  if (candidates.top == nullptr) return answer;

  SceneCandidate* const top = candidates.top;
  const SceneRow row = rowOf(*top);
  answer.sceneKey = row.key;
  answer.sceneDetail = chooseDetail(&candidates, title, row);
  answer.hit = IntentHit{top->evidence.term, row.lang, rankOf(top->evidence.kind), scoreOf(top, title, title.raw),
                         makeSceneEntry(row, answer.sceneKey, answer.sceneDetail)};
  return answer;
}

}  // namespace corvenda
