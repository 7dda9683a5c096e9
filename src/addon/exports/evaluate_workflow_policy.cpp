#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/result.h"
#include "workflow/workflow_policy.h"

namespace corvenda {

struct WorkflowAnswer {
  const WorkflowTitle& title;
  const WorkflowDecision& decision;
};

template <typename Out>
void describe(Out& out, const WorkflowAnswer& answer) {
  putConstant(out, "ok", true);
  putConstant(out, "policyContract", "native-workflow-v1");
  put(out, "suppressed", answer.decision.suppressed);
  put(out, "sceneKey", answer.title.sceneKey);
  put(out, "alias", answer.title.alias);
  put(out, "detail", answer.title.detail);
  put(out, "overrideType", answer.title.overrideType);
  put(out, "hasAssetWorkflowContext", !answer.decision.assetWord.empty());
  put(out, "hasHardWorkflowContext", !answer.decision.hardWord.empty());
  put(out, "reason", answer.decision.reason);
}

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

napi_value exports::evaluateWorkflowPolicy(napi_env env, napi_value object, Failure* failure) {
  // Looser than the other entry checks: further arguments are ignored, and an array reads as an object without options.
  if (!isObjectLike(env, object)) {
    failAs(failure, ErrorKind::kTypeError, "workflow policy options must be an object");
    return nullptr;
  }
  const WorkflowTitle title = readTitle(env, object);
  return makeObject(env, WorkflowAnswer{title, corvenda::evaluateWorkflowPolicy(title)});
}

}  // namespace corvenda
