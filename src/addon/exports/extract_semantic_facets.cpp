#include "addon/border.h"
#include "addon/exports/exports.h"
#include "addon/title_options.h"
#include "cache/rule_pack_loader.h"
#include "facet/facet_extraction.h"

namespace corvenda {
namespace {

napi_value makeHit(napi_env env, const FacetHit& hit) {
  const napi_value object = makeObject(env);
  setText(env, object, "dimension", hit.dimension);
  setText(env, object, "facetKey", hit.facetKey);
  setText(env, object, "alias", hit.alias);
  setText(env, object, "type", hit.type);
  setNumber(env, object, "index", hit.index);
  setNumber(env, object, "len", hit.len);
  setNumber(env, object, "score", hit.score);
  return object;
}

napi_value makeGroup(napi_env env, const FacetGroup& group) {
  const napi_value object = makeObject(env);
  setText(env, object, "dimension", group.dimension);
  setText(env, object, "facetKey", group.facetKey);
  setNumber(env, object, "count", group.count);
  setNumber(env, object, "score", group.score);
  setNumber(env, object, "firstIndex", group.firstIndex);
  return object;
}

}  // namespace

Napi::Value exports::extractSemanticFacets(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  if (!requireOneOptionsObject(info, "extractSemanticFacets requires one options object")) return info.Env().Null();
  TitleOptions options;
  SemanticError error;
  if (!readTitleOptions(env, info[0], &options, &error)) return refuse(env, ErrorKind::kTypeError, error.message);
  std::shared_ptr<const LoadedPack> loaded;
  if (!RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &loaded, &error)) {
    return refuse(env, ErrorKind::kError, error.message);
  }
  const SemanticFacets facets = corvenda::extractSemanticFacets(loaded->table, options.raw, options.normalizedEnglish);
  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setText(env, result, "facetContract", "native-facet-v1");
  setValue(env, result, "hits", makeList(env, facets.hits, makeHit));
  setValue(env, result, "groups", makeList(env, facets.groups, makeGroup));
  return {env, result};
}

}  // namespace corvenda
