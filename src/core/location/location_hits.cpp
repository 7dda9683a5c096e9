#include "location/location_hits.h"

#include <algorithm>
#include <optional>
#include <string>
#include <tuple>

#include "location/location_trace.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

/// Names of towns that are everyday words: English rows with these terms never match.
constexpr std::string_view kCommonWordTerms[] = {
    "nice", "mobile", "holiday", "wedding", "reading", "orange",  "spring",  "fall",  "normal",
    "home", "office", "coffee",  "list",    "backup",  "project", "version", "final",
};

constexpr std::string_view kHintsChina[] = {
    "china", "beijing", "shanghai", "guangzhou", "shenzhen", "hong kong", "macau", "macao", "taiwan",
};

// Titles with "amsterdam" open the American rows and not the European ones. That is no slip to mend: results depend on
// it.
constexpr std::string_view kHintsAmerica[] = {
    "united states", "usa",   "america", "new york", "los angeles",
    "san francisco", "miami", "seattle", "hawaii",   "amsterdam",
};

// The last three are words of many titles rather than places. They open the European rows all the same; results depend
// on it.
constexpr std::string_view kHintsEurope[] = {
    "europe", "france", "paris", "london", "england",   "united kingdom", "germany", "berlin",
    "italy",  "rome",   "spain", "greece", "santorini", "trip",           "street",  "opera",
};

constexpr std::string_view kHintsAsia[] = {
    "japan", "tokyo",     "korea",    "seoul",        "busan",   "thailand", "bangkok",
    "bali",  "singapore", "malaysia", "kuala lumpur", "vietnam", "dubai",
};

struct Region {
  std::string_view section;
  std::span<const std::string_view> hints;
  bool anyNonAscii;  ///< a title with a byte of 128 or above needs no hint
};

constexpr Region kRegions[] = {
    {"location-cn", kHintsChina, true},
    {"location-us", kHintsAmerica, false},
    {"location-eu", kHintsEurope, false},
    {"location-asia", kHintsAsia, false},
};

// The parts of a hit's score, all of them part of the contract: source, weight, length of the term and how early it
// stands. A hit of a better source can still lose to a longer, earlier or heavier one.
constexpr double kMaxLengthScore = 12.0;
constexpr double kMaxPositionScore = 8.0;
constexpr double kWeightFactor = 6.0;

double baseScore(LocationSource source) {
  switch (source) {
    case LocationSource::kCountry: return 34.0;
    case LocationSource::kFamous: return 32.0;
    case LocationSource::kCurated: return 24.0;
    case LocationSource::kDatabaseNative: return 18.0;
    case LocationSource::kDatabaseEnglish: return 14.0;
    case LocationSource::kOther: break;
  }
  return 10.0;
}

/// The first character of a text. Its lead byte alone decides how long it is, up to the end of the text.
std::string_view firstCharacter(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  std::size_t length = 1;
  if ((lead & 0xE0) == 0xC0) length = 2;
  if ((lead & 0xF0) == 0xE0) length = 3;
  if ((lead & 0xF8) == 0xF0) length = 4;
  return text.substr(0, length);
}

/// What the search for one title needs. Each part is made once, when the first row needs it: most titles name no place.
struct Search {
  const RecordTable& base;
  const TitleTexts& title;
  LocationTrace* trace;  ///< or null
  std::string loweredEnglish;
  std::optional<bool> regionAllowed[std::size(kRegions)];
  std::string_view character;  ///< the character that was searched last, and its place
  std::optional<std::size_t> characterPlace;
  std::string_view curatedTerm;  ///< the term that was looked up last, and its codes; see isCuratedToo
  std::vector<std::string_view> curatedCodes;
};

// --- Regions -------------------------------------------------------------------------------------------------------

