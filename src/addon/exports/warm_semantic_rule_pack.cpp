#include "addon/border.h"
#include "addon/exports/exports.h"
#include "cache/warm_up.h"

namespace corvenda {
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

bool readOverlayOptions(napi_env env, napi_value object, WarmUpRequest* request, SemanticError* error) {
  if (!hasProperty(env, object, "overlayPackPath")) return true;
  const napi_value path = getProperty(env, object, "overlayPackPath");
  if (isUndefinedOrNull(env, path)) return true;
  if (!isString(env, path)) return fail(error, "overlayPackPath must be a string");
  request->overlayPackPath = readString(env, path);
  return request->overlayPackPath.empty() ||
         requireStringOption(env, object, "overlayAllowedRoot", &request->overlayAllowedRoot, error);
}

bool readOptions(napi_env env, napi_value object, WarmUpRequest* request, SemanticError* error) {
  return requireStringOption(env, object, "packPath", &request->packPath, error) &&
         requireStringOption(env, object, "allowedRoot", &request->allowedRoot, error) &&
         readOverlayOptions(env, object, request, error);
}

void execute(napi_env /*env*/, void* data) {
  auto* const task = static_cast<SemanticWarmTask*>(data);
  task->prewarmed = warmUp(task->request, &task->error);
}

void rejectPromise(napi_env env, const SemanticWarmTask& task) {
  napi_value error = nullptr;
  if (napi_create_error(env, nullptr, makeString(env, task.error.message), &error) != napi_ok) return;
  napi_reject_deferred(env, task.deferred, error);
}

void resolvePromise(napi_env env, const SemanticWarmTask& task) {
  const napi_value result = makeObject(env);
  if (setBoolean(env, result, "ok", true) && setText(env, result, "authority", "native") &&
      setBoolean(env, result, "prewarmed", task.prewarmed)) {
    napi_resolve_deferred(env, task.deferred, result);
    return;
  }
  // A setter that somebody put on Object.prototype has thrown.
  napi_value reason = nullptr;
  if (napi_get_and_clear_last_exception(env, &reason) == napi_ok) napi_reject_deferred(env, task.deferred, reason);
}

/// Runs on the JavaScript thread, also while its environment is going away: then every call that would enter JavaScript
/// fails, and there is nobody left to tell. So nothing here throws and no wrapper is used, whose destructors abort.
void complete(napi_env env, napi_status status, void* data) {
  const std::unique_ptr<SemanticWarmTask> task(static_cast<SemanticWarmTask*>(data));
  napi_handle_scope scope = nullptr;
  if (napi_open_handle_scope(env, &scope) == napi_ok) {
    if (status == napi_ok) {
      // One failure of a load has no words: it leaves "prewarmed" false and nothing else.
      task->error.message.empty() ? resolvePromise(env, *task) : rejectPromise(env, *task);
    }
    napi_close_handle_scope(env, scope);
  }
  napi_delete_async_work(env, task->work);
}

/// Queues the work and gives its promise, or null with an exception pending.
napi_value queueWarmUp(napi_env env, std::unique_ptr<SemanticWarmTask> task) {
  napi_value promise = nullptr;
  if (!settled(env, napi_create_async_work(env, nullptr, makeString(env, "generic"), execute, complete, task.get(),
                                           &task->work))) {
    return nullptr;
  }
  // The promise comes behind the work, because it can't be taken back: a deferred is freed by settling it alone.
  if (!settled(env, napi_create_promise(env, &task->deferred, &promise)) ||
      !settled(env, napi_queue_async_work(env, task->work))) {
    napi_delete_async_work(env, task->work);
    return nullptr;
  }
  (void)task.release();  // to `complete`
  return promise;
}

}  // namespace

Napi::Value exports::warmSemanticRulePack(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  if (!requireOneOptionsObject(info, "warmSemanticRulePack requires one options object")) return info.Env().Null();
  auto task = std::make_unique<SemanticWarmTask>();
  SemanticError error;
  if (!readOptions(env, info[0], &task->request, &error)) return refuse(env, ErrorKind::kTypeError, error.message);
  const napi_value promise = queueWarmUp(env, std::move(task));
  if (promise == nullptr) return info.Env().Null();
  return {env, promise};
}

}  // namespace corvenda
