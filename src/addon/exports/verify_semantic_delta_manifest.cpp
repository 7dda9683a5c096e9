#include "addon/border.h"
#include "addon/exports/exports.h"
#include "delta/delta_manifest.h"

namespace corvenda {
namespace {

struct ManifestOptions {
  std::string manifestPath;
  DeltaExpectation expected;
};

bool readOptions(napi_env env, napi_value object, ManifestOptions* options, SemanticError* error) {
  DeltaExpectation& expected = options->expected;
  return requireStringOption(env, object, "manifestPath", &options->manifestPath, error) &&
         requireStringOption(env, object, "packPath", &expected.packPath, error) &&
         requireStringOption(env, object, "allowedRoot", &expected.allowedRoot, error) &&
         requireStringOption(env, object, "baseRuleSetId", &expected.baseRuleSetId, error) &&
         requireStringOption(env, object, "ruleSetId", &expected.ruleSetId, error);
}

}  // namespace

Napi::Value exports::verifySemanticDeltaManifest(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  if (!requireOneOptionsObject(info, "verifySemanticDeltaManifest requires one options object")) {
    return info.Env().Null();
  }
  ManifestOptions options;
  SemanticError error;
  if (!readOptions(env, info[0], &options, &error)) return refuse(env, ErrorKind::kTypeError, error.message);
  DeltaManifest manifest;
  if (!corvenda::verifySemanticDeltaManifest(options.manifestPath, options.expected, &manifest, &error)) {
    return refuse(env, ErrorKind::kError, error.message);
  }
  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setText(env, result, "contract", "native-semantic-delta-manifest-v1");
  setText(env, result, "baseRuleSetId", manifest.baseRuleSetId);
  setText(env, result, "ruleSetId", manifest.ruleSetId);
  setText(env, result, "packSha256", manifest.packSha256);
  setBoolean(env, result, "signatureVerified", true);
  return {env, result};
}

}  // namespace corvenda
