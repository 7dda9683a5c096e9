// A location row as the resolver reads it: what doesn't depend on the title, worked out once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "pack/pack_records.h"
#include "scene/scene_answer.h"

namespace corvenda {

/// The class of a row, by its field "source". It decides the base score, and which rows silence which.
enum class LocationSource : std::uint8_t {
  kCountry,          ///< "country"
  kFamous,           ///< "location-famous"
  kCurated,          ///< "location"
  kDatabaseNative,   ///< "location-db-native"
  kDatabaseEnglish,  ///< "location-db-en"
  kOther,            ///< anything else, a caller's "location-overlay" too
};

constexpr bool isDatabase(LocationSource source) {
  return source == LocationSource::kDatabaseNative || source == LocationSource::kDatabaseEnglish;
}

/// Sections whose rows count only in titles that show signs of the region.
enum class LocationRegion : std::uint8_t { kChina, kUnitedStates, kEurope, kAsia, kCount };

struct LocationRow {
  const IndexRecord* record = nullptr;  ///< at least six fields
  LocationSource source = LocationSource::kOther;
  bool english = false;                  ///< tested against the English reading, else against the raw title
  std::optional<LocationRegion> region;  ///< nothing for a row that counts everywhere
  double weight = 0;                     ///< what its text converts to, 0 if nothing does
  double titleFreeScore = 0;             ///< weight, base and length score; the position score is added to it
  std::uint64_t labelChars = 0;
  std::uint64_t matchChars = 0;  ///< characters that a hit covers: of the term for a database row, else of the label
};

/// The row for a record of six fields or more.
LocationRow makeLocationRow(const IndexRecord& record);

/// True for a row that is no hit in any title: an English row of "location-base", or an English row whose term is an
/// everyday word.
bool isNeverHit(const LocationRow& row);

/// The text by which a row is admitted to a title: it is a candidate only if the title's English words (for an English
/// row) or characters (for any other) hold it. A database row in English is admitted by its term, every other row by
/// its label. Nothing for a row without that text, which can't be found at all. An English key is the text up to its
/// first blank, still to be folded; any other is the text's first character.
std::optional<std::string_view> admissionKey(const LocationRow& row);

/// The length in bytes of the character at the front of a text that is not empty. The lead byte alone decides; a stray
/// byte is a character of its own, and a cut-off character ends with the text.
std::size_t leadCharacterSize(std::string_view text);

/// The region of a section, nothing if its rows count everywhere.
std::optional<LocationRegion> regionOfSection(std::string_view section);

/// True if the title shows signs of the region: one of its hint words stands in the compacted title, or in the English
/// reading in lower case. The first has no blanks, so a hint of two words is found there only if it was written as one.
/// For China, any byte beyond ASCII in the title is enough.
bool regionAllowed(LocationRegion region, const TitleTexts& title);

}  // namespace corvenda
