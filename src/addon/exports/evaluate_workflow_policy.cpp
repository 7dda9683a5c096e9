#include "addon/border.h"
#include "addon/exports/exports.h"
#include "workflow/workflow_policy.h"

namespace corvenda {
namespace {

WorkflowTitle readTitle(napi_env env, napi_value options) {
  WorkflowTitle title;
  title.raw = readStringOrEmpty(env, options, "raw");
  title.normalizedEnglish = readStringOrEmpty(env, options, "normalizedEnglish");
  title.sceneKey = readStringOrEmpty(env, options, "sceneKey");
  title.alias = readStringOrEmpty(env, options, "alias");
  title.detail = readStringOrEmpty(env, options, "detail");
  title.overrideType = readStringOrEmpty(env, options, "overrideType");
  return title;
}

}  // namespace

Napi::Value exports::evaluateWorkflowPolicy(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  // Looser than the other entry checks: further arguments are ignored, and an array reads as an object without options.
  if (info.Length() < 1 || !isObjectLike(env, info[0])) {
    refuse(env, ErrorKind::kTypeError, "workflow policy options must be an object");
    return {};
  }
  const WorkflowTitle title = readTitle(env, info[0]);
  const WorkflowDecision decision = corvenda::evaluateWorkflowPolicy(title);
  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setText(env, result, "policyContract", "native-workflow-v1");
  setBoolean(env, result, "suppressed", decision.suppressed);
  setText(env, result, "sceneKey", title.sceneKey);
  setText(env, result, "alias", title.alias);
  setText(env, result, "detail", title.detail);
  setText(env, result, "overrideType", title.overrideType);
  setBoolean(env, result, "hasAssetWorkflowContext", decision.hasAssetWorkflowContext);
  setBoolean(env, result, "hasHardWorkflowContext", decision.hasHardWorkflowContext);
  setText(env, result, "reason", decision.reason);
  return {env, result};
}

}  // namespace corvenda
