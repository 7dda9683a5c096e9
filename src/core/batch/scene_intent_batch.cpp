#include "batch/scene_intent_batch.h"

#include <algorithm>

#include "batch/batch_trace.h"
#include "scene/scene_detail.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

/// The scene and detail that an identity implies: an English facet row of the dimension "identity".
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

/// The score of a travel scene that no row gave; part of the contract.
constexpr double kInferredTravelScore = 52;

// --- Gathering -----------------------------------------------------------------------------------------------------

/// Why a row whose term was found doesn't count for the title, by the rules at the top of the header; nothing if it
/// does.
std::optional<SceneDrop> dropOf(const SceneEvidence& row, const TitleTexts& title) {
  if (row.kind == SceneKind::kShort) {
    if (row.english && title.nonAscii) return SceneDrop::kNotWholeTitle;
    if (row.term != textOfRow(row, title)) return SceneDrop::kNotWholeTitle;
  }
  if (row.english || title.nonAscii || !row.plain || row.term == title.compactRaw) return std::nullopt;
  return SceneDrop::kPlainInAscii;
}

void gatherSceneRows(const RecordTable& table, const std::vector<FoundRow>& rows, const TitleTexts& title,
                     SceneCandidates* candidates) {
  for (const FoundRow& found : rows) {
    const SceneEvidence row = sceneEvidenceAt(table, found.row);
    if (const auto reason = dropOf(row, title)) {
      if (candidates->trace != nullptr) candidates->trace->dropped.push_back({&table, found.row, *reason});
      continue;
    }
    // An English row was found in the reading; its position in the title is looked for if it is needed.
    addCandidate(table, found.row, row, row.english ? std::nullopt : std::optional(found.position), candidates);
  }
}

/// Tells the trace, if there is one, of a phrase and of what it implies: the row that was added last, if any was.
void tracePhrase(TracedPhrase phrase, bool added, SceneCandidates* candidates) {
  if (candidates->trace == nullptr) return;
  if (added) phrase.implied = &candidates->implied.back();
  candidates->trace->phrases.push_back(phrase);
}

/// Adds the row that a human phrase implies. True if the phrase is a veto, which says that the title has no scene.
bool addHumanRow(const BatchLexicon& lexicon, const HumanMatch& match, const TitleTexts& title,
                 SceneCandidates* candidates) {
  const HumanRow& human = match.row;
  if (human.sceneKey.empty()) {
    tracePhrase({human.term, {}, {}, false, true, nullptr}, false, candidates);
    return true;
  }
  const bool exact =
      (match.rawHit && human.term == title.compactRaw) || (match.englishHit && human.term == title.compactEnglish);
  const auto master = findMaster(lexicon, human.sceneKey);
  if (master) {
    const SceneKind kind = exact ? SceneKind::kShort : SceneKind::kConflict;
    addImpliedRow({impliedTerm(match, title), human.sceneKey, human.detail, kind, human.plain}, *master, candidates);
  }
  tracePhrase({human.term, human.sceneKey, human.detail, false, false, nullptr}, master.has_value(), candidates);
  return false;
}

void gatherHumanRows(const BatchLexicon& lexicon, const TitleTexts& title, const std::vector<HumanMatch>& matches,
                     SceneCandidates* candidates) {
  bool veto = false;
  for (const HumanMatch& match : matches) {
    if (addHumanRow(lexicon, match, title, candidates)) veto = true;
  }
  // A veto clears all candidates so far, whatever the order of the phrases. Identities are added later and remain.
  if (!veto) return;
  if (candidates->trace != nullptr) candidates->trace->cleared.swap(candidates->rows);
  candidates->rows.clear();
}

void addIdentity(const BatchLexicon& lexicon, const FacetRow& facet, SceneCandidates* candidates) {
  const auto* const identity = std::find_if(std::begin(kCreatorIdentityTable), std::end(kCreatorIdentityTable),
                                            [&](const auto& row) { return row.facetKey == facet.facetKey; });
  if (identity == std::end(kCreatorIdentityTable)) return;
  const auto master = findMaster(lexicon, identity->sceneKey);
  if (master) {
    addImpliedRow({facet.term, identity->sceneKey, identity->detail, SceneKind::kCompound, true}, *master, candidates);
  }
  tracePhrase({facet.term, identity->sceneKey, identity->detail, true, false, nullptr}, master.has_value(), candidates);
}

