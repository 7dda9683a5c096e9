#include "cache/semantic_cache.h"

namespace corvenda {

SemanticCache& semanticCache() {
  // Never destroyed: a worker may still be inside a load when the process exits.
  static auto* const cache = new SemanticCache;
  return *cache;
}

}  // namespace corvenda
