// The rows of a view that match a title.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "cache/location_view.h"
#include "rows/lexicon_rows.h"
#include "text/title.h"

namespace corvenda {

/// Where a row comes from, by its source field. Database rows count only for titles that no other row speaks for.
enum class LocationSource { kCountry, kFamous, kCurated, kDatabaseNative, kDatabaseEnglish, kOther };

struct LocationHit {
  const IndexRecord* record = nullptr;
  LocationSource source = LocationSource::kOther;
  std::uint64_t firstIndex = 0;  ///< characters in front of the term in the searched text; 9999 if it isn't there
  std::uint64_t labelChars = 0;  ///< characters of the label
  std::uint64_t matchChars = 0;  ///< characters of the term for database rows, of the label for all others
  double score = 0;
};

constexpr std::uint64_t kNotFoundIndex = 9999;

inline bool isDatabase(const LocationHit& hit) {
  return hit.source == LocationSource::kDatabaseNative || hit.source == LocationSource::kDatabaseEnglish;
}

inline std::string_view codeOf(const LocationHit& hit) { return hit.record->fields[location_field::kCode]; }
inline std::string_view labelOf(const LocationHit& hit) { return hit.record->fields[location_field::kLabel]; }

/// All rows that match, in the order that decides between them: native rows by where the first character of their label
/// stands in the compacted title, then English rows by which word of the English reading is the first of their name;
/// rows of one place in the order of the view.
std::vector<LocationHit> findLocationHits(const LocationView& view, const TitleTexts& title);

}  // namespace corvenda
