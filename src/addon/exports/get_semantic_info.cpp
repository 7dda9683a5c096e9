#include "addon/border.h"
#include "addon/exports/exports.h"

namespace corvenda {

Napi::Value exports::getSemanticInfo(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setText(env, result, "module", "CorvendaSemantic");
  setText(env, result, "market", "EN");
  setNumber(env, result, "contractVersion", 1);
  setText(env, result, "stage", "native-stage-semantic-rule-pack-v1");
  setText(env, result, "binary", "corvenda_semantic.node");
  setText(env, result, "packSchema", "corvenda.semantic-rule-pack.v1");
  setNumber(env, result, "packVersion", 1);
  setBoolean(env, result, "testKeyOnly", false);
  setText(env, result, "releaseKeyId", "release-v1");
  return {env, result};
}

}  // namespace corvenda
