#include "addon/exports/exports.h"
#include "addon/result.h"

namespace corvenda {

struct ContractInfo {};

template <typename Out>
void describe(Out& out, const ContractInfo& /*info*/) {
  putConstant(out, "ok", true);
  putConstant(out, "module", "CorvendaSemantic");
  putConstant(out, "market", "EN");
  put(out, "contractVersion", 1);
  putConstant(out, "stage", "native-stage-semantic-rule-pack-v1");
  putConstant(out, "binary", "corvenda_semantic.node");
  putConstant(out, "packSchema", "corvenda.semantic-rule-pack.v1");
  put(out, "packVersion", 1);
  putConstant(out, "testKeyOnly", false);
  putConstant(out, "releaseKeyId", "release-v1");
}

napi_value exports::getSemanticInfo(napi_env env, napi_value /*object*/, Failure* /*failure*/) {
  return makeObject(env, ContractInfo());
}

}  // namespace corvenda
