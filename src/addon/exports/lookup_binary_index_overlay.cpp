#include "addon/border.h"
#include "addon/exports/exports.h"
#include "addon/lookup_options.h"
#include "cache/rule_pack_loader.h"
#include "lookup/overlay_lookup.h"

namespace corvenda {
namespace {

struct OverlayLookupOptions {
  std::string basePackPath;
  std::string overlayPackPath;
  std::string allowedRoot;
  std::string sectionName;
  std::string term;
  std::string mode;
  Section section = Section::kScene;
};

bool readRequiredOptions(napi_env env, napi_value object, OverlayLookupOptions* options, SemanticError* error) {
  return requireStringOption(env, object, "basePackPath", &options->basePackPath, error) &&
         requireStringOption(env, object, "overlayPackPath", &options->overlayPackPath, error) &&
         requireStringOption(env, object, "allowedRoot", &options->allowedRoot, error) &&
         requireStringOption(env, object, "section", &options->sectionName, error) &&
         requireStringOption(env, object, "term", &options->term, error);
}

/// Reads all options; throws at the first that is not allowed. Not the order of `lookupBinaryIndex`: the type of the
/// mode comes before the section, its value behind it.
bool readOptions(napi_env env, napi_value object, OverlayLookupOptions* options) {
  constexpr std::string_view kModeMessage = "lookupBinaryIndexOverlay mode must be exact or contains";
  const auto turnDown = [env](ErrorKind kind, std::string_view message) {
    refuse(env, kind, message);
    return false;
  };
  SemanticError error;
  if (!readRequiredOptions(env, object, options, &error)) return turnDown(ErrorKind::kTypeError, error.message);
  if (!readLookupMode(env, object, &options->mode)) return turnDown(ErrorKind::kTypeError, kModeMessage);
  const auto section = sectionFromName(options->sectionName);
  if (!section) return turnDown(ErrorKind::kRangeError, "lookupBinaryIndexOverlay section is unsupported");
  options->section = *section;
  if (!isLookupMode(options->mode)) return turnDown(ErrorKind::kRangeError, kModeMessage);
  return true;
}

struct PackPair {
  std::shared_ptr<const LoadedPack> base;
  std::shared_ptr<const LoadedPack> overlay;
};

/// The base comes first and stays in its slot even if the overlay is refused, as a sound pack of the wrong kind stays
/// in its own. That the patch was made for this base is not asked.
bool loadPair(const OverlayLookupOptions& options, PackPair* packs, SemanticError* error) {
  SemanticCache& cache = semanticCache();
  if (!RulePackLoader(options.basePackPath, options.allowedRoot, cache.baseSlot, &packs->base, error) ||
      !RulePackLoader(options.overlayPackPath, options.allowedRoot, cache.overlaySlot, &packs->overlay, error)) {
    return false;
  }
  return packs->overlay->pack.metadata.kind == "patch" || fail(error, "semantic overlay pack must be a patch");
}

napi_value makeMatch(napi_env env, const OverlayMatch& match) {
  const napi_value object = makeObject(env);
  setText(env, object, "section", match.record->section);
  setText(env, object, "term", match.record->term);
  setText(env, object, "source", match.fromOverlay ? "overlay" : "base");
  setValue(env, object, "fields", makeTextArray(env, match.record->fields));
  return object;
}

}  // namespace

Napi::Value exports::lookupBinaryIndexOverlay(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  if (!requireOneOptionsObject(info, "lookupBinaryIndexOverlay requires one options object")) return info.Env().Null();
  OverlayLookupOptions options;
  if (!readOptions(env, info[0], &options)) return info.Env().Null();
  PackPair packs;
  SemanticError error;
  if (!loadPair(options, &packs, &error)) return refuse(env, ErrorKind::kError, error.message);
  const bool contains = options.mode == kContainsMode;
  const std::vector<OverlayMatch> matches =
      mergeOverlayRows(filterRecords(packs.overlay->table, options.section, options.term, contains),
                       filterRecords(packs.base->table, options.section, options.term, contains));

  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setText(env, result, "contract", "native-semantic-overlay-lookup-v1");
  setText(env, result, "section", options.sectionName);
  setText(env, result, "term", options.term);
  setText(env, result, "mode", options.mode);
  setBoolean(env, result, "overlayFirst", true);
  setText(env, result, "overlayRuleSetId", packs.overlay->pack.metadata.ruleSetId);
  // The base pack's own id, not what the patch says that it was made for.
  setText(env, result, "baseRuleSetId", packs.base->pack.metadata.ruleSetId);
  setValue(env, result, "matches", makeList(env, matches, makeMatch));
  return {env, result};
}

}  // namespace corvenda
