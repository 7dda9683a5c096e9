#include <algorithm>
#include <mutex>

#include "addon/border.h"
#include "addon/caller_overlays.h"
#include "addon/exports/exports.h"
#include "addon/location_result.h"
#include "addon/scene_result.h"
#include "batch/scene_intent_batch.h"
#include "cache/location_view.h"
#include "cache/rule_pack_loader.h"
#include "location/location_resolver.h"

namespace corvenda {
namespace {

/// Bounds the time for which a batch holds the cache's mutex.
constexpr std::uint32_t kMaxCases = 10000;

struct BatchOptions {
  std::string packPath;
  std::string allowedRoot;
  napi_value cases = nullptr;
  std::uint32_t caseCount = 0;
};

/// What a batch resolves against. Rows are shared with the cache, so that they stay whatever else is loaded meanwhile.
struct BatchData {
  BatchLexicon lexicon;
  std::shared_ptr<const LocationView> view;
};

struct Failure {
  ErrorKind kind = ErrorKind::kError;
  SemanticError error;
};

bool failAs(Failure* failure, ErrorKind kind, std::string_view message) {
  failure->kind = kind;
  return fail(&failure->error, message);
}

bool readOptions(napi_env env, napi_value object, BatchOptions* options, Failure* failure) {
  failure->kind = ErrorKind::kTypeError;
  if (!requireStringOption(env, object, "packPath", &options->packPath, &failure->error) ||
      !requireStringOption(env, object, "allowedRoot", &options->allowedRoot, &failure->error)) {
    return false;
  }
  options->cases = getProperty(env, object, "cases");
  if (!isArray(env, options->cases)) return fail(&failure->error, "cases must be an array");
  options->caseCount = arrayLength(env, options->cases);
  if (options->caseCount > kMaxCases) {
    return failAs(failure, ErrorKind::kRangeError, "cases exceeds the batch limit");
  }
  return true;
}

/// The option if it is there and a string, else the empty string.
std::string readOptionalString(napi_env env, napi_value object, const char* name) {
  return hasProperty(env, object, name) ? readStringOrEmpty(env, object, name) : std::string();
}

/// Loads the packs and reads the overlays, in the order in which they can fail.
bool prepare(napi_env env, napi_value object, const BatchOptions& options, BatchData* data, Failure* failure) {
  failure->kind = ErrorKind::kError;
  BatchLexicon& lexicon = data->lexicon;
  if (!RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &lexicon.base,
                      &failure->error)) {
    return false;
  }
  // Read while only the base pack's rows are there: a caller's override takes its scene's data from the base pack or
  // from the caller's own categories, never from the overlay pack.
  if (hasProperty(env, object, "sceneOverlay")) {
    readSceneLexicon(env, getProperty(env, object, "sceneOverlay"), &lexicon.base->table, &lexicon.overlayRecords);
  }
  indexOverlayRecords(&lexicon);
  const std::string overlayPackPath = readOptionalString(env, object, "overlayPackPath");
  const std::string overlayAllowedRoot = readOptionalString(env, object, "overlayAllowedRoot");
  if (!overlayPackPath.empty()) {
    if (overlayAllowedRoot.empty()) {
      return failAs(failure, ErrorKind::kTypeError, "overlayAllowedRoot is required with overlayPackPath");
    }
    if (!RulePackLoader(overlayPackPath, overlayAllowedRoot, semanticCache().overlaySlot, &lexicon.overlayPack,
                        &failure->error)) {
      return false;
    }
  }
  // The getters of the overlay options are the caller's own code and may have loaded another pack: the base slot has to
  // hold this one when the view is made. The rows stay those of the first load.
  std::shared_ptr<const LoadedPack> again;
  if (!RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &again, &failure->error)) {
    return false;
  }
  std::vector<IndexRecord> locationOverlay;
  if (hasProperty(env, object, "locationOverlay")) {
    readLocationOverlay(env, getProperty(env, object, "locationOverlay"), &locationOverlay);
  }
  std::vector<const IndexRecord*> overlayRecords;
  overlayRecords.reserve(locationOverlay.size());
  for (const IndexRecord& record : locationOverlay) overlayRecords.push_back(&record);
  if (lexicon.overlayPack != nullptr) {
    const auto rows = sectionRecords(lexicon.overlayPack->table, Section::kLocation);
    overlayRecords.insert(overlayRecords.end(), rows.begin(), rows.end());
  }
  if (!ensureLocationView(overlayPackPath, overlayRecords, &failure->error)) return false;
  const std::lock_guard lock(semanticCache().semanticCacheMutex);
  data->view = semanticCache().baseSlot.view;
  // Another thread may have filled the slot in between. Its pack's view is not made yet, and this batch finds no
  // places.
  if (data->view == nullptr) data->view = std::make_shared<const LocationView>();
  return true;
}

