#include "batch/scene_intent_batch.h"

#include <algorithm>
#include <unordered_set>

#include "rows/lexicon_rows.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

/// What an English facet row of the dimension "identity" says of the scene.
struct CreatorIdentity {
  std::string_view facetKey;
  std::string_view sceneKey;
  std::string_view detail;
};

constexpr CreatorIdentity kCreatorIdentityTable[] = {
    {"food_creator", "food", "restaurant dining"},  {"travel_creator", "travel", "travel diary"},
    {"beauty_creator", "beauty", "outfit styling"}, {"fashion_creator", "beauty", "outfit styling"},
    {"gaming_creator", "show", "gaming creator"},   {"streamer", "show", "creator spotlight"},
};

/// The fixed score of a travel scene that no row gave.
constexpr double kInferredTravelScore = 52;

using SeenRows = std::unordered_set<std::string>;

/// The scene's master row: the first one in the order of the lexicon.
const IndexRecord* findMaster(const BatchLexicon& lexicon, std::string_view sceneKey) {
  const auto inPack = [&](const LoadedPack& pack) -> const IndexRecord* {
    const auto& masters = sceneMasterRows(pack.table);
    const auto found = masters.find(sceneKey);
    return found == masters.end() ? nullptr : &pack.table.records[found->second];
  };
  if (const IndexRecord* master = inPack(*lexicon.base)) return master;
  const auto found = lexicon.overlayMasters.find(sceneKey);
  if (found != lexicon.overlayMasters.end()) return found->second;
  return lexicon.overlayPack == nullptr ? nullptr : inPack(*lexicon.overlayPack);
}

bool sceneRowMatches(const IndexRecord& record, const TitleTexts& title, bool nonAscii) {
  const bool english = fieldOrEmpty(record, scene_field::kLang) == "en";
  if (fieldOrEmpty(record, scene_field::kKind) == "short") {
    if (english && nonAscii) return false;
    if (record.term != (english ? title.compactEnglish : title.compactRaw)) return false;
  }
  if (english) return matchesWordRun(title.english, record.term);
  if (!nonAscii && isPlainToken(record.term) && record.term != title.compactRaw) return false;
  return containsTerm(title.compactRaw, record.term).has_value();
}

/// Takes the rows of one part of the lexicon that speak for the title. The index names every row that can match, since
/// all tests need the term to be in the compacted title or to be a run of words of the English reading.
void gatherSceneRows(const std::vector<IndexRecord>& records, const TermIndex& index, const TitleTexts& title,
                     SeenRows* seenRows, SceneCandidates* candidates) {
  std::vector<std::uint32_t> numbers;
  appendContainedRows(index, title.compactRaw, &numbers);
  appendWordRunRows(index, title.english, &numbers);
  sortUnique(&numbers);
  const bool nonAscii = !numbers.empty() && hasNonAscii(title.raw);
  for (const std::uint32_t number : numbers) {
    const IndexRecord& record = records[number];
    if (!sceneRowMatches(record, title, nonAscii)) continue;
    if (seenRows->insert(recordIdentityKey(record)).second) candidates->rows.push_back({&record, {}});
  }
}

/// Adds what a human phrase implies. True if the row is a veto: a phrase that says that the title has no scene.
bool addHumanRow(const BatchLexicon& lexicon, const IndexRecord& human, const TitleTexts& title,
                 SceneCandidates* candidates) {
  const HumanMatch match = matchHumanRow(human, title);
  if (!match.any) return false;
  const std::string& sceneKey = human.fields[human_field::kSceneKey];
  if (sceneKey.empty()) return true;
  const bool exact =
      (match.rawHit && human.term == title.compactRaw) || (match.englishHit && human.term == title.compactEnglish);
  if (const IndexRecord* master = findMaster(lexicon, sceneKey)) {
    addMadeUpRow(candidates, human.section, match.rawHit ? title.compactRaw : title.compactEnglish, sceneKey,
                 human.fields[human_field::kDetail], exact ? "short" : "conflict", match.plain ? "en" : "zh", *master);
  }
  return false;
}

void gatherHumanRows(const BatchLexicon& lexicon, const TitleTexts& title, SceneCandidates* candidates) {
  const RecordTable& table = lexicon.base->table;
  bool clearCandidates = false;
  for (const std::uint32_t number : possibleHumanRows(table, title)) {
    if (addHumanRow(lexicon, table.records[number], title, candidates)) clearCandidates = true;
  }
  // A veto clears the rows that came before and behind it. Identities come later and stand.
  if (clearCandidates) candidates->rows.clear();
}

void gatherCreatorIdentities(const BatchLexicon& lexicon, const TitleTexts& title, SceneCandidates* candidates) {
  const RecordTable& table = lexicon.base->table;
  std::vector<std::uint32_t> numbers;
  appendWordRunRows(sectionTermIndex(table, Section::kFacet), title.english, &numbers);
  for (const std::uint32_t number : numbers) {
    const IndexRecord& facet = table.records[number];
    if (facet.fields.size() < facet_field::kCount || facet.fields[facet_field::kDimension] != "identity" ||
        facet.fields[facet_field::kLang] != "en") {
      continue;
    }
    const auto identity =
        std::find_if(std::begin(kCreatorIdentityTable), std::end(kCreatorIdentityTable),
                     [&](const auto& row) { return row.facetKey == facet.fields[facet_field::kFacetKey]; });
    if (identity == std::end(kCreatorIdentityTable)) continue;
    if (const IndexRecord* master = findMaster(lexicon, identity->sceneKey)) {
      addMadeUpRow(candidates, {}, facet.term, identity->sceneKey, identity->detail, "compound", "en", *master);
    }
  }
}

