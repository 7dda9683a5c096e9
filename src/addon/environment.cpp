#include "addon/environment.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <utility>

#include "addon/object_rows.h"
#include "functions_js.h"

namespace corvenda {
namespace {

constexpr std::size_t kScriptFunctionCount = 4;

/// A typed array that is used again and again, and where its numbers are.
struct SharedArray {
  napi_ref array = nullptr;
  void* data = nullptr;
  std::size_t capacity = 0;
};

struct CompiledFunction {
  ScriptSource source;
  napi_ref function;
};

struct Environment {
  bool scriptsTried = false;
  std::array<napi_ref, kScriptFunctionCount> functions{};  ///< null if the host runs no scripts
  std::vector<CompiledFunction> compiled;
  napi_ref isProxy = nullptr;  ///< null if the host doesn't offer it
  SharedArray integers;
  SharedArray numbers;
  TextTable texts;            ///< its `chunks` are those of the reference
  napi_ref chunks = nullptr;  ///< null if no texts are kept
};

void deleteReference(napi_env env, napi_ref reference) {
  if (reference != nullptr) napi_delete_reference(env, reference);
}

void destroy(napi_env env, void* data, void* /*hint*/) {
  const std::unique_ptr<Environment> environment(static_cast<Environment*>(data));
  for (napi_ref function : environment->functions) deleteReference(env, function);
  for (const CompiledFunction& compiled : environment->compiled) deleteReference(env, compiled.function);
  deleteReference(env, environment->isProxy);
  deleteReference(env, environment->integers.array);
  deleteReference(env, environment->numbers.array);
  deleteReference(env, environment->chunks);
}

/// Null only in an environment that is ending.
Environment* environmentOf(napi_env env) {
  void* data = nullptr;
  if (napi_get_instance_data(env, &data) != napi_ok) return nullptr;
  if (data != nullptr) return static_cast<Environment*>(data);
  auto environment = std::make_unique<Environment>();
  if (napi_set_instance_data(env, environment.get(), destroy, nullptr) != napi_ok) return nullptr;
  return environment.release();
}

/// What a reference refers to; null for none.
napi_value referenced(napi_env env, napi_ref reference) {
  napi_value value = nullptr;
  if (reference != nullptr) napi_get_reference_value(env, reference, &value);
  return value;
}

/// The value of a script that is a function, called with `arguments`. Null if that fails, and nothing is pending then:
/// a host that runs no scripts may have thrown.
napi_value runScript(napi_env env, std::string_view source, const std::vector<napi_value>& arguments) {
  // The exception of a caller's getter is not the host's, and has to stay.
  if (isExceptionPending(env)) return nullptr;
  napi_value function = nullptr;
  napi_value result = nullptr;
  if (napi_run_script(env, makeText(env, source), &function) == napi_ok && function != nullptr) {
    result = callFunction(env, function, arguments);
  }
  if (result == nullptr) dropException(env);
  return result;
}

// --- Native functions for functions.js -----------------------------------------------------------------------------

napi_value argumentOf(napi_env env, napi_callback_info info) {
  std::size_t count = 1;
  napi_value argument = nullptr;
  napi_get_cb_info(env, info, &count, &argument, nullptr, nullptr);
  return argument;
}

napi_value isArrayCallback(napi_env env, napi_callback_info info) {
  return makeBoolean(env, isArray(env, argumentOf(env, info)));
}

napi_value filledCallback(napi_env env, napi_callback_info info) {
  std::uint32_t length = 0;
  napi_get_value_uint32(env, argumentOf(env, info), &length);
  return makeFilledArray(env, length);
}

napi_value makeCallback(napi_env env, napi_callback callback) {
  napi_value function = nullptr;
  napi_create_function(env, nullptr, NAPI_AUTO_LENGTH, callback, nullptr, &function);
  return function;
}

void compileScriptFunctions(napi_env env, Environment* environment) {
  const napi_value functions =
      runScript(env, kFunctionsScript, {makeCallback(env, isArrayCallback), makeCallback(env, filledCallback)});
  if (functions == nullptr) return;
  for (std::uint32_t i = 0; i < kScriptFunctionCount; ++i) {
    napi_value function = nullptr;
    napi_get_element(env, functions, i, &function);
    napi_create_reference(env, function, 1, &environment->functions[i]);
  }
}

// --- Proxies -------------------------------------------------------------------------------------------------------

/// What all object literals inherit from; null, with nothing pending, if that can't be said.
napi_value objectPrototype(napi_env env) {
  napi_value object = nullptr;
  napi_value prototype = nullptr;
  napi_create_object(env, &object);
  napi_get_prototype(env, object, &prototype);
  return prototype;
}

// --- Filled arrays ------------------------------------------------------------------------------------------------

/// An array of as many arguments, which take eight bytes each of the stack. Null if the caller has left too little of
/// it, and nothing is pending then.
napi_value collectArguments(napi_env env, std::size_t length) {
  if (isExceptionPending(env)) return nullptr;
  const napi_value collect = scriptFunction(env, ScriptFunction::kCollect);
  napi_value undefined = nullptr;
  napi_get_undefined(env, &undefined);
  const napi_value array = callFunction(env, collect, std::vector<napi_value>(length, undefined));
  if (array == nullptr) dropException(env);
  return array;
}

// --- Shared numbers -----------------------------------------------------------------------------------------------

/// Larger arrays are not kept.
constexpr std::size_t kLargestKept = std::size_t{1} << 17U;

bool makeSharedArray(napi_env env, napi_typedarray_type type, std::size_t size, std::size_t count, SharedArray* shared,
                     napi_value* array) {
  void* data = nullptr;
  napi_value buffer = nullptr;
  const std::size_t capacity = std::max<std::size_t>(4096, count + count / 2);
  if (!settled(env, napi_create_arraybuffer(env, capacity * size, &data, &buffer)) ||
      !settled(env, napi_create_typedarray(env, type, capacity, buffer, 0, array))) {
    return false;
  }
  deleteReference(env, shared->array);
  *shared = {nullptr, data, 0};
  if (capacity <= kLargestKept && napi_create_reference(env, *array, 1, &shared->array) == napi_ok) {
    shared->capacity = capacity;
  }
  return true;
}

template <typename Number>
napi_value share(napi_env env, napi_typedarray_type type, const std::vector<Number>& numbers,
                 SharedArray Environment::*which) {
  Environment* const environment = environmentOf(env);
  if (environment == nullptr) return nullptr;
  SharedArray& shared = environment->*which;
  napi_value array = referenced(env, shared.array);
  if ((array == nullptr || shared.capacity < numbers.size()) &&
      !makeSharedArray(env, type, sizeof(Number), numbers.size(), &shared, &array)) {
    return nullptr;
  }
  if (!numbers.empty()) std::memcpy(shared.data, numbers.data(), numbers.size() * sizeof(Number));
  return array;
}

}  // namespace

napi_value scriptFunction(napi_env env, ScriptFunction function) {
  Environment* const environment = environmentOf(env);
  if (environment == nullptr) return nullptr;
  if (!environment->scriptsTried && !isExceptionPending(env)) {
    environment->scriptsTried = true;
    compileScriptFunctions(env, environment);
  }
  return referenced(env, environment->functions[static_cast<std::size_t>(function)]);
}

napi_value compiledFunction(napi_env env, ScriptSource source, const void* record) {
  Environment* const environment = environmentOf(env);
  if (environment == nullptr) return nullptr;
  for (const CompiledFunction& each : environment->compiled) {
    if (each.source == source) return referenced(env, each.function);
  }
  const napi_value blank = scriptFunction(env, ScriptFunction::kBlank);
  if (blank == nullptr) return nullptr;
  const napi_value function = runScript(env, source(record), {blank});
  napi_ref reference = nullptr;
  if (function != nullptr && napi_create_reference(env, function, 1, &reference) == napi_ok) {
    environment->compiled.push_back({source, reference});
  }
  return function;
}

void findProxyTest(napi_env env) {
  Environment* const environment = environmentOf(env);
  napi_value value = nullptr;
  napi_value process = nullptr;
  napi_get_global(env, &value);
  // process.getBuiltinModule('util').types.isProxy
  const napi_value util = makeText(env, "util");
  const bool found = environment != nullptr && napi_get_named_property(env, value, "process", &process) == napi_ok &&
                     napi_get_named_property(env, process, "getBuiltinModule", &value) == napi_ok &&
                     napi_call_function(env, process, value, 1, &util, &value) == napi_ok &&
                     napi_get_named_property(env, value, "types", &value) == napi_ok &&
                     napi_get_named_property(env, value, "isProxy", &value) == napi_ok &&
                     napi_create_reference(env, value, 1, &environment->isProxy) == napi_ok;
  if (!found) dropException(env);
}

bool isOrdinary(napi_env env, napi_value object) {
  Environment* const environment = environmentOf(env);
  const napi_value isProxy = environment == nullptr ? nullptr : referenced(env, environment->isProxy);
  if (isProxy == nullptr) return false;
  napi_value answer = nullptr;
  napi_value prototype = nullptr;
  bool proxy = true;
  bool plain = false;
  return napi_call_function(env, object, isProxy, 1, &object, &answer) == napi_ok &&
         napi_get_value_bool(env, answer, &proxy) == napi_ok && !proxy &&
         napi_get_prototype(env, object, &prototype) == napi_ok &&
         napi_strict_equals(env, prototype, objectPrototype(env), &plain) == napi_ok && plain;
}

napi_value makeFilledArray(napi_env env, std::size_t length) {
  std::size_t filled = std::min(length, kFilledAtOnce);
  napi_value array = collectArguments(env, filled);
  if (array == nullptr) {
    array = makeArray(env);
    filled = 0;
  }
  return array != nullptr && extendFilledArray(env, array, filled, length) ? array : nullptr;
}

bool extendFilledArray(napi_env env, napi_value array, std::size_t length, std::size_t end) {
  const HandleScope scope(env);
  const napi_value any = makeNull(env);
  for (; length < end; ++length) {
    if (!defineElement(env, array, length, any)) return false;
  }
  return true;
}

napi_value shareIntegers(napi_env env, const std::vector<std::int32_t>& integers) {
  return share(env, napi_int32_array, integers, &Environment::integers);
}

napi_value shareNumbers(napi_env env, const std::vector<double>& numbers) {
  return share(env, napi_float64_array, numbers, &Environment::numbers);
}

void storeKeptTexts(TextTable table) {
  Environment* const environment = environmentOf(table.env);
  if (environment == nullptr) return;
  takeKeptTexts(table.env);
  if (napi_create_reference(table.env, table.chunks, 1, &environment->chunks) == napi_ok) {
    environment->texts = std::move(table);
  }
}

TextTable takeKeptTexts(napi_env env) {
  Environment* const environment = environmentOf(env);
  if (environment == nullptr) return {};
  TextTable table = std::exchange(environment->texts, {});
  table.chunks = referenced(env, environment->chunks);
  deleteReference(env, std::exchange(environment->chunks, nullptr));
  return table;
}

}  // namespace corvenda
