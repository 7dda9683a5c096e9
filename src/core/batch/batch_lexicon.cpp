#include "batch/batch_lexicon.h"

#include "cache/rule_pack_loader.h"

namespace corvenda {
namespace {

/// A pack is read twice, for scenes and for places. Both reads give one part, unless a getter of the caller replaced
/// the file in between.
void addPack(const std::shared_ptr<const LoadedPack>& scenes, const std::shared_ptr<const LoadedPack>& places,
             bool humans, std::vector<BatchPart>* parts) {
  if (scenes == nullptr) return;
  const bool same = scenes == places;
  parts->push_back({&scenes->table, true, same, same && humans});
  if (!same) parts->push_back({&places->table, false, true, humans});
}

void listParts(BatchLexicon* lexicon) {
  addPack(lexicon->sceneBase, lexicon->base, true, &lexicon->parts);
  if (!lexicon->caller.rows.empty()) lexicon->parts.push_back({&lexicon->caller, true, true, false});
  addPack(lexicon->sceneOverlay, lexicon->placeOverlay, false, &lexicon->parts);
}

}  // namespace

bool openBatchLexicon(const std::string& packPath, const std::string& allowedRoot, const BatchCaller& caller,
                      BatchLexicon* lexicon, SemanticError* error) {
  SemanticCache& cache = semanticCache();
  std::string overlayPath;
  std::string overlayRoot;
  const auto loadBase = [&](auto* loaded) {
    return RulePackLoader(packPath, allowedRoot, cache.baseSlot, loaded, error);
  };
  const auto loadOverlay = [&](auto* loaded) {
    return overlayPath.empty() || RulePackLoader(overlayPath, overlayRoot, cache.overlaySlot, loaded, error);
  };
  if (!loadBase(&lexicon->sceneBase)) return false;
  // Before the overlay pack is loaded: an override of the caller takes its scene's data from the base pack or from the
  // caller's own categories, never from the overlay pack.
  caller.readSceneOverlay(lexicon->sceneBase->table, &lexicon->caller);
  if (!caller.readOverlayPack(&overlayPath, &overlayRoot) || !loadOverlay(&lexicon->sceneOverlay)) return false;
  lexicon->base = lexicon->sceneBase;
  if (caller.acted && !loadBase(&lexicon->base)) return false;
  caller.readLocationOverlay(&lexicon->caller);
  if (!loadOverlay(&lexicon->placeOverlay)) return false;
  finishTable(&lexicon->caller);
  listParts(lexicon);
  return true;
}

std::optional<MasterRow> findMaster(const BatchLexicon& lexicon, std::string_view sceneKey) {
  for (const BatchPart& part : lexicon.parts) {
    if (!part.scenes) continue;
    if (const auto row = findMasterRow(*part.table, sceneKey)) return MasterRow{part.table, *row};
  }
  return std::nullopt;
}

}  // namespace corvenda
