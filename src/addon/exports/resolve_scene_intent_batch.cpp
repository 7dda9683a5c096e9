#include "addon/caller_overlays.h"
#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/shared_descriptions.h"
#include "addon/title_reader.h"
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
  putConstant(out, "ok", true);
  putConstant(out, "sceneContract", kSceneContract);
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
  putConstant(out, "ok", true);
  putConstant(out, "sceneContract", kSceneContract);
  put(out, "count", batch.count);
  put(out, "results", batch.results);
}

namespace {

/// Titles that are read, resolved and made objects of at a time: few enough that a worker which is terminated meanwhile
/// ends within a millisecond or two.
constexpr std::size_t kPart = 256;

/// The results of all titles; null if a step failed. In a worker that is being terminated every step does, and the
/// batch ends there.
napi_value makeResults(napi_env env, const BatchLexicon& lexicon, const BatchOptions& options, Failure* failure) {
  TitleReader reader = beginTitles(env, options.cases, CaseKind::kScene, options.caseCount);
  ResultList results = beginList(env, options.caseCount, readingScript<BatchAnswer>);
  for (const BatchPart& rows : lexicon.parts) expectTextsOf(&results, *rows.table);
  BatchScratch scratch;
  TitleTexts title;
  do {
    if (!readTitles(&reader, kPart, failure)) return nullptr;
    for (std::size_t i = 0; i < reader.count; ++i) {
      fillTitle(reader.titles[i].raw, reader.titles[i].english, &title);
      if (!append(&results, resolveBatchTitle(lexicon, title, &scratch))) return nullptr;
    }
  } while (reader.count > 0);
  return finishList(&results, options.caseCount);
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
