// The index over terms held against the loop over all rows that it replaces.
#pragma once

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rows/record_table.h"
#include "support/tables.h"
#include "text/text_primitives.h"

namespace corvenda {

using RowNumbers = std::vector<std::uint32_t>;

/// Terms as facet rows, which are all in one index, whatever they are. Empty ones are left out.
inline RecordTable tableOfTerms(const std::vector<std::string>& terms) {
  std::vector<TestRow> rows;
  for (const std::string& term : terms) {
    if (!term.empty()) rows.push_back({"facet", term, {}});
  }
  return makeTable(rows);
}

/// The rows whose term passes the test.
template <typename Test>
RowNumbers rowsByLoop(const RecordTable& table, Test matches) {
  RowNumbers found;
  for (std::uint32_t row = 0; row < table.rows.size(); ++row) {
    if (matches(termOf(table, row))) found.push_back(row);
  }
  return found;
}

/// What the searches of one text found, and the first way in which that is wrong; null if it isn't.
struct SearchCheck {
  const char* difference = nullptr;
  std::size_t rows = 0;
};

/// Makes all searches in one text. `hits` is kept from text to text, as in a batch.
inline SearchCheck checkSearches(const RecordTable& table, std::string_view text, TermHits* hits) {
  const TermIndex& index = facetIndex(table);
  SearchCheck check;
  const auto require = [&](bool holds, const char* what) {
    if (!holds && check.difference == nullptr) check.difference = what;
  };
  const auto compare = [&](const RowNumbers& expected, const char* what) {
    RowNumbers rows;
    for (const TermHit& hit : hits->terms) {
      const std::size_t before = rows.size();
      forEachRow(index, hit.lastRow, [&](std::uint32_t row) { rows.push_back(row); });
      require(std::is_sorted(rows.begin() + static_cast<std::ptrdiff_t>(before), rows.end()), "the order of a ring");
    }
    std::sort(rows.begin(), rows.end());
    require(rows == expected, what);
    check.rows += rows.size();
  };
  const RowNumbers contained =
      rowsByLoop(table, [&](std::string_view term) { return containsTerm(text, term).has_value(); });
  const auto compareContained = [&](const char* what) {
    for (const TermHit& hit : hits->terms) {
      require(text.find(termOf(table, hit.lastRow)) == hit.position, "the position of a term");
    }
    compare(contained, what);
  };
  const RowNumbers runs = rowsByLoop(table, [&](std::string_view term) { return matchesWordRun(text, term); });
  findContainedTerms(table, index, text, hits);
  compareContained("the terms in the text");
  findWordRuns(table, index, text, hits);
  compare(runs, "the runs of words");
  findWordRunsAgain(table, index, hits);
  compare(runs, "the runs of words, once more");
  TermProbes probes;
  beginContainedTerms(index, text, &probes);
  askForRows(table, index, &probes);
  askForTerms(table, probes);
  finishContainedTerms(table, index, text, probes, hits);
  compareContained("the terms in the text, in steps");
  beginWordRuns(index, text, hits, &probes);
  askForRows(table, index, &probes);
  askForTerms(table, probes);
  finishWordRuns(table, index, probes, hits);
  compare(runs, "the runs of words, in steps");
  const RowNumbers equal = rowsByLoop(table, [&](std::string_view term) { return term == text; });
  const auto last = equal.empty() ? std::nullopt : std::optional(equal.back());
  require(findTerm(table, index, text) == last && findWholeTerm(table, index, text) == last, "the term of a text");
  return check;
}

}  // namespace corvenda
