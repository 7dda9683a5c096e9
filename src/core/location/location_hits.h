// The place rows that match a title.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "rows/record_table.h"
#include "rows/table_indexes.h"
#include "text/title.h"

namespace corvenda {

/// The places that a batch knows: those of the base pack, then those of the caller, then those of the overlay pack.
/// Only the base pack's own section "location" silences database rows that say the same.
struct PlaceRows {
  const RecordTable* table = nullptr;
  const std::vector<FoundRow>* rows = nullptr;  ///< whose terms stand in the title, ascending
};

struct LocationHit {
  PlaceRow row;
  std::uint64_t firstIndex = 0;  ///< characters in front of the term in the searched text; 9999 if it isn't there
  std::uint64_t labelChars = 0;  ///< characters of the label
  std::uint64_t matchChars = 0;  ///< characters of the term for database rows, of the label for all others
  double score = 0;
  std::size_t place = 0;     ///< first byte of what the row is looked up by, in the text of its language
  std::size_t part = 0;      ///< position of its table in the list of places
  std::uint32_t number = 0;  ///< of the row in the table
};

constexpr std::uint64_t kNotFoundIndex = 9999;

/// All rows that match, in the order that decides between them: native rows by where the first character of their label
/// stands in the compacted title, then English rows by which word of the English reading is the first of their name;
/// rows of one place in the order of `places` and of their tables.
///
/// Rows are found by their terms, and then tested for what they are looked up by: the label's first character or word.
void findLocationHits(const RecordTable& base, std::span<const PlaceRows> places, const TitleTexts& title,
                      std::vector<LocationHit>* hits);

}  // namespace corvenda
