#include "facet/facet_extraction.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>

#include "base/number_text.h"
#include "rows/lexicon_rows.h"
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

/// The weight is no part of the key: of two rows that differ in it alone the first speaks, and if its weight is no
/// number neither does.
std::string facetRowKey(const IndexRecord& row) {
  return std::string(row.term)
      .append(kFacetSeparator)
      .append(facetId(row.fields[facet_field::kDimension], row.fields[facet_field::kFacetKey]))
      .append(kFacetSeparator)
      .append(row.fields[facet_field::kLang]);
}

FacetHit makeHit(const IndexRecord& row, std::string_view text, double weight) {
  FacetHit hit;
  hit.dimension = row.fields[facet_field::kDimension];
  hit.facetKey = row.fields[facet_field::kFacetKey];
  hit.alias = row.term;
  hit.type = row.fields[facet_field::kLang];
  hit.index = countCharacters(text.substr(0, containsTerm(text, row.term).value_or(0)));
  hit.len = countCharacters(row.term);
  const double lengthFactor = hit.type == "zh" ? 0.6 : 0.4;
  hit.score = std::min(static_cast<double>(hit.len) * lengthFactor, kLengthScoreCap) + weight;
  return hit;
}

void scanFacets(const RecordTable& table, std::string_view text, std::set<std::string>* seenFacetRows,
                std::vector<FacetHit>* hits) {
  if (text.empty()) return;
  for (const IndexRecord* row : filterRecords(table, Section::kFacet, text, true)) {
    if (row->fields.size() < facet_field::kCount) continue;
    if (!seenFacetRows->insert(facetRowKey(*row)).second) continue;
    double weight = 0;
    if (parseNumber(row->fields[facet_field::kWeight], &weight)) hits->push_back(makeHit(*row, text, weight));
  }
}

std::vector<FacetGroup> groupFacets(const std::vector<FacetHit>& hits) {
  std::vector<FacetGroup> groups;
  std::map<std::string, std::size_t> groupIndex;
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
  // One set for both texts: an alias that stands in both gives one hit, from the raw text.
  std::set<std::string> seenFacetRows;
  scanFacets(table, raw, &seenFacetRows, &facets.hits);
  scanFacets(table, english, &seenFacetRows, &facets.hits);
  facets.groups = groupFacets(facets.hits);
  return facets;
}

}  // namespace corvenda