bool readCase(napi_env env, napi_value element, TitleTexts* title, Failure* failure) {
  failure->kind = ErrorKind::kTypeError;
  if (!isPlainObject(env, element)) return fail(&failure->error, "each batch case must be an object");
  std::string raw;
  std::string english;
  if (!requireStringOption(env, element, "raw", &raw, &failure->error) ||
      !readNormalizedEnglish(env, element, &english, &failure->error)) {
    return false;
  }
  *title = makeTitleTexts(std::move(raw), std::move(english));
  return true;
}

/// Reads all titles. The length is read anew for each, since a getter may change it. This comes before the lock is
/// taken: a getter of a case is the caller's own code and may call the addon.
bool readCases(napi_env env, napi_value cases, std::vector<TitleTexts>* titles, Failure* failure) {
  for (std::uint32_t i = 0; i < arrayLength(env, cases); ++i) {
    const Napi::HandleScope scope(env);
    napi_value element = nullptr;
    settled(env, napi_get_element(env, cases, i, &element));
    if (!readCase(env, element, &titles->emplace_back(), failure)) return false;
  }
  return true;
}

/// What one title was resolved to. The answer points into the title, the candidates and the rows.
struct CaseAnswer {
  SceneCandidates candidates;
  LocationAnswer location;
  SceneAnswer scene;
};

/// Titles that are resolved under one lock. Small enough that a worker which is terminated meanwhile ends within a
/// millisecond or two, and that few answers are held at a time.
constexpr std::size_t kCasesPerLock = 256;

/// Resolves the titles from `begin` on. The mutex is held for this alone and not while objects are made: setting a
/// property can run a setter that somebody put on Object.prototype, and that may call the addon.
std::size_t resolveCases(const BatchData& data, const std::vector<TitleTexts>& titles, std::size_t begin,
                         std::vector<CaseAnswer>* answers) {
  const std::lock_guard lock(semanticCache().semanticCacheMutex);
  const std::size_t end = std::min(begin + kCasesPerLock, titles.size());
  for (std::size_t i = begin; i < end; ++i) {
    CaseAnswer& answer = (*answers)[i - begin];
    answer.location = resolveLocation(*data.view, titles[i]);
    answer.scene = resolveBatchScene(data.lexicon, titles[i], answer.location.found, &answer.candidates);
  }
  return end;
}

/// Sets one case's result at its index. False at the first step that fails: in a worker that is being terminated every
/// call does, and the batch must end then.
bool setCaseResult(napi_env env, napi_value results, std::size_t index, const CaseAnswer& answer) {
  const Napi::HandleScope scope(env);
  const napi_value result = makeObject(env);
  return setBoolean(env, result, "ok", true) && setText(env, result, "sceneContract", kSceneContract) &&
         setLocation(env, result, answer.location) && setSceneAnswer(env, result, answer.scene) &&
         setElement(env, results, index, result);
}

bool setResults(napi_env env, napi_value results, const BatchData& data, const std::vector<TitleTexts>& titles) {
  std::vector<CaseAnswer> answers(std::min(kCasesPerLock, titles.size()));
  for (std::size_t begin = 0; begin < titles.size();) {
    const std::size_t end = resolveCases(data, titles, begin, &answers);
    for (; begin < end; ++begin) {
      if (!setCaseResult(env, results, begin, answers[begin % kCasesPerLock])) return false;
    }
  }
  return true;
}

}  // namespace

Napi::Value exports::resolveSceneIntentBatch(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  if (!requireOneOptionsObject(info, "resolveSceneIntentBatch requires one options object")) return info.Env().Null();
  BatchOptions options;
  BatchData data;
  Failure failure;
  std::vector<TitleTexts> titles;
  if (!readOptions(env, info[0], &options, &failure) || !prepare(env, info[0], options, &data, &failure) ||
      !readCases(env, options.cases, &titles, &failure)) {
    return refuse(env, failure.kind, failure.error.message);
  }
  napi_value results = nullptr;
  settled(env, napi_create_array_with_length(env, options.caseCount, &results));
  if (!setResults(env, results, data, titles)) return info.Env().Null();
  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setText(env, result, "sceneContract", kSceneContract);
  setNumber(env, result, "count", arrayLength(env, options.cases));
  setValue(env, result, "results", results);
  return {env, result};
}

}  // namespace corvenda