bool hasHint(const Region& region, Search* search) {
  if (region.anyNonAscii && search->title.nonAscii) return true;
  if (search->loweredEnglish.size() != search->title.english.size()) {
    search->loweredEnglish = search->title.english;
    for (char& byte : search->loweredEnglish) {
      if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
    }
  }
  // The compacted title has no blanks, so a hint of two words is never found in it, only in the English reading.
  return std::any_of(region.hints.begin(), region.hints.end(), [&](std::string_view hint) {
    return containsTerm(search->title.compactRaw, hint) || containsTerm(search->loweredEnglish, hint);
  });
}

/// A row of a regional section may match only if the title shows signs of that region.
bool regionAllowed(std::string_view section, Search* search) {
  for (std::size_t i = 0; i < std::size(kRegions); ++i) {
    if (kRegions[i].section != section) continue;
    auto& allowed = search->regionAllowed[i];
    if (!allowed) allowed = hasHint(kRegions[i], search);
    return *allowed;
  }
  return true;
}

// --- What a row is looked up by ------------------------------------------------------------------------------------

/// Where the character first occurs in the compacted title, walking by whole characters.
std::optional<std::size_t> findCharacter(std::string_view character, Search* search) {
  if (character == search->character) return search->characterPlace;
  search->character = character;
  search->characterPlace.reset();
  const std::string_view text = search->title.compactRaw;
  for (std::size_t place = 0; place < text.size(); place += firstCharacter(text.substr(place)).size()) {
    if (firstCharacter(text.substr(place)) != character) continue;
    search->characterPlace = place;
    break;
  }
  return search->characterPlace;
}

/// Where the word first occurs in the English reading; folds are compared.
std::optional<std::size_t> findWord(std::string_view word, std::string_view english) {
  for (std::size_t begin = 0; begin < english.size();) {
    const std::size_t end = std::min(english.find(' ', begin), english.size());
    if (end > begin && isSameFold(english.substr(begin, end - begin), word)) return begin;
    begin = end + 1;
  }
  return std::nullopt;
}

/// Where the title first holds the key of the row; nothing if it doesn't. English database rows take their key from the
/// alias, all others from the label: a native row its first character, an English one its first word.
std::optional<std::size_t> lookupPlace(const PlaceRow& row, Search* search) {
  const std::string_view name = row.english && isDatabase(row.source) ? row.term : row.label;
  if (name.empty()) return std::nullopt;
  return row.english ? findWord(name.substr(0, name.find(' ')), search->title.english)
                     : findCharacter(firstCharacter(name), search);
}

// --- Curated twins -------------------------------------------------------------------------------------------------

/// A place row of which the term was found in the title.
struct FoundPlace {
  const PlaceRow& row;
  const RecordTable& table;
  std::uint32_t number;  ///< in the table
};

/// Adds the codes of the rows of a term, `lastRow` among them, that are in the section "location" itself.
void addCuratedCodes(const RecordTable& table, const TermIndex& index, std::optional<std::uint32_t> lastRow,
                     std::vector<std::string_view>* codes) {
  if (!lastRow) return;
  forEachRow(index, *lastRow, [&](std::uint32_t number) {
    if (segmentOf(table, number).name != "location") return;
    const PlaceRow row = placeRowAt(table, number);
    if (row.fieldCount > location_field::kCode) codes->push_back(row.code);
  });
}

/// True if the base pack's own section "location" has a row with this term and code: then a database row says nothing
/// new. A database row inside that section suppresses itself.
bool isCuratedToo(const FoundPlace& place, Search* search) {
  const PlaceRow& row = place.row;
  // Looked up once per term: one alias can have thousands of rows.
  if (row.term != search->curatedTerm) {
    search->curatedTerm = row.term;
    search->curatedCodes.clear();
    const RecordTable& base = search->base;
    for (const bool english : {false, true}) {
      const TermIndex& index = english ? englishIndex(base) : nativeIndex(base);
      // A row of the base pack leads to all others with its term, without a look-up.
      const bool known = &place.table == &base && row.english == english;
      addCuratedCodes(base, index, known ? std::optional(place.number) : findWholeTerm(base, index, row.term),
                      &search->curatedCodes);
    }
    std::sort(search->curatedCodes.begin(), search->curatedCodes.end());
  }
  return std::binary_search(search->curatedCodes.begin(), search->curatedCodes.end(), row.code);
}

