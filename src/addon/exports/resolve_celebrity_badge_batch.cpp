#include <algorithm>

#include "addon/caller_overlays.h"
#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/result.h"
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

/// A title as the caller gives it.
struct CelebrityTitle {
  std::string raw;
  std::string english;
  bool photo = false;
};

CelebrityTitle readTitle(napi_env env, napi_value element) {
  if (!isPlainObject(env, element)) return {};
  CelebrityTitle title;
  title.raw = readStringOrEmpty(env, element, "raw");
  title.english = readStringOrEmpty(env, element, "normalizedEnglish");
  title.photo = readStringOrEmpty(env, element, "mediaType") == "photo";
  return title;
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
  std::vector<std::string_view> tags;
};

/// What one title was resolved to.
struct CelebrityCase {
  bool photo = false;
  std::vector<CelebrityHit> hits;
  CelebrityBadge badge;
};

template <typename Out>
void describe(Out& out, const CelebrityHit& hit) {
  put(out, "id", hit.id);
  put(out, "name", hit.name);
  put(out, "region", hit.region);
  put(out, "kind", hit.kind);
  put(out, "photoKey", hit.photoKey);
  put(out, "alias", hit.alias);
  put(out, "type", isPlainPhrase(hit.alias) ? "en" : "zh");
  put(out, "sourceKind", "alias");
  put(out, "index", hit.index);
  put(out, "len", hit.alias.size());
  put(out, "tags", hit.tags);
}

template <typename Out>
void describe(Out& out, const BadgeCandidate& candidate) {
  put(out, "label", candidate.label);
  put(out, "score", candidate.score);
  put(out, "reason", candidate.reason);
}

template <typename Out>
void describe(Out& out, const CelebrityCase& title) {
  const CelebrityHit* primary = title.hits.empty() ? nullptr : &title.hits.front();
  put(out, "ok", true);
  put(out, "mediaType", title.photo ? "photo" : "video");
  put(out, "celebrityHits", title.hits);
  put(out, "primaryCelebrity", primary);  // an object of its own: a caller may change one and keep the other
  put(out, "primaryLabel", primary == nullptr ? std::string_view() : primary->name);
  put(out, "primaryPhotoKey", primary == nullptr ? std::string_view() : primary->photoKey);
  put(out, "secondaryRawLabel", title.badge.rawLabel);
  put(out, "secondaryMediumFallbackLabel", title.badge.mediumFallbackLabel);
  put(out, "secondaryFallbackLabel", title.badge.fallbackLabel);
  put(out, "secondaryLabel", title.badge.rawLabel);
  put(out, "secondaryUsedMediumFallback", false);
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
  put(out, "ok", true);
  put(out, "count", batch.count);
  put(out, "results", batch.results);
}

namespace {

std::vector<std::string_view> splitTags(std::string_view joined) {
  std::vector<std::string_view> tags;
  for (std::size_t begin = 0; begin < joined.size();) {
    const std::size_t end = std::min(joined.find(kTagSeparator, begin), joined.size());
    if (end > begin) tags.push_back(joined.substr(begin, end - begin));
    begin = end + 1;
  }
  return tags;
}

CelebrityHit makeHit(const CelebrityRow& row, std::size_t index) {
  return {row.id, row.name, row.region, row.kind, row.photoKey, row.term, index, splitTags(row.tags)};
}

CelebrityCase resolveCase(const TitleTexts& title, bool photo, const std::vector<const RecordTable*>& overlays,
                          const RecordTable* pack) {
  CelebrityCase result;
  result.photo = photo;
  const std::vector<CelebrityRow> people = findCelebrities(title, overlays, pack);
  for (const CelebrityRow& row : people) result.hits.push_back(makeHit(row, result.hits.size()));
  if (!people.empty()) result.badge = proposeCelebrityBadge(people.front(), title, photo);
  return result;
}

/// The results of all cases; null after a refused pack or a failed step. Reading a case runs the caller's code, so
/// nothing is locked here.
napi_value resolveCases(napi_env env, const CelebrityOptions& options, const std::vector<const RecordTable*>& overlays,
                        Failure* failure) {
  const napi_value results = makeArray(env);
  // Loaded for the first title that isn't blank, and kept for the call.
  std::shared_ptr<const LoadedPack> pack;
  TitleTexts title;
  for (std::uint32_t i = 0; i < arrayLength(env, options.cases); ++i) {
    const HandleScope scope(env);
    napi_value element = nullptr;
    if (!settled(env, napi_get_element(env, options.cases, i, &element))) return nullptr;
    const CelebrityTitle read = readTitle(env, element);
    fillTitle(read.raw, read.english, &title);
    if (pack == nullptr && !isBlankTitle(title) &&
        !RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &pack, failure)) {
      return nullptr;
    }
    // Only now: a getter that throws doesn't keep the pack from being loaded.
    if (isExceptionPending(env)) return nullptr;
    const CelebrityCase result = resolveCase(title, read.photo, overlays, pack == nullptr ? nullptr : &pack->table);
    if (!defineElement(env, results, i, makeObject(env, result))) return nullptr;
  }
  return results;
}

}  // namespace

napi_value exports::resolveCelebrityBadgeBatch(napi_env env, napi_value object, Failure* failure) {
  CelebrityOptions options;
  if (!readOptions(env, object, &options, failure)) return nullptr;
  finishTable(&options.overlay);
  std::vector<const RecordTable*> overlays;
  if (!options.overlay.rows.empty()) overlays.push_back(&options.overlay);
  std::shared_ptr<const LoadedPack> overlayPack;
  if (!options.overlayPackPath.empty()) {
    if (!RulePackLoader(options.overlayPackPath, options.overlayAllowedRoot, semanticCache().overlaySlot, &overlayPack,
                        failure)) {
      return nullptr;
    }
    overlays.push_back(&overlayPack->table);
  }
  const napi_value results = resolveCases(env, options, overlays, failure);
  return makeObject(env, CelebrityBatch{arrayLength(env, options.cases), results});
}

}  // namespace corvenda