void gatherCreatorIdentities(const BatchLexicon& lexicon, const RecordTable& table, TermHits* hits,
                             SceneCandidates* candidates) {
  const TermIndex& index = identityIndex(table);
  findWordRunsAgain(table, index, hits);  // in the English reading, as for findTitleRows
  std::vector<std::uint32_t> rows;
  for (const TermHit& hit : hits->terms) {
    forEachRow(index, hit.lastRow, [&](std::uint32_t row) { rows.push_back(row); });
  }
  std::sort(rows.begin(), rows.end());
  for (const std::uint32_t row : rows) addIdentity(lexicon, facetRowAt(table, row), candidates);
}

void gatherCandidates(const BatchLexicon& lexicon, const TitleTexts& title, std::span<TitleSearch> searches,
                      BatchScratch* scratch) {
  SceneCandidates* const candidates = &scratch->candidates;
  clearCandidates(candidates);
  candidates->trace = scratch->trace == nullptr ? nullptr : &scratch->trace->scene;
  for (std::size_t i = 0; i < lexicon.parts.size(); ++i) {
    const BatchPart& part = lexicon.parts[i];
    if (part.scenes) gatherSceneRows(*part.table, scratch->rows[i].scenes, title, candidates);
  }
  for (std::size_t i = 0; i < lexicon.parts.size(); ++i) {
    const BatchPart& part = lexicon.parts[i];
    if (!part.humans) continue;
    matchHumanRows(*part.table, title, scratch->rows[i].humans, &scratch->humans);
    gatherHumanRows(lexicon, title, scratch->humans, candidates);
    gatherCreatorIdentities(lexicon, *part.table, &searches[i].hits, candidates);
  }
}

// --- Answering -----------------------------------------------------------------------------------------------------

/// Whether any override found in the title speaks for a travel diary. For titles with "vlog" that beats the detail
/// chosen before.
bool isTravelDiary(const SceneCandidates& candidates, const TitleTexts& title) {
  return std::any_of(candidates.rows.begin(), candidates.rows.end(), [&](const SceneCandidate& candidate) {
    if (!isOverride(candidate.evidence.kind) || !candidate.evidence.tagged) return false;
    const SceneRow row = rowOf(candidate);
    return row.key == "travel" && row.detail == "travel diary" && positionInText(candidate, title).has_value();
  });
}

SceneEntry entryOf(const MasterRow& master, std::string_view sceneKey, std::string_view detail) {
  return makeSceneEntry(sceneRowAt(*master.table, master.number), sceneKey, detail);
}

/// The answer for a title without candidates: empty, or the trip that the title's ending suggests.
SceneAnswer answerFromTravel(const BatchLexicon& lexicon, const TitleTexts& title, const TravelInference& travel) {
  SceneAnswer answer{travel.sceneKey, travel.sceneDetail, {}};
  if (travel.sceneKey.empty()) return answer;
  SceneEntry entry;
  entry.key = travel.sceneKey;
  entry.defaultDetail = travel.sceneDetail;
  if (const auto master = findMaster(lexicon, travel.sceneKey)) {
    entry = entryOf(*master, travel.sceneKey, travel.sceneDetail);
  }
  answer.hit = IntentHit{title.raw, "zh", 0, kInferredTravelScore, entry};
  return answer;
}

SceneAnswer answerFromCandidates(const BatchLexicon& lexicon, const TitleTexts& title, const TravelInference& travel,
                                 SceneCandidates* candidates, BatchTrace* trace) {
  SceneCandidate* const top = candidates->top;
  const SceneRow row = rowOf(*top);
  SceneAnswer answer;
  answer.sceneKey = row.key;
  answer.sceneDetail = chooseDetail(candidates, title, row);
  if (answer.sceneKey == "travel" && containsTerm(title.compactRaw, "vlog") && isTravelDiary(*candidates, title)) {
    answer.sceneDetail = "travel diary";
    if (trace != nullptr) trace->travelDiary = true;
  }
  // A travel inference replaces scene and detail; alias, rank and score stay those of the best row.
  if (!travel.sceneKey.empty()) {
    answer.sceneKey = travel.sceneKey;
    answer.sceneDetail = travel.sceneDetail;
  }
  answer.hit =
      IntentHit{top->evidence.term, row.lang, rankOf(top->evidence.kind), scoreOf(top, title, title.compactRaw),
                makeSceneEntry(row, answer.sceneKey, answer.sceneDetail)};
  if (row.fieldCount > scene_field::kKey && row.key == answer.sceneKey) return answer;
  if (const auto master = findMaster(lexicon, answer.sceneKey)) {
    answer.hit->entry = entryOf(*master, answer.sceneKey, answer.sceneDetail);
  }
  return answer;
}

