// The location rows that a batch searches: those of the base pack, then those of the caller's overlay.
//
// The base pack's rows and the index over their terms are shared with the cache, so a view costs what its overlay
// costs. It knows no keys of first characters: the location resolver finds rows by their terms and tests the label's
// beginning on what it found, which gives the same rows at a cost that doesn't grow with their number.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "base/semantic_error.h"
#include "cache/semantic_cache.h"

namespace corvenda {

/// Immutable once built.
struct LocationView {
  std::shared_ptr<const LoadedPack> base;   ///< null in a view without base rows
  std::vector<IndexRecord> overlayRecords;  ///< the caller's rows, in the caller's order; behind those of the base
  TermIndex overlayIndex;                   ///< over `overlayRecords`
  std::string overlayPath;                  ///< with the next three, the key: the path as the caller wrote it
  std::uint64_t overlaySize = 0;            ///< of the pack in `overlaySlot`; 0 without an overlay path
  std::int64_t overlayWriteTime = 0;        ///< of the pack in `overlaySlot`; 0 without an overlay path
  std::string overlayFingerprint;           ///< of `overlayRecords`
};

/// Makes `baseSlot.view` right for the base pack in the cache and this overlay, unless it is already. Takes
/// `semanticCacheMutex` itself; who reads the view takes it again. `overlayRecords` are the rows of the option
/// "locationOverlay", then the location rows of the overlay pack; they are copied.
/// Error: "semantic rule-pack cache is unavailable" without a base pack in the cache.
bool ensureLocationView(const std::string& overlayPackPath, const std::vector<const IndexRecord*>& overlayRecords,
                        SemanticError* error);

/// A text that is the same for two lists of rows exactly if the lists are the same.
std::string overlayFingerprint(const std::vector<const IndexRecord*>& records);

}  // namespace corvenda
