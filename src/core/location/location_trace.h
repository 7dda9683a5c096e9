// What the search for a title's places turned down, and why: for people who ask why a title came out as it did. The
// search reports it itself, if it is given a trace.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "location/location_hits.h"

namespace corvenda {

/// Why a row whose term stands in the title is no hit.
enum class PlaceDrop : std::uint8_t {
  kMalformed,    ///< too few fields
  kBaseEnglish,  ///< an English row of the section "location-base"
  kCommonWord,   ///< a town whose name is an everyday English word
  kRegion,       ///< no sign of the region of the row's section
  kKeyMissing,   ///< the title doesn't hold the first character or word of the row's name
  kCurated,      ///< a database row that repeats a curated one
};

struct DroppedPlace {
  PlaceRow row;
  std::size_t part = 0;      ///< position of its table in the list of places
  std::uint32_t number = 0;  ///< of the row in the table
  PlaceDrop reason = PlaceDrop::kMalformed;
};

/// By what the codes of a title were chosen among its hits.
enum class CodeChoice : std::uint8_t {
  kCurated,  ///< by what isn't from a database: that silences all that is
  kPlaces,   ///< by the earliest and longest names; the title isn't English
  kScores,   ///< by the total score of each code
};

/// What the hits of one code come to.
struct CodeTotal {
  std::string_view code;
  double total = 0;
  std::size_t labels = 0;
};

struct LocationTrace {
  std::vector<DroppedPlace> dropped;
  CodeChoice choice = CodeChoice::kCurated;
  std::vector<const LocationHit*> nested;  ///< kPlaces: dropped because a longer name covers them
  std::vector<CodeTotal> totals;           ///< kScores: in the order of the codes
};

}  // namespace corvenda
