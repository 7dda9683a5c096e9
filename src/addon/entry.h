// How a module's functions are registered, and how every call is led through one entry check and one way out.
#pragma once

#include <span>

#include "addon/border.h"

namespace corvenda {

struct Export {
  const char* name;
  napi_value (*function)(napi_env env, napi_value options, Failure* failure);
  /// What the call says unless it gets one argument, an object or function that is no array; null for no such check.
  const char* entryMessage;
};

/// Adds the functions to `exports`, and gives that. The table must stay as long as the process. A row that fails leaves
/// its exception pending, and the rest of the table is still tried.
napi_value registerExports(napi_env env, napi_value exports, std::span<const Export> table);

}  // namespace corvenda
