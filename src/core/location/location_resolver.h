// The places that a title names. Most of the work is turning rows down: database rows give way to curated ones, a
// common English word is not a town, and a row of a regional section counts only if the title shows signs of that
// region.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "location/location_hits.h"
#include "text/title.h"

namespace corvenda {

/// The best hit of the primary code that isn't a country.
struct PrimaryLocationHit {
  std::string_view label;
  std::string_view source;
  std::uint64_t index = 0;  ///< characters before the term in the compacted text; 9999 if it isn't there
  std::uint64_t len = 0;    ///< characters of the label
  double weight = 0;
};

/// Display data of a title with at least one hit.
struct LocationMeta {
  std::string_view countryCode;  ///< the primary code
  std::string_view countryLabel;
  std::string_view locationLabel;  ///< may be empty
  std::string_view shortLabel;
  const char* identity = nullptr;  ///< of one row with all of these texts; null if they are from two
  std::optional<PrimaryLocationHit> primaryHit;
};

/// What resolving a title needs. Kept from title to title to reuse its memory.
struct LocationScratch {
  std::vector<LocationHit> hits;
  std::vector<std::string_view> codes;
  std::string locationLabel;
  std::string shortLabel;
  LocationTrace* trace = nullptr;  ///< of people who ask why, see location_trace.h; null for all others
};

/// Points into the rows and the scratch.
struct LocationAnswer {
  bool found = false;                       ///< the title names a place
  std::span<const std::string_view> codes;  ///< at most three
  std::optional<LocationMeta> meta;
};

/// `places` are the rows of each table whose terms occur in the title; `base` is the base pack's table.
LocationAnswer resolveLocation(const RecordTable& base, std::span<const PlaceRows> places, const TitleTexts& title,
                               LocationScratch* scratch);

}  // namespace corvenda
