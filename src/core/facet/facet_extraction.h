// Which facets a title touches: every alias that occurs in it literally, and the sums per facet.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "rows/record_table.h"

namespace corvenda {

/// One alias found. The texts belong to the row, and live as long as its table.
struct FacetHit {
  std::string_view dimension;
  std::string_view facetKey;
  std::string_view alias;
  std::string_view type;    ///< the row's language tag
  std::uint64_t index = 0;  ///< characters before the alias, in the text in which it was found
  std::uint64_t len = 0;    ///< characters of the alias
  double score = 0;
};

/// The hits of one facet, added up in the order in which they were found.
struct FacetGroup {
  std::string_view dimension;
  std::string_view facetKey;
  std::uint32_t count = 0;
  double score = 0;
  std::uint64_t firstIndex = 0;  ///< smallest `index`, though the hits may be in different texts
};

struct SemanticFacets {
  std::vector<FacetHit> hits;      ///< in the order of the rows, first for the raw text, then for the English one
  std::vector<FacetGroup> groups;  ///< in the order in which each facet was first found
};

/// Looks for the facet rows of `table` in both texts as they are: nothing is folded, and no blank is skipped. Rows with
/// fewer than four fields, or whose weight is not a number, give no hit.
SemanticFacets extractSemanticFacets(const RecordTable& table, std::string_view raw, std::string_view english);

}  // namespace corvenda
