// The places that a title speaks of. Titles are short and full of words that are also names of places, so this is
// mostly about saying no: database rows give way to curated ones, an everyday word is no town, and a row of a regional
// table needs a title that shows signs of the region.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cache/location_view.h"
#include "scene/scene_answer.h"

namespace corvenda {

/// A row that matched.
struct LocationHit {
  const LocationRow* row = nullptr;
  std::uint64_t firstIndex = 0;  ///< characters before the term's first occurrence in the compacted text; see kNotFound
  double score = 0;
};

/// `firstIndex` of a term that matched as a run of words but doesn't occur in the folded text.
constexpr std::uint64_t kNotFound = 9999;

/// The row behind "primaryHit".
struct LocationPrimaryHit {
  std::string_view label;  ///< also reported as "alias"
  std::string_view source;
  std::uint64_t firstIndex = 0;
  std::uint64_t labelChars = 0;
  double weight = 0;
};

struct LocationMeta {
  std::string_view countryCode;  ///< the primary code
  std::string_view countryLabel;
  std::string locationLabel;  ///< empty if only the country is named
  std::string shortLabel;     ///< also reported as "fullLabel"
  std::optional<LocationPrimaryHit> primaryHit;
};

/// The answer for one title. Its texts point into the view's rows unless they are made up here.
struct LocationAnswer {
  std::vector<std::string_view> codes;  ///< at most three, the primary one first
  std::optional<LocationMeta> meta;     ///< nothing if no row matched
  bool found = false;                   ///< the title names a place
};

/// All hits, in the order in which the title's characters and then its English words lead to them, in the order of the
/// rows behind each.
std::vector<LocationHit> findLocationHits(const LocationView& view, const TitleTexts& title);

LocationAnswer resolveLocation(const LocationView& view, const TitleTexts& title);

}  // namespace corvenda
