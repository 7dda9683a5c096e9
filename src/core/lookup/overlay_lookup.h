// A base pack as seen through a patch pack: the patch's rows in front, and no row twice.
#pragma once

#include <vector>

#include "rows/record_table.h"

namespace corvenda {

struct OverlayMatch {
  const IndexRecord* record = nullptr;
  bool fromOverlay = false;
};

/// The patch's rows, then the base's, each in the order given; a row whose term and fields came before is left out. The
/// section does not count.
std::vector<OverlayMatch> mergeOverlayRows(const std::vector<const IndexRecord*>& overlayRows,
                                           const std::vector<const IndexRecord*>& baseRows);

}  // namespace corvenda
