#include <algorithm>

#include "addon/border.h"
#include "addon/caller_overlays.h"
#include "addon/exports/exports.h"
#include "cache/rule_pack_loader.h"
#include "celebrity/celebrity_badges.h"
#include "rows/lexicon_rows.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

struct CelebrityOptions {
  std::string packPath;
  std::string allowedRoot;
  napi_value cases = nullptr;
  CelebrityOverlay overlay;
  std::string overlayPackPath;
  std::string overlayAllowedRoot;
};

bool readOptions(napi_env env, napi_value object, CelebrityOptions* options, SemanticError* error) {
  if (!requireStringOption(env, object, "packPath", &options->packPath, error) ||
      !requireStringOption(env, object, "allowedRoot", &options->allowedRoot, error)) {
    return false;
  }
  options->cases = getProperty(env, object, "cases");
  if (!isArray(env, options->cases)) return fail(error, "cases must be an array");
  if (hasProperty(env, object, "celebrityOverlay")) {
    readCelebrityOverlay(env, getProperty(env, object, "celebrityOverlay"), &options->overlay.rows);
  }
  options->overlayPackPath = readStringOrEmpty(env, object, "overlayPackPath");
  options->overlayAllowedRoot = readStringOrEmpty(env, object, "overlayAllowedRoot");
  if (!options->overlayPackPath.empty() && options->overlayAllowedRoot.empty()) {
    return fail(error, "overlayAllowedRoot is required with overlayPackPath");
  }
  return true;
}

CelebrityTitle readTitle(napi_env env, napi_value element) {
  if (!isPlainObject(env, element)) return {};
  std::string raw = readStringOrEmpty(env, element, "raw");
  const std::string english = readStringOrEmpty(env, element, "normalizedEnglish");
  const bool photo = readStringOrEmpty(env, element, "mediaType") == "photo";
  return makeCelebrityTitle(std::move(raw), english, photo);
}

std::vector<std::string> splitTags(const std::string& joined) {
  std::vector<std::string> tags;
  for (std::size_t begin = 0; begin < joined.size();) {
    const std::size_t end = std::min(joined.find(kTagSeparator, begin), joined.size());
    if (end > begin) tags.push_back(joined.substr(begin, end - begin));
    begin = end + 1;
  }
  return tags;
}

/// Null if a step failed.
napi_value makeHit(napi_env env, const IndexRecord& row, std::size_t index) {
  const napi_value hit = makeObject(env);
  const bool made =
      setText(env, hit, "id", row.fields[celebrity_field::kId]) &&
      setText(env, hit, "name", row.fields[celebrity_field::kName]) &&
      setText(env, hit, "region", row.fields[celebrity_field::kRegion]) &&
      setText(env, hit, "kind", row.fields[celebrity_field::kKind]) &&
      setText(env, hit, "photoKey", row.fields[celebrity_field::kPhotoKey]) && setText(env, hit, "alias", row.term) &&
      setText(env, hit, "type", isPlainPhrase(row.term) ? "en" : "zh") && setText(env, hit, "sourceKind", "alias") &&
      setNumber(env, hit, "index", index) && setNumber(env, hit, "len", row.term.size()) &&
      setValue(env, hit, "tags", makeTextArray(env, splitTags(fieldOrEmpty(row, celebrity_field::kTags))));
  return made ? hit : nullptr;
}

napi_value makeCandidate(napi_env env, const BadgeCandidate& candidate) {
  const napi_value object = makeObject(env);
  const bool made = setText(env, object, "label", candidate.label) &&
                    setNumber(env, object, "score", candidate.score) &&
                    setText(env, object, "reason", candidate.reason);
  return made ? object : nullptr;
}

