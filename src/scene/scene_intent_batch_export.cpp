#include <mutex>

#include "addon/border.h"
#include "addon/exports.h"
#include "cache/caller_overlays.h"
#include "cache/location_view.h"
#include "location/location_resolver.h"
#include "location/location_resolver_export.h"
#include "pack/rule_pack_loader.h"
#include "scene/scene_answer_export.h"
#include "scene/scene_intent_batch.h"

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
  settled(env, napi_get_array_length(env, options->cases, &options->caseCount));
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
  std::uint32_t length = 0;
  for (std::uint32_t i = 0; settled(env, napi_get_array_length(env, cases, &length)) && i < length; ++i) {
    const Napi::HandleScope scope(env);
    napi_value element = nullptr;
    settled(env, napi_get_element(env, cases, i, &element));
    if (!readCase(env, element, &titles->emplace_back(), failure)) return false;
  }
  return true;
}

/// Sets one case's result at its index. False at the first step that fails: in a worker that is being terminated every
/// call does, and the batch must end then.
bool setCaseResult(napi_env env, napi_value results, std::uint32_t index, const BatchData& data,
                   const TitleTexts& title, SceneCandidates* candidates) {
  const Napi::HandleScope scope(env);
  const LocationAnswer location = resolveLocation(*data.view, title);
  const SceneAnswer scene = resolveBatchScene(data.lexicon, title, location.found, candidates);
  const napi_value result = makeObject(env);
  return setBoolean(env, result, "ok", true) && setText(env, result, "sceneContract", kSceneContract) &&
         setLocation(env, result, location) && setSceneAnswer(env, result, scene) &&
         settled(env, napi_set_element(env, results, index, result));
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
  const std::lock_guard lock(semanticCache().semanticCacheMutex);
  napi_value results = nullptr;
  settled(env, napi_create_array_with_length(env, options.caseCount, &results));
  SceneCandidates candidates;
  for (std::size_t i = 0; i < titles.size(); ++i) {
    if (!setCaseResult(env, results, static_cast<std::uint32_t>(i), data, titles[i], &candidates)) {
      return info.Env().Null();
    }
  }
  std::uint32_t count = 0;
  settled(env, napi_get_array_length(env, options.cases, &count));
  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setText(env, result, "sceneContract", kSceneContract);
  setNumber(env, result, "count", count);
  setValue(env, result, "results", results);
  return {env, result};
}

}  // namespace corvenda
