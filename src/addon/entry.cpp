#include "addon/entry.h"

#include "addon/environment.h"

namespace corvenda {
namespace {

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

}  // namespace

napi_value registerExports(napi_env env, napi_value exports, std::span<const Export> table) {
  findProxyTest(env);
  for (const Export& entry : table) {
    napi_value function = nullptr;
    // Without a name: the functions' own `name` is the empty string, by contract.
    auto* const data = const_cast<Export*>(&entry);  // Node-API hands it back as it is and never writes to it
    settled(env, napi_create_function(env, nullptr, NAPI_AUTO_LENGTH, trampoline, data, &function));
    settled(env, napi_set_named_property(env, exports, entry.name, function));
  }
  return exports;
}

}  // namespace corvenda
