#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/result.h"
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

/// Not the order of `lookupBinaryIndex`: the type of the mode comes before the section, its value after it.
bool readOptions(napi_env env, napi_value object, OverlayLookupOptions* options, Failure* failure) {
  constexpr std::string_view kModeMessage = "lookupBinaryIndexOverlay mode must be exact or contains";
  constexpr std::string_view kSectionMessage = "lookupBinaryIndexOverlay section is unsupported";
  return requireStringOption(env, object, "basePackPath", &options->basePackPath, failure) &&
         requireStringOption(env, object, "overlayPackPath", &options->overlayPackPath, failure) &&
         requireStringOption(env, object, "allowedRoot", &options->allowedRoot, failure) &&
         requireStringOption(env, object, "section", &options->sectionName, failure) &&
         requireStringOption(env, object, "term", &options->term, failure) &&
         readLookupMode(env, object, kModeMessage, &options->mode, failure) &&
         parseSection(options->sectionName, kSectionMessage, &options->section, failure) &&
         checkLookupMode(options->mode, kModeMessage, failure);
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

}  // namespace

struct OverlayLookupAnswer {
  const OverlayLookupOptions& options;
  const PackPair& packs;
  const std::vector<OverlayMatch>& matches;
};

template <typename Out>
void describe(Out& out, const OverlayMatch& match) {
  put(out, "section", match.record.section);
  put(out, "term", match.record.term);
  put(out, "source", match.fromOverlay ? "overlay" : "base");
  put(out, "fields", match.record.fields);
}

template <typename Out>
void describe(Out& out, const OverlayLookupAnswer& answer) {
  putConstant(out, "ok", true);
  putConstant(out, "contract", "native-semantic-overlay-lookup-v1");
  put(out, "section", answer.options.sectionName);
  put(out, "term", answer.options.term);
  put(out, "mode", answer.options.mode);
  putConstant(out, "overlayFirst", true);
  put(out, "overlayRuleSetId", answer.packs.overlay->pack.metadata.ruleSetId);
  // The base pack's own id, not what the patch says that it was made for.
  put(out, "baseRuleSetId", answer.packs.base->pack.metadata.ruleSetId);
  put(out, "matches", answer.matches);
}

napi_value exports::lookupBinaryIndexOverlay(napi_env env, napi_value object, Failure* failure) {
  OverlayLookupOptions options;
  PackPair packs;
  if (!readOptions(env, object, &options, failure) || !loadPair(options, &packs, failure)) return nullptr;
  const bool contains = options.mode == kContainsMode;
  TextArena arena;
  const std::vector<OverlayMatch> matches =
      mergeOverlayRows(lookupRecords(packs.overlay->table, options.section, options.term, contains, &arena),
                       lookupRecords(packs.base->table, options.section, options.term, contains, &arena));
  return makeObject(env, OverlayLookupAnswer{options, packs, matches});
}

}  // namespace corvenda
