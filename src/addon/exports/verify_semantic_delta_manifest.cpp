#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/result.h"
#include "delta/delta_manifest.h"

namespace corvenda {

template <typename Out>
void describe(Out& out, const DeltaManifest& manifest) {
  putConstant(out, "ok", true);
  putConstant(out, "contract", "native-semantic-delta-manifest-v1");
  put(out, "baseRuleSetId", manifest.baseRuleSetId);
  put(out, "ruleSetId", manifest.ruleSetId);
  put(out, "packSha256", manifest.packSha256);
  putConstant(out, "signatureVerified", true);
}

namespace {

struct ManifestOptions {
  std::string manifestPath;
  DeltaExpectation expected;
};

bool readOptions(napi_env env, napi_value object, ManifestOptions* options, Failure* failure) {
  DeltaExpectation& expected = options->expected;
  return requireStringOption(env, object, "manifestPath", &options->manifestPath, failure) &&
         requireStringOption(env, object, "packPath", &expected.packPath, failure) &&
         requireStringOption(env, object, "allowedRoot", &expected.allowedRoot, failure) &&
         requireStringOption(env, object, "baseRuleSetId", &expected.baseRuleSetId, failure) &&
         requireStringOption(env, object, "ruleSetId", &expected.ruleSetId, failure);
}

}  // namespace

napi_value exports::verifySemanticDeltaManifest(napi_env env, napi_value object, Failure* failure) {
  ManifestOptions options;
  DeltaManifest manifest;
  if (!readOptions(env, object, &options, failure) ||
      !corvenda::verifySemanticDeltaManifest(options.manifestPath, options.expected, &manifest, failure)) {
    return nullptr;
  }
  return makeObject(env, manifest);
}

}  // namespace corvenda
