// The options that both lookups read alike.
#pragma once

#include <string>

#include <napi.h>

namespace corvenda {

constexpr const char* kExactMode = "exact";
constexpr const char* kContainsMode = "contains";

/// "mode" as given, "exact" if there is no such property. False if it is there and no string, undefined included.
bool readLookupMode(napi_env env, napi_value options, std::string* mode);

/// Whether it is one of the two modes.
bool isLookupMode(const std::string& mode);

}  // namespace corvenda
