// A base pack as seen through a patch pack: the patch's rows come first, and no row appears twice.
#pragma once

#include <string_view>
#include <vector>

#include "rows/record_table.h"

namespace corvenda {

struct OverlayMatch {
  IndexRecord record;
  bool fromOverlay = false;
};

/// The patch's rows, then the base's, each in the given order. A row with the term and fields of an earlier one is left
/// out, whatever its section.
std::vector<OverlayMatch> mergeOverlayRows(std::vector<IndexRecord> overlayRows, std::vector<IndexRecord> baseRows);

/// The rows of the section whose term equals `term` or, with `contains`, is a substring of it. `arena` must outlive
/// them.
std::vector<IndexRecord> lookupRecords(const RecordTable& table, Section section, std::string_view term, bool contains,
                                       TextArena* arena);

}  // namespace corvenda
