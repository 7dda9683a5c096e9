// Loading ahead of need: what the first real call would have to wait for, done on a worker thread.
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

/// Fills the cache: the base pack, the overlay pack, the location view of both, and the indexes that resolvers search.
/// Only the cache is touched, so any thread may come here; `semanticCacheMutex` is taken for each load and for the
/// view.
///
/// What a failed warm-up has loaded so far stays loaded. Errors: those of the loader, one of which has an empty
/// message, "overlayAllowedRoot is required with overlayPackPath", "semantic rule-pack cache is unavailable".
bool warmUp(const WarmUpRequest& request, SemanticError* error);

}  // namespace corvenda
