// The options that the calls for one title share.
#pragma once

#include <string>

#include <napi.h>

#include "base/semantic_error.h"

namespace corvenda {

struct TitleOptions {
  std::string packPath;
  std::string allowedRoot;
  std::string raw;
  std::string normalizedEnglish;
};

/// Reads them in this order and stops at the first that is wrong, with its message in `error`.
bool readTitleOptions(napi_env env, napi_value object, TitleOptions* options, SemanticError* error);

}  // namespace corvenda
