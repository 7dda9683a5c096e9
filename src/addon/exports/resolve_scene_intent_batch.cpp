#include <algorithm>
#include <mutex>

#include "addon/caller_overlays.h"
#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/shared_descriptions.h"
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

bool readOptions(napi_env env, napi_value object, BatchOptions* options, Failure* failure) {
  if (!requireStringOption(env, object, "packPath", &options->packPath, failure) ||
      !requireStringOption(env, object, "allowedRoot", &options->allowedRoot, failure) ||
      !readCases(env, object, &options->cases, failure)) {
    return false;
  }
  options->caseCount = arrayLength(env, options->cases);
  return options->caseCount <= kMaxCases || failAs(failure, ErrorKind::kRangeError, "cases exceeds the batch limit");
}

/// The option if it is there and a string, else the empty string.
std::string readOptionalString(napi_env env, napi_value object, const char* name) {
  return hasProperty(env, object, name) ? readStringOrEmpty(env, object, name) : std::string();
}

/// Loads the packs and reads the overlays, in the order in which they can fail.
bool prepare(napi_env env, napi_value object, const BatchOptions& options, BatchData* data, Failure* failure) {
  BatchLexicon& lexicon = data->lexicon;
  if (!RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &lexicon.base, failure)) {
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
                        failure)) {
      return false;
    }
  }
  // The getters of the overlay options are the caller's own code and may have loaded another pack: the base slot has to
  // hold this one when the view is made. The rows stay those of the first load.
  std::shared_ptr<const LoadedPack> again;
  if (!RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &again, failure)) {
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
  if (!ensureLocationView(overlayPackPath, overlayRecords, failure)) return false;
  const std::lock_guard lock(semanticCache().semanticCacheMutex);
  data->view = semanticCache().baseSlot.view;
  // Another thread may have filled the slot in between. Its pack's view is not made yet, and this batch finds no
  // places.
  if (data->view == nullptr) data->view = std::make_shared<const LocationView>();
  return true;
}

bool readCase(napi_env env, napi_value element, TitleTexts* title, Failure* failure) {
  if (!isPlainObject(env, element)) return failAs(failure, ErrorKind::kTypeError, "each batch case must be an object");
  std::string raw;
  std::string english;
  if (!requireStringOption(env, element, "raw", &raw, failure) ||
      !readNormalizedEnglish(env, element, &english, failure)) {
    return false;
  }
  *title = makeTitleTexts(std::move(raw), std::move(english));
  return true;
}

/// Reads all titles. The length is read anew for each, since a getter may change it. This comes before the lock is
/// taken: a getter of a case is the caller's own code and may call the addon.
bool readTitles(napi_env env, napi_value cases, std::vector<TitleTexts>* titles, Failure* failure) {
  for (std::uint32_t i = 0; i < arrayLength(env, cases); ++i) {
    const HandleScope scope(env);
    napi_value element = nullptr;
    settled(env, napi_get_element(env, cases, i, &element));
    if (!readCase(env, element, &titles->emplace_back(), failure)) return false;
  }
  return true;
}

/// What one title was resolved to. The scene points into the title, the candidates and the rows.
struct CaseAnswer {
  SceneCandidates candidates;
  LocationAnswer location;
  SceneAnswer scene;
};

}  // namespace

/// The place of the primary code.
struct PrimaryHitOfCode {
  PrimaryLocationHit hit;
  std::string_view code;
};

template <typename Out>
void describe(Out& out, const PrimaryHitOfCode& primary) {
  // The alias is the label, not the term that was found: what is shown is the name of the place.
  put(out, "alias", primary.hit.label);
  put(out, "code", primary.code);
  put(out, "index", primary.hit.index);
  put(out, "label", primary.hit.label);
  put(out, "len", primary.hit.len);
  put(out, "source", primary.hit.source);
  put(out, "weight", primary.hit.weight);
}

template <typename Out>
void describe(Out& out, const LocationMeta& meta) {
  std::optional<PrimaryHitOfCode> primary;
  if (meta.primaryHit) primary = {*meta.primaryHit, meta.countryCode};
  put(out, "countryCode", meta.countryCode);
  putLastList(out, "countryCodes");  // the very array of "locationCodes"
  put(out, "countryLabel", meta.countryLabel);
  put(out, "locationLabel", meta.locationLabel);
  put(out, "shortLabel", meta.shortLabel);
  put(out, "fullLabel", meta.shortLabel);
  put(out, "primaryHit", primary);
}

template <typename Out>
void describe(Out& out, const CaseAnswer& answer) {
  put(out, "ok", true);
  put(out, "sceneContract", kSceneContract);
  put(out, "locationCodes", answer.location.codes);
  put(out, "locationMeta", answer.location.meta);
  describe(out, answer.scene);
}

struct BatchResult {
  std::uint32_t count = 0;
  napi_value results = nullptr;
};

template <typename Out>
void describe(Out& out, const BatchResult& batch) {
  put(out, "ok", true);
  put(out, "sceneContract", kSceneContract);
  put(out, "count", batch.count);
  put(out, "results", batch.results);
}

namespace {

/// Titles that are resolved under one lock. Small enough that a worker which is terminated meanwhile ends within a
/// millisecond or two, and that few answers are held at a time.
constexpr std::size_t kCasesPerLock = 256;

/// Resolves the titles from `begin` on, up to a part's end, which it gives back. The mutex is held for this alone and
/// not while objects are made.
std::size_t resolvePart(const BatchData& data, const std::vector<TitleTexts>& titles, std::size_t begin,
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

/// The results of all titles; null if a step failed. In a worker that is being terminated every step does, and the
/// batch ends there. `length` is that of the cases before any was read.
napi_value makeResults(napi_env env, const BatchData& data, const std::vector<TitleTexts>& titles,
                       std::uint32_t length) {
  napi_value results = nullptr;
  settled(env, napi_create_array_with_length(env, length, &results));
  std::vector<CaseAnswer> answers(std::min(kCasesPerLock, titles.size()));
  for (std::size_t begin = 0; begin < titles.size();) {
    const std::size_t end = resolvePart(data, titles, begin, &answers);
    for (; begin < end; ++begin) {
      const HandleScope scope(env);
      if (!defineElement(env, results, begin, makeObject(env, answers[begin % kCasesPerLock]))) return nullptr;
    }
  }
  return results;
}

}  // namespace

napi_value exports::resolveSceneIntentBatch(napi_env env, napi_value object, Failure* failure) {
  BatchOptions options;
  BatchData data;
  std::vector<TitleTexts> titles;
  if (!readOptions(env, object, &options, failure) || !prepare(env, object, options, &data, failure) ||
      !readTitles(env, options.cases, &titles, failure)) {
    return nullptr;
  }
  const napi_value results = makeResults(env, data, titles, options.caseCount);
  return makeObject(env, BatchResult{arrayLength(env, options.cases), results});
}

}  // namespace corvenda
