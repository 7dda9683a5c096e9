#include <memory>

#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/result.h"
#include "cache/warm_up.h"

namespace corvenda {

struct WarmUpResult {
  bool prewarmed = false;
};

template <typename Out>
void describe(Out& out, const WarmUpResult& result) {
  putConstant(out, "ok", true);
  putConstant(out, "authority", "native");
  put(out, "prewarmed", result.prewarmed);
}

namespace {

/// Owned by the queued work from the moment it is queued until its completion has run. The worker thread reads and
/// writes `request`, `error` and `prewarmed`, and no JavaScript value.
struct SemanticWarmTask {
  WarmUpRequest request;
  SemanticError error;
  bool prewarmed = false;
  napi_deferred deferred = nullptr;
  napi_async_work work = nullptr;
};

bool readOverlayOptions(napi_env env, napi_value object, WarmUpRequest* request, Failure* failure) {
  if (!hasProperty(env, object, "overlayPackPath")) return true;
  const napi_value path = getProperty(env, object, "overlayPackPath");
  if (isUndefinedOrNull(env, path)) return true;
  if (!isString(env, path)) return failAs(failure, ErrorKind::kTypeError, "overlayPackPath must be a string");
  request->overlayPackPath = readString(env, path);
  return request->overlayPackPath.empty() ||
         requireStringOption(env, object, "overlayAllowedRoot", &request->overlayAllowedRoot, failure);
}

bool readOptions(napi_env env, napi_value object, WarmUpRequest* request, Failure* failure) {
  return requireStringOption(env, object, "packPath", &request->packPath, failure) &&
         requireStringOption(env, object, "allowedRoot", &request->allowedRoot, failure) &&
         readOverlayOptions(env, object, request, failure);
}

void execute(napi_env /*env*/, void* data) {
  auto* const task = static_cast<SemanticWarmTask*>(data);
  task->prewarmed = warmUp(task->request, &task->error);
}

void rejectPromise(napi_env env, const SemanticWarmTask& task) {
  napi_value error = nullptr;
  if (napi_create_error(env, nullptr, makeText(env, task.error.message), &error) != napi_ok) return;
  napi_reject_deferred(env, task.deferred, error);
}

void resolvePromise(napi_env env, const SemanticWarmTask& task) {
  const napi_value result = makeObject(env, WarmUpResult{task.prewarmed});
  if (result != nullptr) napi_resolve_deferred(env, task.deferred, result);
}

/// Runs on the JavaScript thread, also while its environment is going away: then every call that would enter JavaScript
/// fails, and there is nobody left to tell.
void complete(napi_env env, napi_status status, void* data) {
  const std::unique_ptr<SemanticWarmTask> task(static_cast<SemanticWarmTask*>(data));
  const HandleScope scope(env);
  if (status == napi_ok) {
    // One failure of a load has no words: it leaves "prewarmed" false and nothing else.
    task->error.message.empty() ? resolvePromise(env, *task) : rejectPromise(env, *task);
  }
  napi_delete_async_work(env, task->work);
}

/// Queues the work and gives its promise, or null with an exception pending.
napi_value queueWarmUp(napi_env env, std::unique_ptr<SemanticWarmTask> task) {
  napi_value promise = nullptr;
  if (!settled(env, napi_create_async_work(env, nullptr, makeText(env, "generic"), execute, complete, task.get(),
                                           &task->work))) {
    return nullptr;
  }
  // The promise comes after the work, because it can't be taken back: a deferred is freed by settling it alone.
  if (!settled(env, napi_create_promise(env, &task->deferred, &promise)) ||
      !settled(env, napi_queue_async_work(env, task->work))) {
    napi_delete_async_work(env, task->work);
    return nullptr;
  }
  (void)task.release();  // to `complete`
  return promise;
}

}  // namespace

napi_value exports::warmSemanticRulePack(napi_env env, napi_value object, Failure* failure) {
  auto task = std::make_unique<SemanticWarmTask>();
  if (!readOptions(env, object, &task->request, failure)) return nullptr;
  return queueWarmUp(env, std::move(task));
}

}  // namespace corvenda