bool setHits(napi_env env, napi_value result, const std::vector<const IndexRecord*>& rows) {
  std::size_t index = 0;
  const napi_value hits =
      makeList(env, rows, [&](napi_env, const IndexRecord* row) { return makeHit(env, *row, index++); });
  if (!setValue(env, result, "celebrityHits", hits)) return false;
  if (rows.empty()) {
    return setNull(env, result, "primaryCelebrity") && setText(env, result, "primaryLabel", "") &&
           setText(env, result, "primaryPhotoKey", "");
  }
  const IndexRecord& primary = *rows.front();
  // An object of its own: a caller may change one and keep the other.
  return setValue(env, result, "primaryCelebrity", makeHit(env, primary, 0)) &&
         setText(env, result, "primaryLabel", primary.fields[celebrity_field::kName]) &&
         setText(env, result, "primaryPhotoKey", primary.fields[celebrity_field::kPhotoKey]);
}

bool setBadge(napi_env env, napi_value result, const CelebrityBadge& badge) {
  return setText(env, result, "secondaryRawLabel", badge.rawLabel) &&
         setText(env, result, "secondaryMediumFallbackLabel", badge.mediumFallbackLabel) &&
         setText(env, result, "secondaryFallbackLabel", badge.fallbackLabel) &&
         setText(env, result, "secondaryLabel", badge.rawLabel) &&
         setBoolean(env, result, "secondaryUsedMediumFallback", false) &&
         setValue(env, result, "secondaryCandidates", makeList(env, badge.candidates, makeCandidate)) &&
         setNumber(env, result, "secondaryConfidence", badge.confidence) &&
         setText(env, result, "secondaryConfidenceLevel", badge.confidenceLevel);
}

/// Null if a step failed.
napi_value makeCaseResult(napi_env env, const CelebrityTitle& title, const std::vector<const IndexRecord*>& rows) {
  const CelebrityBadge badge = rows.empty() ? CelebrityBadge() : proposeCelebrityBadge(*rows.front(), title);
  const napi_value result = makeObject(env);
  const bool made = setBoolean(env, result, "ok", true) &&
                    setText(env, result, "mediaType", title.photo ? "photo" : "video") && setHits(env, result, rows) &&
                    setBadge(env, result, badge);
  return made ? result : nullptr;
}

/// The results of all cases, or null with an exception pending or the message of a refused pack in `error`. Reading a
/// case runs the caller's code, so nothing is locked here; the loop ends at the first failed step.
napi_value resolveCases(napi_env env, const CelebrityOptions& options, SemanticError* error) {
  const napi_value results = makeArray(env);
  // Loaded for the first title that isn't blank, and kept for the call.
  std::shared_ptr<const LoadedPack> pack;
  for (std::uint32_t i = 0; i < arrayLength(env, options.cases); ++i) {
    const Napi::HandleScope scope(env);
    napi_value element = nullptr;
    if (!settled(env, napi_get_element(env, options.cases, i, &element))) return nullptr;
    const CelebrityTitle title = readTitle(env, element);
    if (pack == nullptr && !isBlankTitle(title) &&
        !RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &pack, error)) {
      return nullptr;
    }
    // Behind the load: a getter that throws ends the call no sooner than any other failure of a result.
    if (isExceptionPending(env)) return nullptr;
    const auto rows = findCelebrities(title, options.overlay, pack == nullptr ? nullptr : &pack->table);
    if (!setElement(env, results, i, makeCaseResult(env, title, rows))) return nullptr;
  }
  return results;
}

}  // namespace

Napi::Value exports::resolveCelebrityBadgeBatch(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  if (!requireOneOptionsObject(info, "resolveCelebrityBadgeBatch requires one options object")) {
    return info.Env().Null();
  }
  CelebrityOptions options;
  SemanticError error;
  if (!readOptions(env, info[0], &options, &error)) return refuse(env, ErrorKind::kTypeError, error.message);
  if (!options.overlayPackPath.empty() && !RulePackLoader(options.overlayPackPath, options.overlayAllowedRoot,
                                                          semanticCache().overlaySlot, &options.overlay.pack, &error)) {
    return refuse(env, ErrorKind::kError, error.message);
  }
  buildTermIndex(options.overlay.rows, &options.overlay.index);
  const napi_value results = resolveCases(env, options, &error);
  if (results == nullptr) return refuse(env, ErrorKind::kError, error.message);
  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setNumber(env, result, "count", arrayLength(env, options.cases));
  setValue(env, result, "results", results);
  return {env, result};
}

}  // namespace corvenda
