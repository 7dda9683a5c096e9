// As much of a runtime as the registration of a module calls; compiled into two files, which count apart.
#include <node_api.h>

namespace {
int functions = 0;
}

napi_status napi_create_function(napi_env, const char*, size_t, napi_callback, void*, napi_value* result) {
  *result = reinterpret_cast<napi_value>(&functions);
  return napi_ok;
}

napi_status napi_set_named_property(napi_env, napi_value, const char*, napi_value value) {
  functions += value == reinterpret_cast<napi_value>(&functions) ? 1 : 0;
  return napi_ok;
}

// What the registration asks of the runtime for later calls: here is none of it.
napi_status napi_get_instance_data(napi_env, void**) { return napi_generic_failure; }
napi_status napi_get_global(napi_env, napi_value*) { return napi_generic_failure; }
napi_status napi_create_string_utf16(napi_env, const char16_t*, size_t, napi_value*) { return napi_ok; }
napi_status napi_is_exception_pending(napi_env, bool*) { return napi_generic_failure; }
napi_status napi_get_and_clear_last_exception(napi_env, napi_value*) { return napi_generic_failure; }

/// How many properties were set to a function that was created here.
extern "C" NAPI_EXTERN int registeredFunctions() { return functions; }
