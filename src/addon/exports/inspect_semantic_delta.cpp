#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/shared_descriptions.h"
#include "delta/delta_inspection.h"

namespace corvenda {

struct DeltaInspection {
  const RulePack* pack = nullptr;
};

template <typename Out>
void describe(Out& out, const DeltaInspection& inspection) {
  const RulePackMetadata& metadata = inspection.pack->metadata;
  putConstant(out, "ok", true);
  putConstant(out, "contract", "native-semantic-delta-v1");
  put(out, "kind", metadata.kind);
  put(out, "baseRuleSetId", metadata.baseRuleSetId);
  put(out, "ruleSetId", metadata.ruleSetId);
  put(out, "payloadSha256", metadata.payloadSha256);
  describe(out, *inspection.pack);
}

namespace {

bool readOptions(napi_env env, napi_value options, DeltaExpectation* expected, Failure* failure) {
  if (!requireStringOption(env, options, "packPath", &expected->packPath, failure) ||
      !requireStringOption(env, options, "allowedRoot", &expected->allowedRoot, failure) ||
      !requireStringOption(env, options, "baseRuleSetId", &expected->baseRuleSetId, failure) ||
      !requireStringOption(env, options, "ruleSetId", &expected->ruleSetId, failure)) {
    return false;
  }
  return expected->baseRuleSetId != expected->ruleSetId ||
         failAs(failure, ErrorKind::kRangeError, "semantic delta base and target rule-set ids must differ");
}

}  // namespace

napi_value exports::inspectSemanticDelta(napi_env env, napi_value object, Failure* failure) {
  DeltaExpectation expected;
  std::shared_ptr<const LoadedPack> loaded;
  if (!readOptions(env, object, &expected, failure) || !corvenda::inspectSemanticDelta(expected, &loaded, failure)) {
    return nullptr;
  }
  return makeObject(env, DeltaInspection{&loaded->pack});
}

}  // namespace corvenda
