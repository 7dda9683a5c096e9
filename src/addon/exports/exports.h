// The twelve functions of the module, in the order of registration. What each takes and gives is in lib/index.d.cts.
#pragma once

#include <napi.h>

namespace corvenda::exports {

Napi::Value getSemanticInfo(const Napi::CallbackInfo& info);
Napi::Value inspectRulePack(const Napi::CallbackInfo& info);
Napi::Value inspectSemanticDelta(const Napi::CallbackInfo& info);
Napi::Value verifySemanticDeltaManifest(const Napi::CallbackInfo& info);
Napi::Value lookupBinaryIndex(const Napi::CallbackInfo& info);
Napi::Value lookupBinaryIndexOverlay(const Napi::CallbackInfo& info);
Napi::Value evaluateWorkflowPolicy(const Napi::CallbackInfo& info);
Napi::Value extractSemanticFacets(const Napi::CallbackInfo& info);
Napi::Value resolveSceneIntent(const Napi::CallbackInfo& info);
Napi::Value resolveSceneIntentBatch(const Napi::CallbackInfo& info);
Napi::Value resolveCelebrityBadgeBatch(const Napi::CallbackInfo& info);
Napi::Value warmSemanticRulePack(const Napi::CallbackInfo& info);

}  // namespace corvenda::exports
