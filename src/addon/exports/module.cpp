// The module: the names of its functions.
#include "addon/entry.h"
#include "addon/exports/exports.h"

namespace corvenda {
namespace {

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

}  // namespace
}  // namespace corvenda

NAPI_MODULE_INIT() { return corvenda::registerExports(env, exports, corvenda::kExports); }
