#include "addon/explain/explain_title.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "addon/batch_description.h"
#include "addon/batch_options.h"
#include "addon/caller_overlays.h"
#include "addon/options.h"
#include "batch/batch_trace.h"
#include "celebrity/celebrity_badges.h"
#include "scene/scene_intent.h"
#include "workflow/workflow_policy.h"

namespace corvenda {

// --- Names of what the core decides --------------------------------------------------------------------------------

namespace {

std::string_view nameOf(SceneKind kind) {
  switch (kind) {
    case SceneKind::kShort: return "short";
    case SceneKind::kConflict: return "conflict";
    case SceneKind::kCompound: return "compound";
    case SceneKind::kDetail: return "detail";
    case SceneKind::kCategory: return "category";
    case SceneKind::kOther: break;
  }
  return "";
}

std::string_view nameOf(SceneDrop reason) {
  switch (reason) {
    case SceneDrop::kNotWholeTitle: return "not-whole-title";
    case SceneDrop::kPlainInAscii: return "plain-in-ascii-title";
    case SceneDrop::kRepeated: break;
  }
  return "repeated";
}

std::string_view nameOf(PlaceDrop reason) {
  switch (reason) {
    case PlaceDrop::kMalformed: return "malformed";
    case PlaceDrop::kBaseEnglish: return "english-in-base-section";
    case PlaceDrop::kCommonWord: return "common-word";
    case PlaceDrop::kRegion: return "no-sign-of-region";
    case PlaceDrop::kKeyMissing: return "label-not-in-title";
    case PlaceDrop::kCurated: break;
  }
  return "repeats-curated";
}

std::string_view nameOf(CodeChoice choice) {
  switch (choice) {
    case CodeChoice::kCurated: return "curated";
    case CodeChoice::kPlaces: return "places";
    case CodeChoice::kScores: break;
  }
  return "scores";
}

// --- What is explained ---------------------------------------------------------------------------------------------

/// A title with all that was found out about it.
struct Explanation {
  BatchLexicon lexicon;
  TitleTexts title;
  RecordTable people;  ///< the caller's
  BatchTrace trace;
  BatchScratch scratch;
  BatchAnswer answer;
  SceneAnswer single;  ///< by the call for one title, from the base pack alone
};

/// Whose rows a table has.
std::string_view sourceOf(const Explanation& explanation, const RecordTable* table) {
  const auto isTableOf = [&](const auto& pack) { return pack != nullptr && &pack->table == table; };
  if (table == &explanation.lexicon.caller || table == &explanation.people) return "caller";
  const BatchLexicon& lexicon = explanation.lexicon;
  return isTableOf(lexicon.sceneOverlay) || isTableOf(lexicon.placeOverlay) ? "overlay" : "pack";
}

}  // namespace

/// Where a row stands: whose it is, in which section, the how manieth of all rows.
struct RowPlace {
  std::string_view source;
  std::string_view section;
  std::uint32_t row = 0;
};

struct ExplainedCandidate {
  SceneEvidence evidence;
  SceneRow row;
  double total = 0;
  SceneScore score;
  std::optional<RowPlace> place;           ///< none for an implied row
  std::optional<std::string_view> phrase;  ///< that implied it
};

struct ExplainedDrop {
  std::string_view alias;
  std::string_view sceneKey;
  std::string_view kind;
  std::string_view reason;
  RowPlace place;
};

struct ExplainedScene {
  std::vector<ExplainedCandidate> candidates;
  bool promoted = false;  ///< the first was put there because it equals the whole title
  std::vector<ExplainedDrop> dropped;
  std::vector<TracedPhrase> phrases;
  std::vector<ExplainedCandidate> cleared;
  std::optional<std::string_view> detailAlias;
  bool travelDiary = false;
  TravelInference travel;
};

struct ExplainedPlace {
  LocationHit hit;
  LocationScore score;
  RowPlace place;
  std::string_view fate;
};

struct ExplainedPlaces {
  std::string_view choice;
  std::vector<ExplainedPlace> hits;
  std::vector<ExplainedPlace> dropped;
  std::vector<CodeTotal> totals;
};

struct ExplainedSignal {
  std::string_view activity;
  std::string_view word;
};

struct ExplainedPeople {
  std::vector<CelebrityRow> people;
  std::vector<ExplainedSignal> signals;
  CelebrityBadge badge;
};

template <typename Out>
void describe(Out& out, const TitleTexts& title) {
  put(out, "raw", title.raw);
  put(out, "normalizedEnglish", title.english);
  put(out, "compactRaw", title.compactRaw);
  put(out, "compactEnglish", title.compactEnglish);
  put(out, "ascii", !title.nonAscii);
}

template <typename Out>
void describe(Out& out, const RowPlace& place) {
  put(out, "source", place.source);
  put(out, "section", place.section);
  put(out, "row", place.row);
}

template <typename Out>
void describe(Out& out, const ExplainedCandidate& candidate) {
  put(out, "alias", candidate.evidence.term);
  put(out, "sceneKey", candidate.row.key);
  put(out, "detail", candidate.row.detail);
  put(out, "kind", nameOf(candidate.evidence.kind));
  put(out, "lang", candidate.row.lang);
  put(out, "rank", rankOf(candidate.evidence.kind));
  put(out, "score", candidate.total);
  put(out, "early", candidate.score.early);
  put(out, "length", candidate.score.length);
  put(out, "priority", candidate.score.priority);
  put(out, "phrase", candidate.phrase);
  put(out, "place", candidate.place);
}

template <typename Out>
void describe(Out& out, const ExplainedDrop& drop) {
  put(out, "alias", drop.alias);
  put(out, "sceneKey", drop.sceneKey);
  put(out, "kind", drop.kind);
  put(out, "reason", drop.reason);
  put(out, "place", drop.place);
}

template <typename Out>
void describe(Out& out, const TracedPhrase& phrase) {
  put(out, "phrase", phrase.term);
  put(out, "sceneKey", phrase.sceneKey);
  put(out, "detail", phrase.detail);
  put(out, "identity", phrase.identity);
  put(out, "veto", phrase.veto);
  put(out, "candidate", phrase.implied != nullptr);
}

template <typename Out>
void describe(Out& out, const ExplainedScene& scene) {
  put(out, "candidates", scene.candidates);
  put(out, "promoted", scene.promoted);
  put(out, "dropped", scene.dropped);
  put(out, "phrases", scene.phrases);
  put(out, "cleared", scene.cleared);
  put(out, "detailAlias", scene.detailAlias);
  put(out, "travelDiary", scene.travelDiary);
  put(out, "travelScene", scene.travel.sceneKey);
  put(out, "travelDetail", scene.travel.sceneDetail);
}

template <typename Out>
void describe(Out& out, const ExplainedPlace& explained) {
  const PlaceRow& row = explained.hit.row;
  put(out, "alias", row.term);
  put(out, "code", row.code);
  put(out, "label", row.label);
  put(out, "countryLabel", row.countryLabel);
  put(out, "kind", row.sourceName);
  put(out, "index", explained.hit.firstIndex);
  put(out, "score", explained.hit.score);
  put(out, "weight", explained.score.weight);
  put(out, "kindScore", explained.score.source);
  put(out, "length", explained.score.length);
  put(out, "early", explained.score.position);
  put(out, "fate", explained.fate);
  put(out, "place", explained.place);
}

template <typename Out>
void describe(Out& out, const CodeTotal& total) {
  put(out, "code", total.code);
  put(out, "total", total.total);
  put(out, "labels", total.labels);
}

template <typename Out>
void describe(Out& out, const ExplainedPlaces& places) {
  put(out, "choice", places.choice);
  put(out, "hits", places.hits);
  put(out, "dropped", places.dropped);
  put(out, "totals", places.totals);
}

template <typename Out>
void describe(Out& out, const CelebrityRow& row) {
  put(out, "id", row.id);
  put(out, "name", row.name);
  put(out, "kind", row.kind);
  put(out, "region", row.region);
  put(out, "alias", row.term);
}

template <typename Out>
void describe(Out& out, const ExplainedSignal& signal) {
  put(out, "activity", signal.activity);
  put(out, "word", signal.word);
}

template <typename Out>
void describe(Out& out, const ExplainedPeople& people) {
  put(out, "people", people.people);
  put(out, "signals", people.signals);
  put(out, "label", people.badge.rawLabel);
  put(out, "candidates", people.badge.candidates);
  put(out, "confidence", people.badge.confidence);
}

template <typename Out>
void describe(Out& out, const WorkflowDecision& decision) {
  put(out, "suppressed", decision.suppressed);
  put(out, "reason", decision.reason);
  put(out, "assetWord", decision.assetWord);
  put(out, "hardWord", decision.hardWord);
  put(out, "sceneWord", decision.sceneWord);
}

namespace {

// --- Scenes --------------------------------------------------------------------------------------------------------

RowPlace placeOf(const Explanation& explanation, const RecordTable* table, std::uint32_t row) {
  return {sourceOf(explanation, table), segmentOf(*table, row).name, row};
}

ExplainedCandidate explainCandidate(const Explanation& explanation, SceneCandidate candidate) {
  const std::string_view positionText = explanation.scratch.candidates.positionText;
  ExplainedCandidate explained{candidate.evidence,
                               rowOf(candidate),
                               scoreOf(&candidate, explanation.title, positionText),
                               scorePartsOf(candidate, explanation.title, positionText),
                               {},
                               {}};
  if (candidate.table != nullptr) explained.place = placeOf(explanation, candidate.table, candidate.number);
  for (const TracedPhrase& phrase : explanation.trace.scene.phrases) {
    if (phrase.implied != nullptr && phrase.implied == candidate.implied) explained.phrase = phrase.term;
  }
  return explained;
}

/// The candidates in the order in which the resolver compares them.
std::vector<ExplainedCandidate> explainCandidates(Explanation* explanation) {
  SceneCandidates& candidates = explanation->scratch.candidates;
  std::vector<SceneCandidate*> order;
  for (SceneCandidate& candidate : candidates.rows) order.push_back(&candidate);
  std::stable_sort(order.begin(), order.end(), [&](SceneCandidate* a, SceneCandidate* b) {
    return a != b && standsBefore(a, b, candidates, explanation->title);
  });
  std::vector<ExplainedCandidate> explained;
  explained.reserve(order.size());
  for (const SceneCandidate* candidate : order) explained.push_back(explainCandidate(*explanation, *candidate));
  return explained;
}

ExplainedScene explainScene(Explanation* explanation) {
  const SceneTrace& trace = explanation->trace.scene;
  const SceneCandidates& candidates = explanation->scratch.candidates;
  ExplainedScene scene;
  scene.candidates = explainCandidates(explanation);
  scene.promoted = candidates.top != candidates.displaced;
  for (const DroppedSceneRow& drop : trace.dropped) {
    const SceneEvidence evidence = sceneEvidenceAt(*drop.table, drop.number);
    scene.dropped.push_back({evidence.term, firstFieldOf(*drop.table, drop.number), nameOf(evidence.kind),
                             nameOf(drop.reason), placeOf(*explanation, drop.table, drop.number)});
  }
  scene.phrases = trace.phrases;
  for (const SceneCandidate& candidate : trace.cleared) {
    scene.cleared.push_back(explainCandidate(*explanation, candidate));
  }
  if (trace.detailCandidate != nullptr) scene.detailAlias = trace.detailCandidate->evidence.term;
  scene.travelDiary = explanation->trace.travelDiary;
  scene.travel = explanation->trace.travel;
  return scene;
}

// --- Places --------------------------------------------------------------------------------------------------------

/// What became of a hit on its way to the codes.
std::string_view fateOf(const Explanation& explanation, const LocationHit& hit) {
  const LocationTrace& trace = explanation.trace.location;
  const auto& codes = explanation.answer.location.codes;
  if (trace.choice == CodeChoice::kCurated && isDatabase(hit.row.source)) return "silenced-by-curated";
  const bool nested = std::find(trace.nested.begin(), trace.nested.end(), &hit) != trace.nested.end();
  if (nested) return "inside-longer-name";
  if (std::find(codes.begin(), codes.end(), hit.row.code) != codes.end()) return "reported";
  // Nothing else keeps a code out but that three are reported already, or that its total is too low.
  return trace.choice == CodeChoice::kScores ? "too-weak" : "beyond-three";
}

ExplainedPlaces explainPlaces(const Explanation& explanation) {
  const LocationTrace& trace = explanation.trace.location;
  const auto placeAt = [&](std::size_t part, std::uint32_t row) {
    return placeOf(explanation, explanation.scratch.places[part].table, row);
  };
  ExplainedPlaces places{nameOf(trace.choice), {}, {}, trace.totals};
  // The hits of an earlier title stay in the scratch memory if this one has none.
  if (explanation.answer.location.found) {
    for (const LocationHit& hit : explanation.scratch.location.hits) {
      places.hits.push_back({hit, locationScore(hit), placeAt(hit.part, hit.number), fateOf(explanation, hit)});
    }
  }
  for (const DroppedPlace& drop : trace.dropped) {
    LocationHit hit;
    hit.row = drop.row;
    places.dropped.push_back({hit, {}, placeAt(drop.part, drop.number), nameOf(drop.reason)});
  }
  return places;
}

// --- People and workflow -------------------------------------------------------------------------------------------

std::vector<ExplainedSignal> listSignals(const ActivitySignals& says) {
  const std::pair<std::string_view, const std::string_view*> all[] = {
      {"concert", says.concert}, {"airport", says.airport}, {"roadshow", says.roadshow},
      {"fan", says.fan},         {"variety", says.variety}, {"brand", says.brand},
      {"fashion", says.fashion}, {"city", says.city},       {"poster", says.posterWord},
  };
  std::vector<ExplainedSignal> signals;
  for (const auto& [activity, word] : all) {
    if (word != nullptr) signals.push_back({activity, *word});
  }
  return signals;
}

ExplainedPeople explainPeople(const Explanation& explanation, bool photo) {
  std::vector<const RecordTable*> overlays;
  if (!explanation.people.rows.empty()) overlays.push_back(&explanation.people);
  if (explanation.lexicon.sceneOverlay != nullptr) overlays.push_back(&explanation.lexicon.sceneOverlay->table);
  ExplainedPeople explained;
  CelebrityScratch scratch;
  const auto people = findCelebrities(explanation.title, overlays, &explanation.lexicon.base->table, &scratch);
  explained.people.assign(people.begin(), people.end());
  if (explained.people.empty()) return explained;
  explained.signals = listSignals(readActivitySignals(explanation.title));
  proposeCelebrityBadge(explained.people.front(), explanation.title, photo, &explained.badge);
  return explained;
}

WorkflowDecision decideWorkflow(const Explanation& explanation) {
  const SceneAnswer& scene = explanation.answer.scene;
  WorkflowTitle title;
  title.raw = explanation.title.raw;
  title.normalizedEnglish = explanation.title.english;
  title.sceneKey = scene.sceneKey;
  title.detail = scene.sceneDetail;
  if (scene.hit) title.alias = scene.hit->alias;
  return evaluateWorkflowPolicy(title);
}

}  // namespace

struct ExplanationResult {
  Explanation& explanation;
  bool photo;
};

template <typename Out>
void describe(Out& out, const ExplanationResult& result) {
  Explanation& explanation = result.explanation;
  put(out, "title", explanation.title);
  put(out, "answer", explanation.answer);
  put(out, "single", explanation.single);
  put(out, "scene", explainScene(&explanation));
  put(out, "places", explainPlaces(explanation));
  put(out, "celebrities", explainPeople(explanation, result.photo));
  put(out, "workflow", decideWorkflow(explanation));
}

napi_value explainTitle(napi_env env, napi_value object, Failure* failure) {
  TitleOptions options;
  Explanation explanation;
  if (!readTitleOptions(env, object, &options, failure) ||
      !openLexicon(env, object, options.packPath, options.allowedRoot, &explanation.lexicon, failure)) {
    return nullptr;
  }
  if (hasProperty(env, object, "celebrityOverlay")) {
    readCelebrityOverlay(env, getProperty(env, object, "celebrityOverlay"), &explanation.people);
  }
  finishTable(&explanation.people);
  const bool photo = readStringOrEmpty(env, object, "mediaType") == "photo";
  if (isExceptionPending(env)) return nullptr;
  fillTitle(options.raw, options.normalizedEnglish, &explanation.title);
  explanation.scratch.trace = &explanation.trace;
  explanation.answer = resolveBatchTitle(explanation.lexicon, explanation.title, &explanation.scratch);
  explanation.single = resolveSceneIntent(explanation.lexicon.base->table, explanation.title);
  return makeObject(env, ExplanationResult{explanation, photo});
}

}  // namespace corvenda
