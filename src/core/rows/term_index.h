// Finding the rows whose terms stand in a title, at a cost that depends on the title and not on the number of rows.
//
// The truth that this is held against is a loop over all rows:
//
//     for (row : rows) if (containsTerm(text, row.term)) found.push_back(row);
//
// The index gives the same rows. It asks at each byte of the text which terms could begin there:
//
// 1. All distinct terms stand in an open-addressing hash table; rows with equal terms are one run of row numbers.
// 2. A lookup for every substring would be quadratic, so a second table, the gate, maps the first three bytes of a term
//    (a Chinese character in UTF-8) to the set of lengths that terms with this beginning have. Only those lengths are
//    looked up. Entries of the gate may collide, which costs a lookup that finds nothing, never a missed row.
// 3. Terms shorter than three bytes have no place in the gate and are looked up directly, if there are any.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "pack/pack_records.h"

namespace corvenda {

/// Plain data; built once by `buildTermIndex` and only read afterwards. It points into the records it was built from,
/// which must outlive it and stay where they are.
struct TermIndex {
  struct Term {
    std::string_view text;
    std::uint32_t firstRow = 0;  ///< position in `rows`
    std::uint32_t rowCount = 0;
  };
  std::vector<Term> terms;             ///< distinct terms in the order of their first row
  std::vector<std::uint32_t> rows;     ///< row numbers, ascending within a term
  std::vector<std::uint32_t> slots;    ///< hash table: position in `terms` plus 1, 0 for empty; a power of two
  std::vector<std::uint64_t> gate;     ///< bit n: a term of n bytes begins like this; bit 63: a longer one
  std::vector<std::size_t> longTerms;  ///< distinct lengths of 63 bytes and more, ascending
  std::size_t maxLength = 0;           ///< bytes of the longest term
  bool hasShort[3] = {};               ///< a term of 0, 1 or 2 bytes exists
};

/// Indexes the terms of `records` at the given row numbers, which are ascending.
void buildTermIndex(const std::vector<IndexRecord>& records, const std::vector<std::uint32_t>& rowNumbers,
                    TermIndex* index);

/// Indexes the terms of all `records`.
void buildTermIndex(const std::vector<IndexRecord>& records, TermIndex* index);

// Each of the following appends row numbers of `records` to `found`, a row at most once per call, in no useful order:
// callers sort what they gathered.

/// Rows whose term equals `text`.
void appendEqualRows(const TermIndex& index, std::string_view text, std::vector<std::uint32_t>* found);

/// Rows whose term is a substring of `text`; an empty term is one of every text.
void appendContainedRows(const TermIndex& index, std::string_view text, std::vector<std::uint32_t>* found);

/// Rows whose term is a run of whole words of `text` joined without blanks (see `matchesWordRun`).
void appendWordRunRows(const TermIndex& index, std::string_view text, std::vector<std::uint32_t>* found);

/// Ascending, each number once.
void sortUnique(std::vector<std::uint32_t>* rowNumbers);

}  // namespace corvenda
