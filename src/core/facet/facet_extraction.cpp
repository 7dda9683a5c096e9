#include "facet/facet_extraction.h"

#include <algorithm>
#include <string>
#include <unordered_map>
#include <unordered_set>

#include "base/keyed_hash.h"
#include "text/term_score.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

/// Four characters, a backslash and "x1f": not the control byte that separates the fields of `recordIdentityKey`.
constexpr std::string_view kFacetSeparator = "\\x1f";

constexpr double kLengthScoreCap = 8.0;

std::string facetId(std::string_view dimension, std::string_view facetKey) {
  return std::string(dimension).append(kFacetSeparator).append(facetKey);
}

/// The weight is not part of the key. Of two rows that differ only in weight the first counts, even if its weight is
/// not a number: then neither gives a hit.
std::string facetRowKey(const FacetRow& row) {
  return std::string(row.term)
      .append(kFacetSeparator)
      .append(facetId(row.dimension, row.facetKey))
      .append(kFacetSeparator)
      .append(row.lang);
}

using SeenKeys = std::unordered_set<std::string, KeyedHash>;

/// `index`: the characters before the alias.
FacetHit makeHit(const FacetRow& row, std::uint64_t index) {
  FacetHit hit{row.dimension, row.facetKey, row.term, row.lang, index, countCharacters(row.term), 0};
  hit.score = lengthScore(row.term, row.lang == "zh" ? 0.6 : 0.4, kLengthScoreCap) + row.weight;
  return hit;
}

void scanFacets(const RecordTable& table, std::string_view text, SeenKeys* seenFacetRows, std::vector<FacetHit>* hits) {
  if (text.empty()) return;
  const std::vector<FoundRow> found = filterRecords(table, Section::kFacet, text, true);
  const std::vector<std::uint64_t> indexes = countCharactersBefore(text, positionsOf(found));
  for (std::size_t i = 0; i < found.size(); ++i) {
    const FacetRow row = facetRowAt(table, found[i].row);
    if (row.fieldCount < facet_field::kCount || !seenFacetRows->insert(facetRowKey(row)).second) continue;
    if (row.weightIsNumber) hits->push_back(makeHit(row, indexes[i]));
  }
}

std::vector<FacetGroup> groupFacets(const std::vector<FacetHit>& hits) {
  std::vector<FacetGroup> groups;
  std::unordered_map<std::string, std::size_t, KeyedHash> groupIndex;
  for (const FacetHit& hit : hits) {
    const auto [entry, added] = groupIndex.emplace(facetId(hit.dimension, hit.facetKey), groups.size());
    if (added) {
      groups.push_back({hit.dimension, hit.facetKey, 1, hit.score, hit.index});
      continue;
    }
    FacetGroup& group = groups[entry->second];
    ++group.count;
    group.score += hit.score;
    group.firstIndex = std::min(group.firstIndex, hit.index);
  }
  return groups;
}

}  // namespace

SemanticFacets extractSemanticFacets(const RecordTable& table, std::string_view raw, std::string_view english) {
  SemanticFacets facets;
  // One set for both texts: an alias that occurs in both gives one hit, from the raw text.
  SeenKeys seenFacetRows;
  scanFacets(table, raw, &seenFacetRows, &facets.hits);
  scanFacets(table, english, &seenFacetRows, &facets.hits);
  facets.groups = groupFacets(facets.hits);
  return facets;
}

}  // namespace corvenda