LocationAnswer resolvePlaces(const BatchLexicon& lexicon, const TitleTexts& title, BatchScratch* scratch) {
  scratch->places.clear();
  bool any = false;
  for (std::size_t i = 0; i < lexicon.parts.size(); ++i) {
    if (!lexicon.parts[i].places) continue;
    scratch->places.push_back({lexicon.parts[i].table, &scratch->rows[i].places});
    any |= !scratch->rows[i].places.empty();
  }
  scratch->location.trace = scratch->trace == nullptr ? nullptr : &scratch->trace->location;
  return any ? resolveLocation(lexicon.base->table, scratch->places, title, &scratch->location) : LocationAnswer();
}

// --- Steps ---------------------------------------------------------------------------------------------------------

using Searches = std::vector<TitleSearch>;

void begin(const BatchLexicon& lexicon, const TitleTexts& title, Searches* searches) {
  searches->resize(lexicon.parts.size());
  for (std::size_t i = 0; i < searches->size(); ++i) {
    beginTitleRows(*lexicon.parts[i].table, title, &(*searches)[i]);
  }
}

void askForRows(const BatchLexicon& lexicon, Searches* searches) {
  for (std::size_t i = 0; i < searches->size(); ++i) askForRows(*lexicon.parts[i].table, &(*searches)[i]);
}

void askForTerms(const BatchLexicon& lexicon, const Searches& searches) {
  for (std::size_t i = 0; i < searches.size(); ++i) askForTerms(*lexicon.parts[i].table, searches[i]);
}

BatchAnswer finish(const BatchLexicon& lexicon, const TitleTexts& title, Searches* searches, BatchScratch* scratch) {
  scratch->rows.resize(lexicon.parts.size());
  for (std::size_t i = 0; i < lexicon.parts.size(); ++i) {
    finishTitleRows(*lexicon.parts[i].table, title, &(*searches)[i], &scratch->rows[i]);
  }
  BatchAnswer answer;
  answer.location = resolvePlaces(lexicon, title, scratch);
  gatherCandidates(lexicon, title, *searches, scratch);
  rankCandidates(&scratch->candidates, title, title.compactRaw);
  const TravelInference travel = inferTravelDetail(answer.location.found, title.raw);
  if (scratch->trace != nullptr) scratch->trace->travel = travel;
  answer.scene = scratch->candidates.top == nullptr
                     ? answerFromTravel(lexicon, title, travel)
                     : answerFromCandidates(lexicon, title, travel, &scratch->candidates, scratch->trace);
  return answer;
}

}  // namespace

BatchAnswer resolveBatchTitle(const BatchLexicon& lexicon, const TitleTexts& title, BatchScratch* scratch) {
  begin(lexicon, title, &scratch->searches);
  askForRows(lexicon, &scratch->searches);
  askForTerms(lexicon, scratch->searches);
  return finish(lexicon, title, &scratch->searches, scratch);
}

void beginBatchTitles(const BatchLexicon& lexicon, std::span<BatchTitle> titles) {
  for (BatchTitle& title : titles) begin(lexicon, title.texts, &title.searches);
  for (BatchTitle& title : titles) askForRows(lexicon, &title.searches);
  for (BatchTitle& title : titles) askForTerms(lexicon, title.searches);
}

BatchAnswer resolveBegunTitle(const BatchLexicon& lexicon, BatchTitle* title, BatchScratch* scratch) {
  return finish(lexicon, title->texts, &title->searches, scratch);
}

}  // namespace corvenda
