// The border with JavaScript. Nothing else in the addon throws, reads options or sets properties.
//
// The addon is built without C++ exceptions, so a Node-API call that fails leaves a JavaScript exception pending and the
// code runs on. Two rules follow and are kept here and nowhere else:
//
// - Never throw while an exception is pending: node-addon-api then aborts the process. A getter among the options that
//   throws is enough to get there. The throw helpers do nothing in that case, and the caller of the addon sees the
//   getter's own exception.
// - Once a call has failed, all that follow fail too (in a worker that is being terminated, for instance). Loops over
//   many values leave at the first failure instead of running on.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include <napi.h>

#include "pack/semantic_error.h"

namespace corvenda {

// --- Failures -------------------------------------------------------------------------------------------------------

enum class ErrorKind { kError, kTypeError, kRangeError };

/// Throws, unless an exception is pending already, and gives what a refused export returns: null.
Napi::Value refuse(napi_env env, ErrorKind kind, std::string_view message);

/// Makes sure that a failed call leaves an exception behind (the pending one, else the status's own words). True if the
/// call succeeded.
bool settled(napi_env env, napi_status status);

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

/// The value of a property; undefined, with the exception pending, if its getter throws.
napi_value getProperty(napi_env env, napi_value object, const char* name);

/// Whether the property exists on the object or its prototypes; false, with the exception pending, if a trap throws.
bool hasProperty(napi_env env, napi_value object, const char* name);

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
napi_value makeString(napi_env env, std::string_view text);
napi_value makeNumber(napi_env env, double number);

bool setValue(napi_env env, napi_value object, const char* name, napi_value value);
bool setText(napi_env env, napi_value object, const char* name, std::string_view text);
bool setBoolean(napi_env env, napi_value object, const char* name, bool value);
bool setNull(napi_env env, napi_value object, const char* name);

/// All counters of the core become doubles here and nowhere else.
template <typename Number>
bool setNumber(napi_env env, napi_value object, const char* name, Number value) {
  return setValue(env, object, name, makeNumber(env, static_cast<double>(value)));
}

}  // namespace corvenda
