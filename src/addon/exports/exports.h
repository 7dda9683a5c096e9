// The twelve functions of the module, in the order of registration. What each takes and gives is in lib/index.d.cts.
//
// Each gets its first argument, undefined if there is none, and gives its result, or null after a failure: `failure`
// then says what to throw, unless an exception is pending already.
#pragma once

#include "addon/border.h"

namespace corvenda::exports {

napi_value getSemanticInfo(napi_env env, napi_value object, Failure* failure);
napi_value inspectRulePack(napi_env env, napi_value object, Failure* failure);
napi_value inspectSemanticDelta(napi_env env, napi_value object, Failure* failure);
napi_value verifySemanticDeltaManifest(napi_env env, napi_value object, Failure* failure);
napi_value lookupBinaryIndex(napi_env env, napi_value object, Failure* failure);
napi_value lookupBinaryIndexOverlay(napi_env env, napi_value object, Failure* failure);
napi_value evaluateWorkflowPolicy(napi_env env, napi_value object, Failure* failure);
napi_value extractSemanticFacets(napi_env env, napi_value object, Failure* failure);
napi_value resolveSceneIntent(napi_env env, napi_value object, Failure* failure);
napi_value resolveSceneIntentBatch(napi_env env, napi_value object, Failure* failure);
napi_value resolveCelebrityBadgeBatch(napi_env env, napi_value object, Failure* failure);
napi_value warmSemanticRulePack(napi_env env, napi_value object, Failure* failure);

}  // namespace corvenda::exports
