// The module's entry: registers names, nothing else.
#include "addon/exports.h"

namespace corvenda {
namespace {

struct Export {
  const char* name;
  Napi::Value (*function)(const Napi::CallbackInfo&);
};

constexpr Export kExports[] = {
    {"getSemanticInfo", exports::getSemanticInfo},
    {"inspectRulePack", exports::inspectRulePack},
    {"inspectSemanticDelta", exports::inspectSemanticDelta},
    {"verifySemanticDeltaManifest", exports::verifySemanticDeltaManifest},
    {"lookupBinaryIndex", exports::lookupBinaryIndex},
    {"lookupBinaryIndexOverlay", exports::lookupBinaryIndexOverlay},
    {"evaluateWorkflowPolicy", exports::evaluateWorkflowPolicy},
    {"extractSemanticFacets", exports::extractSemanticFacets},
    {"resolveSceneIntent", exports::resolveSceneIntent},
    {"resolveSceneIntentBatch", exports::resolveSceneIntentBatch},
    {"resolveCelebrityBadgeBatch", exports::resolveCelebrityBadgeBatch},
    {"warmSemanticRulePack", exports::warmSemanticRulePack},
};

Napi::Object registerExports(Napi::Env env, Napi::Object exports) {
  // Without a name: the functions' own `name` is the empty string, by contract.
  for (const Export& entry : kExports) exports.Set(entry.name, Napi::Function::New(env, entry.function));
  return exports;
}

}  // namespace

NODE_API_MODULE(corvenda_semantic, registerExports)

}  // namespace corvenda
