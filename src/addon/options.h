// The options that several exports share. What is wrong with an option's presence or type is a TypeError, a value that
// is not allowed a RangeError.
#pragma once

#include <string>
#include <string_view>

#include "addon/border.h"
#include "rows/record_table.h"

namespace corvenda {

/// What is said of a required option that is no string, and of one that is empty.
bool failMissing(const char* name, Failure* failure);
bool failEmpty(const char* name, Failure* failure);

/// Reads a required option. Errors: "semantic native option is missing: NAME" for whatever is not a string,
/// "semantic native option is empty: NAME". Blanks are accepted.
bool requireStringOption(napi_env env, napi_value options, const char* name, std::string* out, Failure* failure);

/// The property if it is a string, else the empty string.
std::string readStringOrEmpty(napi_env env, napi_value object, const char* name);

/// Reads "normalizedEnglish": empty if there is no such property. A property that is there must be a string, so that a
/// present undefined is an error: "normalizedEnglish must be a string".
constexpr std::string_view kEnglishMessage = "normalizedEnglish must be a string";
bool readNormalizedEnglish(napi_env env, napi_value options, std::string* out, Failure* failure);

/// Reads "cases". Error: "cases must be an array".
bool readCases(napi_env env, napi_value options, napi_value* cases, Failure* failure);

/// The options of the calls for one title.
struct TitleOptions {
  std::string packPath;
  std::string allowedRoot;
  std::string raw;
  std::string normalizedEnglish;
};

/// Reads them in this order and stops at the first that is wrong.
bool readTitleOptions(napi_env env, napi_value options, TitleOptions* out, Failure* failure);

constexpr std::string_view kExactMode = "exact";
constexpr std::string_view kContainsMode = "contains";

/// Reads the "mode" of a look-up: "exact" if there is no such property. One that is there and no string, undefined
/// included, fails with `message`.
bool readLookupMode(napi_env env, napi_value options, std::string_view message, std::string* mode, Failure* failure);

/// Fails with `message` unless it is one of the two modes.
bool checkLookupMode(std::string_view mode, std::string_view message, Failure* failure);

/// Fails with `message` for a name that is no section.
bool parseSection(std::string_view name, std::string_view message, Section* section, Failure* failure);

}  // namespace corvenda
