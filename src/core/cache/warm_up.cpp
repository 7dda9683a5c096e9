#include "cache/warm_up.h"

#include "cache/rule_pack_loader.h"

namespace corvenda {
namespace {

/// One load brings in the rows of all sections; later calls share them.
bool warmPack(const std::string& packPath, const std::string& allowedRoot, SemanticCacheSlot& slot,
              std::shared_ptr<const LoadedPack>* loaded, SemanticError* error) {
  if (!RulePackLoader(packPath, allowedRoot, slot, loaded, error)) return false;
  makeIndexes((*loaded)->table);
  return true;
}

}  // namespace

bool warmUp(const WarmUpRequest& request, SemanticError* error) {
  SemanticCache& cache = semanticCache();
  std::shared_ptr<const LoadedPack> base;
  if (!warmPack(request.packPath, request.allowedRoot, cache.baseSlot, &base, error)) return false;
  if (request.overlayPackPath.empty()) return true;

  if (request.overlayAllowedRoot.empty()) {
    return fail(error, "overlayAllowedRoot is required with overlayPackPath");
  }
  std::shared_ptr<const LoadedPack> overlay;
  return warmPack(request.overlayPackPath, request.overlayAllowedRoot, cache.overlaySlot, &overlay, error);
}

}  // namespace corvenda
