#include <algorithm>

#include "addon/caller_overlays.h"
#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/shared_descriptions.h"
#include "batch/scene_intent_batch.h"

namespace corvenda {
namespace {

/// Bounds the time for which a call occupies its thread.
constexpr std::uint32_t kMaxCases = 10000;

struct BatchOptions {
  std::string packPath;
  std::string allowedRoot;
  napi_value cases = nullptr;
  std::uint32_t caseCount = 0;
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

/// Path and root of the overlay pack. Error: "overlayAllowedRoot is required with overlayPackPath".
bool readOverlayPack(napi_env env, napi_value object, std::string* path, std::string* root, Failure* failure) {
  *path = readOptionalString(env, object, "overlayPackPath");
  *root = readOptionalString(env, object, "overlayAllowedRoot");
  return path->empty() || !root->empty() ||
         failAs(failure, ErrorKind::kTypeError, "overlayAllowedRoot is required with overlayPackPath");
}

bool openLexicon(napi_env env, napi_value object, const BatchOptions& options, BatchLexicon* lexicon,
                 Failure* failure) {
  const BatchCaller caller{
      [&](const RecordTable& base, RecordTable* rows) {
        if (!hasProperty(env, object, "sceneOverlay")) return;
        readSceneLexicon(env, getProperty(env, object, "sceneOverlay"), base, rows);
      },
      [&](std::string* path, std::string* root) { return readOverlayPack(env, object, path, root, failure); },
      [&](RecordTable* rows) {
        if (!hasProperty(env, object, "locationOverlay")) return;
        readLocationOverlay(env, getProperty(env, object, "locationOverlay"), rows);
      }};
  return openBatchLexicon(options.packPath, options.allowedRoot, caller, lexicon, failure);
}

/// A title as the caller gives it, and what it was resolved to.
struct BatchCase {
  std::string raw;
  std::string english;
  TitleTexts title;
  BatchAnswer answer;
};

bool readCase(napi_env env, napi_value element, BatchCase* read, Failure* failure) {
  if (!isPlainObject(env, element)) return failAs(failure, ErrorKind::kTypeError, "each batch case must be an object");
  read->english.clear();
  if (!requireStringOption(env, element, "raw", &read->raw, failure) ||
      !readNormalizedEnglish(env, element, &read->english, failure)) {
    return false;
  }
  fillTitle(read->raw, read->english, &read->title);
  return true;
}

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
void describe(Out& out, const BatchAnswer& answer) {
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

/// Titles that are read, resolved and made objects of at a time: few enough that what they hold stays small, and that
/// a worker which is terminated meanwhile ends within a millisecond or two.
constexpr std::uint32_t kPart = 256;

/// Reads cases from `begin` on, as many as there are places. The length is read anew for each, since a getter may
/// change it; `count` is how many there were.
bool readPart(napi_env env, napi_value cases, std::uint32_t begin, std::vector<BatchCase>* part, std::size_t* count,
              Failure* failure) {
  for (*count = 0; *count < part->size() && begin + *count < arrayLength(env, cases); ++*count) {
    const HandleScope scope(env);
    napi_value element = nullptr;
    settled(env, napi_get_element(env, cases, begin + static_cast<std::uint32_t>(*count), &element));
    if (!readCase(env, element, &(*part)[*count], failure)) return false;
  }
  return true;
}

/// The results of all titles; null if a step failed. In a worker that is being terminated every step does, and the
/// batch ends there.
napi_value makeResults(napi_env env, const BatchLexicon& lexicon, const BatchOptions& options, Failure* failure) {
  napi_value results = nullptr;
  settled(env, napi_create_array_with_length(env, options.caseCount, &results));
  BatchScratch scratch;
  std::vector<BatchCase> part(std::min(kPart, options.caseCount));
  std::size_t count = part.size();
  for (std::uint32_t begin = 0; count == part.size() && count > 0; begin += static_cast<std::uint32_t>(count)) {
    if (!readPart(env, options.cases, begin, &part, &count, failure)) return nullptr;
    for (std::size_t i = 0; i < count; ++i) {
      part[i].answer = resolveBatchTitle(lexicon, part[i].title, &scratch);
      const HandleScope scope(env);
      if (!defineElement(env, results, begin + i, makeObject(env, part[i].answer))) return nullptr;
    }
  }
  return results;
}

}  // namespace

napi_value exports::resolveSceneIntentBatch(napi_env env, napi_value object, Failure* failure) {
  BatchOptions options;
  BatchLexicon lexicon;
  if (!readOptions(env, object, &options, failure) || !openLexicon(env, object, options, &lexicon, failure)) {
    return nullptr;
  }
  const napi_value results = makeResults(env, lexicon, options, failure);
  return makeObject(env, BatchResult{arrayLength(env, options.cases), results});
}

}  // namespace corvenda
