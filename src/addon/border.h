// The border with JavaScript. Nothing else in the addon throws, reads options or sets properties.
//
// The addon is built without C++ exceptions, so a Node-API call that fails leaves a JavaScript exception pending and
// the code runs on. Two rules follow and are kept here and nowhere else:
//
// - Never throw over a pending exception. A getter among the options may have thrown, and its exception is the one that
//   the caller of the addon has to see. Everything that throws goes through here.
// - Once a call has failed, all that follow fail too (in a worker that is being terminated, for instance). Loops over
//   many values leave at the first failure instead of running on.
//
// Only plain Node-API calls are made. The C++ wrapper's own way to throw aborts the process over a pending exception,
// and so do its destructors in an environment that is going away.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <node_api.h>

#include "base/semantic_error.h"

namespace corvenda {

// --- Failures ------------------------------------------------------------------------------------------------------

enum class ErrorKind { kError, kTypeError, kRangeError };

/// Why an export refuses a call. What the core reports is an Error; an export's own checks name their kind.
struct Failure : SemanticError {
  ErrorKind kind = ErrorKind::kError;
};

/// Fills `failure` and returns false: `return failAs(failure, ErrorKind::kTypeError, "…");`.
bool failAs(Failure* failure, ErrorKind kind, std::string_view message);

/// Throws what `failure` says, unless an exception is pending already.
void throwFailure(napi_env env, const Failure& failure);

/// Makes sure that a failed call leaves an exception pending (the pending one, else the status's own words). True if
/// the call succeeded.
bool settled(napi_env env, napi_status status);

/// True if an exception waits to be thrown: nothing more can be read or set, and the call has to end.
bool isExceptionPending(napi_env env);

/// After a failed call whose failure counts as absence: takes the exception and drops it. False if there is none, which
/// means that the environment is ending and every further call fails too: loops stop.
bool dropException(napi_env env);

/// Frees the handles that were made since, at the end of its block. Long loops need one for each round.
struct HandleScope {
  explicit HandleScope(napi_env scopeEnv);
  ~HandleScope();
  HandleScope(const HandleScope&) = delete;
  HandleScope& operator=(const HandleScope&) = delete;

  napi_env env;
  napi_handle_scope scope = nullptr;
};

// --- Reading -------------------------------------------------------------------------------------------------------

/// True for an object or a function.
bool isObjectLike(napi_env env, napi_value value);

/// True for an object or a function that is no array. A proxy of an array is none.
bool isPlainObject(napi_env env, napi_value value);

bool isArray(napi_env env, napi_value value);
bool isString(napi_env env, napi_value value);
bool isUndefinedOrNull(napi_env env, napi_value value);

/// The value of a property; undefined, with the exception pending, if its getter throws.
napi_value getProperty(napi_env env, napi_value object, const char* name);

/// Whether the property exists on the object or its prototypes; false, with the exception pending, if a trap throws.
bool hasProperty(napi_env env, napi_value object, const char* name);

/// The length of a value that `isArray` has accepted. Elements may have getters, and getters may change it: loops ask
/// again for each element.
std::uint32_t arrayLength(napi_env env, napi_value array);

/// The text of a string value, as UTF-8. A lone surrogate becomes U+FFFD.
std::string readString(napi_env env, napi_value value);

/// What `function` gives for the arguments. Null, with the exception pending, if it throws or an argument could not be
/// made.
napi_value callFunction(napi_env env, napi_value function, const std::vector<napi_value>& arguments);

// --- Making --------------------------------------------------------------------------------------------------------
// Null, with an exception pending, if the value can't be made.

/// Bytes that are no UTF-8 become U+FFFD.
napi_value makeText(napi_env env, std::string_view text);

napi_value makeBoolean(napi_env env, bool value);
napi_value makeNull(napi_env env);

/// All counters of the core become doubles here and nowhere else.
template <typename Number>
napi_value makeNumber(napi_env env, Number number) {
  napi_value value = nullptr;
  settled(env, napi_create_double(env, static_cast<double>(number), &value));
  return value;
}

}  // namespace corvenda
