#include <algorithm>
#include <array>
#include <memory>
#include <span>

#include "addon/batch_description.h"
#include "addon/batch_options.h"
#include "addon/exports/exports.h"
#include "addon/options.h"
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

}  // namespace

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

/// The titles of a batch, a few of which are begun together.
struct TitleGroup {
  std::array<BatchTitle, kTitlesTogether> titles;
  BatchScratch scratch;
  BatchAnswer last;  ///< points into the above
};

/// Resolves the titles of a part and appends their results.
bool appendResults(const BatchLexicon& lexicon, const TitleReader& reader, TitleGroup* group, ResultList* results) {
  if (reader.repeated) {
    for (std::size_t i = 0; i < reader.count; ++i) {
      if (!append(results, group->last)) return false;
    }
    return true;
  }
  std::span<const CaseTitle> cases = std::span(reader.titles).first(reader.count);
  for (; !cases.empty(); cases = cases.subspan(std::min(kTitlesTogether, cases.size()))) {
    const std::span<BatchTitle> titles = std::span(group->titles).first(std::min(kTitlesTogether, cases.size()));
    for (std::size_t i = 0; i < titles.size(); ++i) fillTitle(cases[i].raw, cases[i].english, &titles[i].texts);
    beginBatchTitles(lexicon, titles);
    for (BatchTitle& title : titles) {
      group->last = resolveBegunTitle(lexicon, &title, &group->scratch);
      if (!append(results, group->last)) return false;
    }
  }
  return true;
}

/// The results of all titles; null if a step failed. In a worker that is being terminated every step does, and the
/// batch ends there.
napi_value makeResults(napi_env env, const BatchLexicon& lexicon, const BatchOptions& options, Failure* failure) {
  TitleReader reader = beginTitles(env, options.cases, CaseKind::kScene, options.caseCount);
  ResultList results = beginList(env, options.caseCount, readingScript<BatchAnswer>);
  const std::shared_ptr<const LoadedPack> packs[] = {lexicon.base, lexicon.sceneBase, lexicon.sceneOverlay,
                                                     lexicon.placeOverlay};
  if (!expectTextsOf(&results, packs)) return nullptr;
  const auto group = std::make_unique<TitleGroup>();
  do {
    if (!readTitles(&reader, kPart, failure)) return nullptr;
    if (!appendResults(lexicon, reader, group.get(), &results)) return nullptr;
  } while (reader.count > 0);
  return finishList(&results, options.caseCount);
}

}  // namespace

napi_value exports::resolveSceneIntentBatch(napi_env env, napi_value object, Failure* failure) {
  BatchOptions options;
  BatchLexicon lexicon;
  if (!readOptions(env, object, &options, failure) ||
      !openLexicon(env, object, options.packPath, options.allowedRoot, &lexicon, failure)) {
    return nullptr;
  }
  const napi_value results = makeResults(env, lexicon, options, failure);
  return makeObject(env, BatchResult{arrayLength(env, options.cases), results});
}

}  // namespace corvenda
