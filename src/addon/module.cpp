// The module's entry: registers names, and leads every call through one entry check and one way out.
#include "addon/exports/exports.h"

namespace corvenda {
namespace {

struct Export {
  const char* name;
  napi_value (*function)(napi_env env, napi_value options, Failure* failure);
  /// What the call says unless it gets one argument, an object or function that is no array; null for no such check.
  const char* entryMessage;
};

constexpr Export kExports[] = {
    {"getSemanticInfo", exports::getSemanticInfo, nullptr},
    {"inspectRulePack", exports::inspectRulePack, "inspectRulePack requires one options object"},
    {"inspectSemanticDelta", exports::inspectSemanticDelta, "inspectSemanticDelta requires one options object"},
    {"verifySemanticDeltaManifest", exports::verifySemanticDeltaManifest,
     "verifySemanticDeltaManifest requires one options object"},
    {"lookupBinaryIndex", exports::lookupBinaryIndex, "lookupBinaryIndex requires one options object"},
    {"lookupBinaryIndexOverlay", exports::lookupBinaryIndexOverlay,
     "lookupBinaryIndexOverlay requires one options object"},
    {"evaluateWorkflowPolicy", exports::evaluateWorkflowPolicy, nullptr},
    {"extractSemanticFacets", exports::extractSemanticFacets, "extractSemanticFacets requires one options object"},
    {"resolveSceneIntent", exports::resolveSceneIntent, "resolveSceneIntent requires one options object"},
    {"resolveSceneIntentBatch", exports::resolveSceneIntentBatch,
     "resolveSceneIntentBatch requires one options object"},
    {"resolveCelebrityBadgeBatch", exports::resolveCelebrityBadgeBatch,
     "resolveCelebrityBadgeBatch requires one options object"},
    {"warmSemanticRulePack", exports::warmSemanticRulePack, "warmSemanticRulePack requires one options object"},
};

napi_value call(napi_env env, const Export& entry, std::size_t argumentCount, napi_value options, Failure* failure) {
  if (entry.entryMessage != nullptr && (argumentCount != 1 || !isPlainObject(env, options))) {
    failAs(failure, ErrorKind::kTypeError, entry.entryMessage);
    return nullptr;
  }
  return entry.function(env, options, failure);
}

/// Every function's callback: its row of the table is the callback data.
napi_value trampoline(napi_env env, napi_callback_info info) {
  void* entry = nullptr;
  napi_value options = nullptr;
  std::size_t argumentCount = 1;  // room for one; all of them afterwards
  if (!settled(env, napi_get_cb_info(env, info, &argumentCount, &options, nullptr, &entry))) return nullptr;
  Failure failure;
  const napi_value result = call(env, *static_cast<const Export*>(entry), argumentCount, options, &failure);
  if (result == nullptr) throwFailure(env, failure);
  return result;
}

/// A row that fails leaves its exception pending, and the rest of the table is still tried.
napi_value registerExports(napi_env env, napi_value exports) {
  for (const Export& entry : kExports) {
    napi_value function = nullptr;
    // Without a name: the functions' own `name` is the empty string, by contract.
    auto* const data = const_cast<Export*>(&entry);  // Node-API hands it back as it is and never writes to it
    settled(env, napi_create_function(env, nullptr, NAPI_AUTO_LENGTH, trampoline, data, &function));
    settled(env, napi_set_named_property(env, exports, entry.name, function));
  }
  return exports;
}

}  // namespace
}  // namespace corvenda

NAPI_MODULE_INIT() { return corvenda::registerExports(env, exports); }
