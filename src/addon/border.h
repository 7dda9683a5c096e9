// The border with JavaScript. Nothing else in the addon throws, reads options or sets properties.
//
// The addon is built without C++ exceptions, so a Node-API call that fails leaves a JavaScript exception pending and
// the code runs on. Two rules follow and are kept here and nowhere else:
//
// - Never throw over a pending exception. node-addon-api's own way to throw then aborts the process, and a getter among
//   the options that throws is enough to get there. Everything that throws goes through here: plain Node-API calls,
//   made only if nothing is pending, so that the caller of the addon sees the getter's own exception.
// - Once a call has failed, all that follow fail too (in a worker that is being terminated, for instance). Loops over
//   many values leave at the first failure instead of running on.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <napi.h>

#include "base/semantic_error.h"

namespace corvenda {

// --- Failures -------------------------------------------------------------------------------------------------------

enum class ErrorKind { kError, kTypeError, kRangeError };

/// Throws, unless an exception is pending already, and gives what a refused export returns: null.
Napi::Value refuse(napi_env env, ErrorKind kind, std::string_view message);

/// Makes sure that a failed call leaves an exception behind (the pending one, else the status's own words). True if the
/// call succeeded.
bool settled(napi_env env, napi_status status);

/// True if an exception waits to be thrown: nothing more can be read or set, and the call has to end.
bool isExceptionPending(napi_env env);

/// After a failed call whose failure counts as absence: takes the exception and drops it. False if there is none, which
/// means that the environment is ending and every further call fails too: loops stop.
bool dropException(napi_env env);

// --- Options --------------------------------------------------------------------------------------------------------

/// The entry check of all exports but two: exactly one argument, an object or function that is no array. Throws
/// `message` as a TypeError otherwise.
bool requireOneOptionsObject(const Napi::CallbackInfo& info, std::string_view message);

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

/// The text of a string value, as UTF-8.
std::string readString(napi_env env, napi_value value);

/// The property if it is a string, else the empty string.
std::string readStringOrEmpty(napi_env env, napi_value object, const char* name);

/// Reads a required option. Errors: "semantic native option is missing: NAME" for whatever is not a string,
/// "semantic native option is empty: NAME". Blanks are accepted.
bool requireStringOption(napi_env env, napi_value options, const char* name, std::string* out, SemanticError* error);

/// Reads "normalizedEnglish": empty if there is no such property. A property that is there must be a string, so that a
/// present undefined is an error: "normalizedEnglish must be a string".
bool readNormalizedEnglish(napi_env env, napi_value options, std::string* out, SemanticError* error);

// --- Results --------------------------------------------------------------------------------------------------------
// Each property is an independent step. A step that fails leaves its exception pending; JavaScript then sees that
// exception and never the value. Each gives back whether it succeeded, for the loops that have to stop.

napi_value makeObject(napi_env env);
napi_value makeArray(napi_env env);
napi_value makeString(napi_env env, std::string_view text);
napi_value makeNumber(napi_env env, double number);

bool setValue(napi_env env, napi_value object, const char* name, napi_value value);
bool setText(napi_env env, napi_value object, const char* name, std::string_view text);
bool setBoolean(napi_env env, napi_value object, const char* name, bool value);
bool setNull(napi_env env, napi_value object, const char* name);
bool setElement(napi_env env, napi_value array, std::size_t position, napi_value value);

/// All counters of the core become doubles here and nowhere else.
template <typename Number>
bool setNumber(napi_env env, napi_value object, const char* name, Number value) {
  return setValue(env, object, name, makeNumber(env, static_cast<double>(value)));
}

/// An array of what `make(env, item)` gives for each item, up to the first that fails. Each item has a handle scope of
/// its own, so that a long list doesn't keep a handle for every value in it.
template <typename Item, typename Make>
napi_value makeList(napi_env env, const std::vector<Item>& items, Make make) {
  const napi_value array = makeArray(env);
  for (std::size_t i = 0; i < items.size(); ++i) {
    const Napi::HandleScope scope(env);
    if (!setElement(env, array, i, make(env, items[i]))) break;
  }
  return array;
}

napi_value makeTextArray(napi_env env, const std::vector<std::string>& texts);

}  // namespace corvenda