bool endsWithAny(std::string_view text, std::initializer_list<std::string_view> endings) {
  return std::any_of(endings.begin(), endings.end(), [&](std::string_view ending) { return text.ends_with(ending); });
}

/// A travel title with "vlog" is a diary if an override says so somewhere, whatever detail row won before.
bool isTravelDiary(const SceneCandidates& candidates, const TitleTexts& title) {
  return std::any_of(candidates.rows.begin(), candidates.rows.end(), [&](const SceneCandidate& candidate) {
    const IndexRecord& record = *candidate.record;
    return isOverrideRank(candidate.order.rank) && record.fields.size() > scene_field::kLang &&
           record.fields[scene_field::kKey] == "travel" && record.fields[scene_field::kDetail] == "travel diary" &&
           containsTerm(textOfRow(record, title), record.term).has_value();
  });
}

/// The answer for a title without candidates: nothing, or the trip that the title's ending suggests.
SceneAnswer answerFromTravel(const BatchLexicon& lexicon, const TitleTexts& title, const TravelInference& travel) {
  SceneAnswer answer{travel.sceneKey, travel.sceneDetail, {}};
  if (travel.sceneKey.empty()) return answer;
  SceneEntry entry;
  entry.key = travel.sceneKey;
  entry.defaultDetail = travel.sceneDetail;
  if (const IndexRecord* master = findMaster(lexicon, travel.sceneKey)) {
    entry = makeSceneEntry(*master, travel.sceneKey, travel.sceneDetail);
  }
  answer.hit = IntentHit{title.raw, "zh", 0, kInferredTravelScore, entry};
  return answer;
}

SceneAnswer answerFromCandidates(const BatchLexicon& lexicon, const TitleTexts& title, const TravelInference& travel,
                                 const SceneCandidates& candidates) {
  const auto& [top, order] = candidates.rows.front();
  SceneAnswer answer;
  answer.sceneKey = fieldOrEmpty(*top, scene_field::kKey);
  answer.sceneDetail = chooseDetail(candidates, title, answer.sceneKey, fieldOrEmpty(*top, scene_field::kDetail));
  if (answer.sceneKey == "travel" && containsTerm(title.compactRaw, "vlog") && isTravelDiary(candidates, title)) {
    answer.sceneDetail = "travel diary";
  }
  // The inference beats the rule pack; alias, rank and score stay those of the row that it beat.
  if (!travel.sceneKey.empty()) {
    answer.sceneKey = travel.sceneKey;
    answer.sceneDetail = travel.sceneDetail;
  }
  const IndexRecord* entryRow = top;
  if (top->fields.empty() || top->fields[scene_field::kKey] != answer.sceneKey) {
    if (const IndexRecord* master = findMaster(lexicon, answer.sceneKey)) entryRow = master;
  }
  answer.hit = IntentHit{top->term, fieldOrEmpty(*top, scene_field::kLang), order.rank, order.score,
                         makeSceneEntry(*entryRow, answer.sceneKey, answer.sceneDetail)};
  return answer;
}

}  // namespace

void indexOverlayRecords(BatchLexicon* lexicon) {
  buildTermIndex(lexicon->overlayRecords, &lexicon->overlayIndex);
  for (const IndexRecord& record : lexicon->overlayRecords) {
    if (isMasterRow(record)) lexicon->overlayMasters.emplace(record.fields[scene_field::kKey], &record);
  }
}

TravelInference inferTravelDetail(bool locationHit, std::string_view raw) {
  if (!locationHit) return {};
  if (endsWithAny(raw, {"玩", "玩一下", "玩几天", "玩一天", "玩两天", "玩三天"})) return {"travel", "travel diary"};
  if (containsTerm(raw, "旅行") && raw.ends_with("随拍")) return {"travel", "travel diary"};
  if (endsWithAny(raw, {"随拍", "逛", "逛一下", "逛一逛"}) && !containsTerm(raw, "街头")) return {"city", "city walk"};
  return {};
}

SceneAnswer resolveBatchScene(const BatchLexicon& lexicon, const TitleTexts& title, bool locationHit,
                              SceneCandidates* candidates) {
  candidates->rows.clear();
  candidates->madeUp.clear();
  SeenRows seenRows;
  const auto gatherFromPack = [&](const LoadedPack& pack) {
    gatherSceneRows(pack.table.records, sectionTermIndex(pack.table, Section::kScene), title, &seenRows, candidates);
  };
  gatherFromPack(*lexicon.base);
  gatherSceneRows(lexicon.overlayRecords, lexicon.overlayIndex, title, &seenRows, candidates);
  if (lexicon.overlayPack != nullptr) gatherFromPack(*lexicon.overlayPack);
  gatherHumanRows(lexicon, title, candidates);
  gatherCreatorIdentities(lexicon, title, candidates);
  sortCandidates(candidates, title, title.compactRaw);
  promoteWholeTitle(candidates, title);
  const TravelInference travel = inferTravelDetail(locationHit, title.raw);
  return candidates->rows.empty() ? answerFromTravel(lexicon, title, travel)
                                  : answerFromCandidates(lexicon, title, travel, *candidates);
}

}  // namespace corvenda
