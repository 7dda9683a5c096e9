// What a batch resolves against: the packs and the caller's rows, loaded in an order that callers can observe.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/semantic_error.h"
#include "cache/semantic_cache.h"
#include "rows/record_table.h"
#include "scene/scene_candidates.h"

namespace corvenda {

/// The steps between the loads in which the caller's own code may run: they read options of the call, and an option's
/// getter can do anything, even load another pack or replace a file.
struct BatchCaller {
  /// Whether any of the caller's code may have run since the first load. The steps set it. If nobody had the chance to
  /// replace a file, the base pack need not be looked at again.
  bool acted = true;
  /// Adds the rows of "sceneOverlay". `base` has the scene rows that an override may take its scene's data from.
  std::function<void(const RecordTable& base, RecordTable* rows)> readSceneOverlay;
  /// Reads path and root of the overlay pack; the path is empty if there is none. False ends the call; the caller knows
  /// why.
  std::function<bool(std::string* path, std::string* root)> readOverlayPack;
  /// Adds the rows of "locationOverlay".
  std::function<void(RecordTable* rows)> readLocationOverlay;
};

/// A table of the lexicon, and which of its rows are used.
struct BatchPart {
  const RecordTable* table = nullptr;
  bool scenes = false;
  bool places = false;
  bool humans = false;  ///< and identities
};

/// Immutable once opened. It shares the packs with the cache, so they live to the end of the call, whatever is loaded
/// meanwhile.
struct BatchLexicon {
  std::shared_ptr<const LoadedPack> sceneBase;     ///< the base pack as its scene rows were read
  std::shared_ptr<const LoadedPack> base;          ///< as it was after "sceneOverlay": human, facet and place rows
  std::shared_ptr<const LoadedPack> sceneOverlay;  ///< the overlay pack as its scene rows were read; may be null
  std::shared_ptr<const LoadedPack> placeOverlay;  ///< as it was after "locationOverlay"; may be null
  RecordTable caller;                              ///< scene and place rows of the caller
  std::vector<BatchPart> parts;                    ///< in the order of their rows: base, caller, overlay
};

/// Loads the packs and lets the caller read its overlays, in the order in which failures are reported.
/// Errors: those of the loader; `error` stays empty if `readOverlayPack` ended the call.
bool openBatchLexicon(const std::string& packPath, const std::string& allowedRoot, const BatchCaller& caller,
                      BatchLexicon* lexicon, SemanticError* error);

/// The scene's master row: the first one in the order of the lexicon.
std::optional<MasterRow> findMaster(const BatchLexicon& lexicon, std::string_view sceneKey);

}  // namespace corvenda
