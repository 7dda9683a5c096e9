#include <algorithm>

#include "addon/caller_overlays.h"
#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/shared_descriptions.h"
#include "addon/title_reader.h"
#include "cache/rule_pack_loader.h"
#include "celebrity/celebrity_badges.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

struct CelebrityOptions {
  std::string packPath;
  std::string allowedRoot;
  napi_value cases = nullptr;
  RecordTable overlay;
  std::string overlayPackPath;
  std::string overlayAllowedRoot;
};

bool readOptions(napi_env env, napi_value object, CelebrityOptions* options, Failure* failure) {
  if (!requireStringOption(env, object, "packPath", &options->packPath, failure) ||
      !requireStringOption(env, object, "allowedRoot", &options->allowedRoot, failure) ||
      !readCases(env, object, &options->cases, failure)) {
    return false;
  }
  if (hasProperty(env, object, "celebrityOverlay")) {
    readCelebrityOverlay(env, getProperty(env, object, "celebrityOverlay"), &options->overlay);
  }
  options->overlayPackPath = readStringOrEmpty(env, object, "overlayPackPath");
  options->overlayAllowedRoot = readStringOrEmpty(env, object, "overlayAllowedRoot");
  return options->overlayPackPath.empty() || !options->overlayAllowedRoot.empty() ||
         failAs(failure, ErrorKind::kTypeError, "overlayAllowedRoot is required with overlayPackPath");
}

}  // namespace

/// A person as a result shows them; the texts belong to the row.
struct CelebrityHit {
  std::string_view id;
  std::string_view name;
  std::string_view region;
  std::string_view kind;
  std::string_view photoKey;
  std::string_view alias;
  std::size_t index = 0;
  std::size_t tagCount = 0;
  std::span<const std::string_view> tags;
};

/// What one title was resolved to. Kept from title to title for its memory.
struct CelebrityCase {
  bool photo = false;
  std::vector<CelebrityHit> hits;
  std::vector<std::string_view> tags;  ///< of all hits
  CelebrityBadge badge;
  CelebrityScratch scratch;
};

template <typename Out>
void describe(Out& out, const CelebrityHit& hit) {
  putGroup(out, hit.alias.data(), [&] {
    put(out, "id", hit.id);
    put(out, "name", hit.name);
    put(out, "region", hit.region);
    put(out, "kind", hit.kind);
    put(out, "photoKey", hit.photoKey);
    put(out, "alias", hit.alias);
  });
  putChoice(out, "type", isPlainPhrase(hit.alias), "en", "zh");
  putConstant(out, "sourceKind", "alias");
  put(out, "index", hit.index);
  put(out, "len", hit.alias.size());
  put(out, "tags", hit.tags);
}

constexpr unsigned kRawLabelSlot = 0;  // of putFirst

template <typename Out>
void describe(Out& out, const CelebrityCase& title) {
  const CelebrityHit* primary = title.hits.empty() ? nullptr : &title.hits.front();
  putConstant(out, "ok", true);
  putChoice(out, "mediaType", title.photo, "photo", "video");
  put(out, "celebrityHits", title.hits);
  put(out, "primaryCelebrity", primary);  // an object of its own: a caller may change one and keep the other
  put(out, "primaryLabel", primary == nullptr ? std::string_view() : primary->name);
  put(out, "primaryPhotoKey", primary == nullptr ? std::string_view() : primary->photoKey);
  putFirst(out, "secondaryRawLabel", kRawLabelSlot, title.badge.rawLabel);
  put(out, "secondaryMediumFallbackLabel", title.badge.mediumFallbackLabel);
  put(out, "secondaryFallbackLabel", title.badge.fallbackLabel);
  putAgain(out, "secondaryLabel", kRawLabelSlot, title.badge.rawLabel);
  putConstant(out, "secondaryUsedMediumFallback", false);
  put(out, "secondaryCandidates", title.badge.candidates);
  put(out, "secondaryConfidence", title.badge.confidence);
  put(out, "secondaryConfidenceLevel", title.badge.confidenceLevel);
}

struct CelebrityBatch {
  std::uint32_t count = 0;
  napi_value results = nullptr;
};

template <typename Out>
void describe(Out& out, const CelebrityBatch& batch) {
  putConstant(out, "ok", true);
  put(out, "count", batch.count);
  put(out, "results", batch.results);
}

