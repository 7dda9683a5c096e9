// Loading ahead of need: does what the first real call would otherwise have to wait for.
#pragma once

#include <string>

#include "base/semantic_error.h"

namespace corvenda {

struct WarmUpRequest {
  std::string packPath;
  std::string allowedRoot;
  std::string overlayPackPath;     ///< empty for no overlay
  std::string overlayAllowedRoot;  ///< not read without an overlay
};

/// Loads the base pack and the overlay pack into the cache, and makes the indexes of each that resolvers search. Only
/// the cache is touched, so any thread may call it; `semanticCacheMutex` is taken for each load.
///
/// What was loaded before a failure stays loaded. Errors: those of the loader, one of which has an empty message, and
/// "overlayAllowedRoot is required with overlayPackPath".
bool warmUp(const WarmUpRequest& request, SemanticError* error);

}  // namespace corvenda
