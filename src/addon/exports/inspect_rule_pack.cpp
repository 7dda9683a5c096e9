#include "addon/pack_summary.h"

#include "addon/border.h"
#include "addon/exports/exports.h"
#include "cache/rule_pack_loader.h"

namespace corvenda {
namespace {

napi_value makeCounts(napi_env env, const std::map<std::string, std::uint32_t>& counts) {
  const napi_value object = makeObject(env);
  for (const auto& [name, count] : counts) setNumber(env, object, name.c_str(), count);
  return object;
}

napi_value makeBinaryIndex(napi_env env, const RulePack& pack) {
  const napi_value object = makeObject(env);
  setNumber(env, object, "version", pack.indexVersion);
  setNumber(env, object, "sectionCount", pack.indexSectionCount);
  setNumber(env, object, "sourceDocumentCount", pack.sourceDocumentCount);
  setNumber(env, object, "bytes", pack.indexBytes);
  setValue(env, object, "sectionCounts", makeCounts(env, pack.sectionCounts));
  return object;
}

}  // namespace

void setPackSummary(napi_env env, napi_value result, const RulePack& pack) {
  setNumber(env, result, "documentCount", pack.documentCount);
  setNumber(env, result, "packBytes", pack.packBytes);
  setValue(env, result, "documentCounts", makeCounts(env, pack.documentCounts));
  setValue(env, result, "binaryIndex", makeBinaryIndex(env, pack));
}

Napi::Value exports::inspectRulePack(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  if (!requireOneOptionsObject(info, "inspectRulePack requires one options object")) return info.Env().Null();
  std::string packPath;
  std::string allowedRoot;
  SemanticError error;
  if (!requireStringOption(env, info[0], "packPath", &packPath, &error) ||
      !requireStringOption(env, info[0], "allowedRoot", &allowedRoot, &error)) {
    return refuse(env, ErrorKind::kTypeError, error.message);
  }
  std::shared_ptr<const LoadedPack> loaded;
  if (!RulePackLoader(packPath, allowedRoot, semanticCache().baseSlot, &loaded, &error)) {
    return refuse(env, ErrorKind::kError, error.message);
  }
  const RulePack& pack = loaded->pack;
  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setText(env, result, "schema", pack.metadata.schema);
  setText(env, result, "kind", pack.metadata.kind);
  setText(env, result, "ruleSetId", pack.metadata.ruleSetId);
  setText(env, result, "baseRuleSetId", pack.metadata.baseRuleSetId);
  setText(env, result, "payloadSha256", pack.metadata.payloadSha256);
  setPackSummary(env, result, pack);
  return {env, result};
}

}  // namespace corvenda