namespace {

/// Appends the tags, and gives how many there are.
std::size_t splitTags(std::string_view joined, std::vector<std::string_view>* tags) {
  const std::size_t before = tags->size();
  for (std::size_t begin = 0; begin < joined.size();) {
    const std::size_t end = std::min(joined.find(kTagSeparator, begin), joined.size());
    if (end > begin) tags->push_back(joined.substr(begin, end - begin));
    begin = end + 1;
  }
  return tags->size() - before;
}

void fillHits(std::span<const CelebrityRow> people, CelebrityCase* result) {
  result->hits.clear();
  result->tags.clear();
  for (const CelebrityRow& row : people) {
    result->hits.push_back({row.id,
                            row.name,
                            row.region,
                            row.kind,
                            row.photoKey,
                            row.term,
                            result->hits.size(),
                            splitTags(row.tags, &result->tags),
                            {}});
  }
  // Now that the tags stay where they are.
  const std::string_view* tags = result->tags.data();
  for (CelebrityHit& hit : result->hits) {
    hit.tags = {tags, hit.tagCount};
    tags += hit.tagCount;
  }
}

void resolveCase(const TitleTexts& title, bool photo, const std::vector<const RecordTable*>& overlays,
                 const RecordTable* pack, CelebrityCase* result) {
  const std::span<const CelebrityRow> people = findCelebrities(title, overlays, pack, &result->scratch);
  result->photo = photo;
  fillHits(people, result);
  if (people.empty()) {
    clearBadge(&result->badge);
  } else {
    proposeCelebrityBadge(people.front(), title, photo, &result->badge);
  }
}

/// Titles that are read, resolved and made objects of at a time.
constexpr std::size_t kPart = 256;

/// The results of all cases; null after a refused pack or a failed step. Reading a case runs the caller's code, so
/// nothing is locked here.
napi_value makeResults(napi_env env, const CelebrityOptions& options,
                       const std::shared_ptr<const LoadedPack>& overlayPack, Failure* failure) {
  const std::uint32_t length = arrayLength(env, options.cases);
  TitleReader reader = beginTitles(env, options.cases, CaseKind::kPerson, length);
  ResultList results = beginList(env, length, readingScript<CelebrityCase>);
  std::vector<const RecordTable*> overlays;
  if (!options.overlay.rows.empty()) overlays.push_back(&options.overlay);
  if (overlayPack != nullptr) overlays.push_back(&overlayPack->table);
  // Loaded for the first title that isn't blank, before another case is read, and kept for the call.
  std::shared_ptr<const LoadedPack> pack;
  TitleTexts title;
  CelebrityCase result;
  do {
    if (!readTitles(&reader, pack == nullptr ? 1 : kPart, failure)) return nullptr;
    for (std::size_t i = 0; i < reader.count; ++i) {
      if (!reader.repeated) fillTitle(reader.titles[i].raw, reader.titles[i].english, &title);
      if (pack == nullptr && !isBlankTitle(title)) {
        if (!RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &pack, failure)) {
          return nullptr;
        }
        const std::shared_ptr<const LoadedPack> packs[] = {pack, overlayPack};
        if (!expectTextsOf(&results, packs)) return nullptr;
      }
      // Only now: a getter that throws doesn't keep the pack from being loaded.
      if (isExceptionPending(env)) return nullptr;
      const RecordTable* const table = pack == nullptr ? nullptr : &pack->table;
      if (!reader.repeated) resolveCase(title, reader.titles[i].photo, overlays, table, &result);
      if (!append(&results, result)) return nullptr;
    }
  } while (reader.count > 0);
  return finishList(&results, 0);
}

}  // namespace

napi_value exports::resolveCelebrityBadgeBatch(napi_env env, napi_value object, Failure* failure) {
  CelebrityOptions options;
  if (!readOptions(env, object, &options, failure)) return nullptr;
  finishTable(&options.overlay);
  std::shared_ptr<const LoadedPack> overlayPack;
  if (!options.overlayPackPath.empty()) {
    if (!RulePackLoader(options.overlayPackPath, options.overlayAllowedRoot, semanticCache().overlaySlot, &overlayPack,
                        failure)) {
      return nullptr;
    }
  }
  const napi_value results = makeResults(env, options, overlayPack, failure);
  return makeObject(env, CelebrityBatch{arrayLength(env, options.cases), results});
}

}  // namespace corvenda
