#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/shared_descriptions.h"
#include "cache/rule_pack_loader.h"

namespace corvenda {

struct PackInspection {
  const RulePack* pack = nullptr;
};

template <typename Out>
void describe(Out& out, const PackInspection& inspection) {
  const RulePackMetadata& metadata = inspection.pack->metadata;
  putConstant(out, "ok", true);
  put(out, "schema", metadata.schema);
  put(out, "kind", metadata.kind);
  put(out, "ruleSetId", metadata.ruleSetId);
  put(out, "baseRuleSetId", metadata.baseRuleSetId);
  put(out, "payloadSha256", metadata.payloadSha256);
  describe(out, *inspection.pack);
}

napi_value exports::inspectRulePack(napi_env env, napi_value object, Failure* failure) {
  std::string packPath;
  std::string allowedRoot;
  std::shared_ptr<const LoadedPack> loaded;
  if (!requireStringOption(env, object, "packPath", &packPath, failure) ||
      !requireStringOption(env, object, "allowedRoot", &allowedRoot, failure) ||
      !RulePackLoader(packPath, allowedRoot, semanticCache().baseSlot, &loaded, failure)) {
    return nullptr;
  }
  return makeObject(env, PackInspection{&loaded->pack});
}

}  // namespace corvenda
