#include "addon/exports/exports.h"
#include "addon/result.h"

namespace corvenda {

struct ContractInfo {};

template <typename Out>
void describe(Out& out, const ContractInfo& /*info*/) {
  put(out, "ok", true);
  put(out, "module", "CorvendaSemantic");
  put(out, "market", "EN");
  put(out, "contractVersion", 1);
  put(out, "stage", "native-stage-semantic-rule-pack-v1");
  put(out, "binary", "corvenda_semantic.node");
  put(out, "packSchema", "corvenda.semantic-rule-pack.v1");
  put(out, "packVersion", 1);
  put(out, "testKeyOnly", false);
  put(out, "releaseKeyId", "release-v1");
}

napi_value exports::getSemanticInfo(napi_env env, napi_value /*object*/, Failure* /*failure*/) {
  return makeObject(env, ContractInfo());
}

}  // namespace corvenda