// --- Hits ----------------------------------------------------------------------------------------------------------

LocationScore scoreOf(const PlaceRow& row, std::uint64_t termChars, std::uint64_t firstIndex) {
  const double perCharacter = row.source == LocationSource::kDatabaseNative ? 2.2 : 1.4;
  return {row.weightIsNumber ? kWeightFactor * row.weight : 0.0, baseScore(row.source),
          std::min(kMaxLengthScore, static_cast<double>(termChars) * perCharacter),
          kMaxPositionScore - std::min(static_cast<double>(firstIndex), kMaxPositionScore)};
}

/// Scores a hit whose term stands at `position` in the text of the row's language.
void scoreHit(std::optional<std::size_t> position, const TitleTexts& title, LocationHit* hit) {
  const PlaceRow& row = hit->row;
  const std::string_view text = row.english ? title.compactEnglish : title.compactRaw;
  hit->firstIndex = position ? countCharacters(text.substr(0, *position)) : kNotFoundIndex;
  const std::uint64_t termChars = countCharacters(row.term);
  hit->labelChars = countCharacters(row.label);
  hit->matchChars = isDatabase(row.source) ? termChars : hit->labelChars;

  const LocationScore score = scoreOf(row, termChars, hit->firstIndex);
  hit->score = score.weight + score.source + score.length + score.position;
}

/// English after native, place in the title, table, row number.
bool foundBefore(const LocationHit& a, const LocationHit& b) {
  return std::tie(a.row.english, a.place, a.part, a.number) < std::tie(b.row.english, b.place, b.part, b.number);
}

bool isCommonWord(std::string_view term) {
  return std::find(std::begin(kCommonWordTerms), std::end(kCommonWordTerms), term) != std::end(kCommonWordTerms);
}

/// Adds a row whose term was found at `position`, if it passes all the tests.
void addHit(const FoundPlace& found, std::uint32_t position, std::size_t part, Search* search,
            std::vector<LocationHit>* hits) {
  const PlaceRow& row = found.row;
  const auto drop = [&](PlaceDrop reason) {
    if (search->trace != nullptr) search->trace->dropped.push_back({row, part, found.number, reason});
  };
  if (row.fieldCount < location_field::kCount) return drop(PlaceDrop::kMalformed);
  if (row.english && row.section == "location-base") return drop(PlaceDrop::kBaseEnglish);
  if (row.english && isCommonWord(row.term)) return drop(PlaceDrop::kCommonWord);
  if (!regionAllowed(row.section, search)) return drop(PlaceDrop::kRegion);
  const auto place = lookupPlace(row, search);
  if (!place) return drop(PlaceDrop::kKeyMissing);
  if (isDatabase(row.source) && isCuratedToo(found, search)) return drop(PlaceDrop::kCurated);
  LocationHit& hit = hits->emplace_back();
  hit.row = row;
  hit.place = *place;
  hit.part = part;
  hit.number = found.number;
  scoreHit(row.english ? containsTerm(search->title.compactEnglish, row.term) : position, search->title, &hit);
}

}  // namespace

LocationScore locationScore(const LocationHit& hit) {
  return scoreOf(hit.row, countCharacters(hit.row.term), hit.firstIndex);
}

void findLocationHits(const RecordTable& base, std::span<const PlaceRows> places, const TitleTexts& title,
                      std::vector<LocationHit>* hits, LocationTrace* trace) {
  hits->clear();
  Search search{base, title, trace, {}, {}, {}, {}, {}, {}};
  for (std::size_t part = 0; part < places.size(); ++part) {
    for (const FoundRow& found : *places[part].rows) {
      const PlaceRow row = placeRowAt(*places[part].table, found.row);
      addHit({row, *places[part].table, found.row}, found.position, part, &search, hits);
    }
  }
  if (hits->size() > 1) std::sort(hits->begin(), hits->end(), foundBefore);
}

}  // namespace corvenda
