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

/// The place rows of one table. A batch has up to three such tables: base pack, caller and overlay pack, in this order.
struct PlaceRows {
  const RecordTable* table = nullptr;
  const std::vector<FoundRow>* rows = nullptr;  ///< whose terms occur in the title, ascending
};

/// The parts of a hit's score, added in this order.
struct LocationScore {
  double weight = 0;
  double source = 0;
  double length = 0;
  double position = 0;
};

struct LocationTrace;

struct LocationHit {
  PlaceRow row;
  std::uint64_t firstIndex = 0;  ///< characters before the term in the searched text; 9999 if it isn't there
  std::uint64_t labelChars = 0;  ///< characters of the label
  std::uint64_t matchChars = 0;  ///< characters of the term for database rows, of the label for all others
  double score = 0;              ///< the sum of `locationScore`
  std::size_t place = 0;         ///< first byte of the row's key (see findLocationHits) in the text of its language
  std::size_t part = 0;          ///< position of its table in the list of places
  std::uint32_t number = 0;      ///< of the row in the table
};

/// Callers see this index for a term that isn't found literally.
constexpr std::uint64_t kNotFoundIndex = 9999;

LocationScore locationScore(const LocationHit& hit);

/// All rows that match, in the order that decides between them: native rows before English ones, each by where their
/// key stands in the title; ties in the order of `places` and of the rows.
///
/// Finding its term is not enough for a row. The title must also hold its key, the first character or word of the label
/// (of the alias for English database rows); its region must be allowed; and a database row must not repeat a row of
/// the base pack's section "location".
///
/// `trace` may be null.
void findLocationHits(const RecordTable& base, std::span<const PlaceRows> places, const TitleTexts& title,
                      std::vector<LocationHit>* hits, LocationTrace* trace);

}  // namespace corvenda
