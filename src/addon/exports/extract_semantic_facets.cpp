#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/result.h"
#include "cache/rule_pack_loader.h"
#include "facet/facet_extraction.h"

namespace corvenda {

template <typename Out>
void describe(Out& out, const FacetHit& hit) {
  put(out, "dimension", hit.dimension);
  put(out, "facetKey", hit.facetKey);
  put(out, "alias", hit.alias);
  put(out, "type", hit.type);
  put(out, "index", hit.index);
  put(out, "len", hit.len);
  put(out, "score", hit.score);
}

template <typename Out>
void describe(Out& out, const FacetGroup& group) {
  put(out, "dimension", group.dimension);
  put(out, "facetKey", group.facetKey);
  put(out, "count", group.count);
  put(out, "score", group.score);
  put(out, "firstIndex", group.firstIndex);
}

template <typename Out>
void describe(Out& out, const SemanticFacets& facets) {
  putConstant(out, "ok", true);
  putConstant(out, "facetContract", "native-facet-v1");
  put(out, "hits", facets.hits);
  put(out, "groups", facets.groups);
}

napi_value exports::extractSemanticFacets(napi_env env, napi_value object, Failure* failure) {
  TitleOptions options;
  std::shared_ptr<const LoadedPack> loaded;
  if (!readTitleOptions(env, object, &options, failure) ||
      !RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &loaded, failure)) {
    return nullptr;
  }
  return makeObject(env, corvenda::extractSemanticFacets(loaded->table, options.raw, options.normalizedEnglish));
}

}  // namespace corvenda
