#include "addon/border.h"
#include "addon/exports/exports.h"
#include "addon/pack_summary.h"
#include "delta/delta_inspection.h"

namespace corvenda {
namespace {

bool readOptions(napi_env env, napi_value object, DeltaExpectation* expected, SemanticError* error) {
  return requireStringOption(env, object, "packPath", &expected->packPath, error) &&
         requireStringOption(env, object, "allowedRoot", &expected->allowedRoot, error) &&
         requireStringOption(env, object, "baseRuleSetId", &expected->baseRuleSetId, error) &&
         requireStringOption(env, object, "ruleSetId", &expected->ruleSetId, error);
}

}  // namespace

Napi::Value exports::inspectSemanticDelta(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  if (!requireOneOptionsObject(info, "inspectSemanticDelta requires one options object")) return info.Env().Null();
  DeltaExpectation expected;
  SemanticError error;
  if (!readOptions(env, info[0], &expected, &error)) return refuse(env, ErrorKind::kTypeError, error.message);
  if (expected.baseRuleSetId == expected.ruleSetId) {
    return refuse(env, ErrorKind::kRangeError, "semantic delta base and target rule-set ids must differ");
  }
  std::shared_ptr<const LoadedPack> loaded;
  if (!corvenda::inspectSemanticDelta(expected, &loaded, &error)) {
    return refuse(env, ErrorKind::kError, error.message);
  }
  const RulePackMetadata& metadata = loaded->pack.metadata;
  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setText(env, result, "contract", "native-semantic-delta-v1");
  setText(env, result, "kind", metadata.kind);
  setText(env, result, "baseRuleSetId", metadata.baseRuleSetId);
  setText(env, result, "ruleSetId", metadata.ruleSetId);
  setText(env, result, "payloadSha256", metadata.payloadSha256);
  setPackSummary(env, result, loaded->pack);
  return {env, result};
}

}  // namespace corvenda
