// The module's entry: registers names, nothing else.
//
// Plain Node-API calls instead of Napi::Function and Object::Set: a worker may be terminated while it loads the module,
// every call that follows then fails, and the wrappers abort the process over that.
#include "addon/border.h"
#include "addon/exports/exports.h"

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

/// Every function's callback: its row of the table is the callback data.
napi_value trampoline(napi_env env, napi_callback_info callbackInfo) {
  void* entry = nullptr;
  if (!settled(env, napi_get_cb_info(env, callbackInfo, nullptr, nullptr, nullptr, &entry))) return nullptr;
  const Napi::CallbackInfo info(env, callbackInfo);
  return static_cast<const Export*>(entry)->function(info);
}

/// A row that fails leaves its exception behind, and the rest of the table is still tried.
napi_value registerExports(napi_env env, napi_value exports) {
  for (const Export& entry : kExports) {
    napi_value function = nullptr;
    // Without a name: the functions' own `name` is the empty string, by contract.
    auto* const data = const_cast<Export*>(&entry);  // Node-API hands it back as it is and never writes to it
    settled(env, napi_create_function(env, nullptr, NAPI_AUTO_LENGTH, trampoline, data, &function));
    setValue(env, exports, entry.name, function);
  }
  return exports;
}

}  // namespace
}  // namespace corvenda

NAPI_MODULE_INIT() { return corvenda::registerExports(env, exports); }
