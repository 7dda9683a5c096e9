// The location rows of the base pack and of the caller, merged and indexed. Only `baseSlot` ever holds a view.
//
// The plain way is an index from first characters to rows: all rows behind the title's characters and words are its
// candidates, and each is a hit if its term stands in the title too. Thousands of rows share a first character, so the
// view asks in the other order: the terms that stand in the title are found through an index over all terms, at a cost
// that depends on the title alone, and the few rows behind them are then held against the admission by first character.
// Rows are in the one set exactly if they are in the other.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "cache/semantic_cache.h"
#include "cache/term_index.h"
#include "location/location_row.h"
#include "pack/semantic_error.h"

namespace corvenda {

/// Immutable once built. Held by shared pointer, so a rebuild doesn't pull it away from under a reader.
struct LocationView {
  std::shared_ptr<const LoadedPack> basePack;  ///< kept alive: most rows point into it
  std::vector<IndexRecord> overlayRecords;     ///< copies of the caller's
  /// The rows that some title can find: of the base pack in its order, then of the overlay in the caller's. Left out
  /// are rows of fewer than six fields, rows without an admission key, those that `isNeverHit` names, and database rows
  /// whose term and code stand in a base row of the section "location" as well: the curated row counts alone.
  std::vector<LocationRow> viewRecords;
  TermIndex nativeTerms;   ///< over the rows that are not English, by position in `viewRecords`
  TermIndex englishTerms;  ///< over the English ones
};

/// Merges and indexes. A database row that itself stands in the section "location" is left out on its own account.
std::shared_ptr<const LocationView> buildLocationView(std::shared_ptr<const LoadedPack> basePack,
                                                      const std::vector<const IndexRecord*>& overlayRecords);

/// A text that is the same exactly for overlays with the same rows in the same order; empty for no rows.
std::string overlayFingerprint(const std::vector<const IndexRecord*>& records);

/// Makes `baseSlot.view` right for this overlay, unless it is already: same path text of the caller's, same size and
/// time of the pack in `overlaySlot` (both 0 without a path), same rows. Takes `semanticCacheMutex` itself; readers
/// take it again afterwards. Another thread may have put another view there in between. Errors: "semantic rule-pack
/// cache is unavailable" without a base pack.
bool ensureLocationView(const std::string& overlayPackPath, const std::vector<const IndexRecord*>& overlayRecords,
                        SemanticError* error);

}  // namespace corvenda
