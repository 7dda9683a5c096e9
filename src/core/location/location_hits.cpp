#include "location/location_hits.h"

#include <algorithm>
#include <optional>
#include <set>
#include <span>
#include <tuple>
#include <unordered_map>

#include "base/number_text.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

/// English words that are never taken as places in English rows, though towns have these names.
constexpr std::string_view kCommonWordTerms[] = {
    "nice", "mobile", "holiday", "wedding", "reading", "orange",  "spring",  "fall",  "normal",
    "home", "office", "coffee",  "list",    "backup",  "project", "version", "final",
};

constexpr std::string_view kHintsChina[] = {
    "china", "beijing", "shanghai", "guangzhou", "shenzhen", "hong kong", "macau", "macao", "taiwan",
};

// Amsterdam is in this list on purpose.
constexpr std::string_view kHintsAmerica[] = {
    "united states", "usa",   "america", "new york", "los angeles",
    "san francisco", "miami", "seattle", "hawaii",   "amsterdam",
};

// The last three go with the labels "Trip", "Street" and "Opéra", which the choice of codes treats apart.
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

constexpr double kMaxLengthScore = 12.0;
constexpr double kMaxPositionScore = 8.0;
constexpr double kWeightFactor = 6.0;

LocationSource sourceFromName(std::string_view name) {
  if (name == "country") return LocationSource::kCountry;
  if (name == "location-famous") return LocationSource::kFamous;
  if (name == "location") return LocationSource::kCurated;
  if (name == "location-db-native") return LocationSource::kDatabaseNative;
  if (name == "location-db-en") return LocationSource::kDatabaseEnglish;
  return LocationSource::kOther;
}

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

/// The first character of a text, its length decided by the lead byte alone and cut to the text's end.
std::string_view firstCharacter(std::string_view text) {
  const auto lead = static_cast<unsigned char>(text.front());
  std::size_t length = 1;
  if ((lead & 0xE0) == 0xC0) length = 2;
  if ((lead & 0xF0) == 0xE0) length = 3;
  if ((lead & 0xF8) == 0xF0) length = 4;
  return text.substr(0, length);
}

/// What the search for one title needs, each made once and only when a row asks for it: most titles name no place.
struct Search {
  const TitleTexts& title;
  bool placesMade = false;  ///< `characters` and `words` are filled
  std::string loweredEnglish;
  std::unordered_map<std::string_view, std::size_t> characters;  ///< of the compacted title, with their first places
  std::unordered_map<std::string, std::size_t> words;            ///< of the English reading, compacted, first places
  std::optional<bool> regionAllowed[std::size(kRegions)];
  std::unordered_map<std::string_view, std::set<std::string_view>> curatedCodes;  ///< by term, see isCuratedToo
};

void makePlaces(Search* search) {
  if (search->placesMade) return;
  search->placesMade = true;
  const TitleTexts& title = search->title;
  for (std::string_view rest = title.compactRaw; !rest.empty();) {
    const std::string_view character = firstCharacter(rest);
    search->characters.emplace(character, title.compactRaw.size() - rest.size());
    rest.remove_prefix(character.size());
  }
  const std::string_view english = title.english;
  for (std::size_t begin = 0; begin < english.size();) {
    const std::size_t end = std::min(english.find(' ', begin), english.size());
    if (end > begin) search->words.emplace(compactTerm(english.substr(begin, end - begin)), begin);
    begin = end + 1;
  }
}

bool hasHint(const Region& region, Search* search) {
  if (region.anyNonAscii && hasNonAscii(search->title.raw)) return true;
  if (search->loweredEnglish.size() != search->title.english.size()) {
    search->loweredEnglish = search->title.english;
    for (char& byte : search->loweredEnglish) {
      if (byte >= 'A' && byte <= 'Z') byte = static_cast<char>(byte - 'A' + 'a');
    }
  }
  // The compacted title holds no blank, so a hint of two words is found there only if the title was written without.
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

/// Where the title first names what the row is looked up by; nothing if it doesn't. English database rows are looked up
/// by their alias, all others by their label: a native row by its first character, an English one by its first word.
std::optional<std::size_t> lookupPlace(const IndexRecord& record, LocationSource source, bool english, Search* search) {
  makePlaces(search);
  const bool byTerm =
      english && (source == LocationSource::kDatabaseNative || source == LocationSource::kDatabaseEnglish);
  const std::string_view name = byTerm ? record.term : record.fields[location_field::kLabel];
  if (name.empty()) return std::nullopt;
  if (english) {
    const auto word = search->words.find(compactTerm(name.substr(0, name.find(' '))));
    if (word != search->words.end()) return word->second;
  } else {
    const auto character = search->characters.find(firstCharacter(name));
    if (character != search->characters.end()) return character->second;
  }
  return std::nullopt;
}

/// True if the base pack's own section "location" has a row with this term and code: it says the same, and it alone
/// counts. A database row inside that section suppresses itself.
bool isCuratedToo(const LocationView& view, const IndexRecord& record, Search* search) {
  if (view.base == nullptr) return false;
  const RecordTable& table = view.base->table;
  // Once a term: one alias can have thousands of rows.
  const auto [entry, added] = search->curatedCodes.try_emplace(record.term);
  if (added) {
    std::vector<std::uint32_t> numbers;
    appendEqualRows(sectionTermIndex(table, Section::kLocation), record.term, &numbers);
    for (const std::uint32_t number : numbers) {
      const IndexRecord& other = table.records[number];
      if (other.section != "location" || other.fields.empty()) continue;
      entry->second.insert(other.fields[location_field::kCode]);
    }
  }
  return entry->second.contains(record.fields[location_field::kCode]);
}

LocationHit makeHit(const IndexRecord& record, LocationSource source, bool english, const TitleTexts& title) {
  LocationHit hit{&record, source, kNotFoundIndex, 0, 0, 0};
  const std::string_view text = english ? title.compactEnglish : title.compactRaw;
  const auto position = containsTerm(text, record.term);
  if (position) hit.firstIndex = countCharacters(text.substr(0, *position));
  const std::uint64_t termChars = countCharacters(record.term);
  hit.labelChars = countCharacters(record.fields[location_field::kLabel]);
  hit.matchChars = isDatabase(hit) ? termChars : hit.labelChars;

  double weight = 0;
  const double weightScore =
      parseNumber(record.fields[location_field::kWeight], &weight) ? kWeightFactor * weight : 0.0;
  const double perCharacter = source == LocationSource::kDatabaseNative ? 2.2 : 1.4;
  const double lengthScore = std::min(kMaxLengthScore, static_cast<double>(termChars) * perCharacter);
  const double positionScore = kMaxPositionScore - std::min(static_cast<double>(hit.firstIndex), kMaxPositionScore);
  hit.score = weightScore + baseScore(source) + lengthScore + positionScore;
  return hit;
}

/// A hit with what orders it: English behind native, place in the title, overlay behind base, row number.
struct OrderedHit {
  std::tuple<bool, std::size_t, bool, std::uint32_t> order;
  LocationHit hit;
};

/// Tests a row whose term stands in the title, in the text of its language.
void addHit(const LocationView& view, const IndexRecord& record, bool overlay, std::uint32_t number, Search* search,
            std::vector<OrderedHit>* hits) {
  const bool english = record.fields[location_field::kLang] == "en";
  const LocationSource source = sourceFromName(record.fields[location_field::kSource]);
  if (english && record.section == "location-base") return;
  if (english &&
      std::find(std::begin(kCommonWordTerms), std::end(kCommonWordTerms), record.term) != std::end(kCommonWordTerms)) {
    return;
  }
  if (!regionAllowed(record.section, search)) return;
  const auto place = lookupPlace(record, source, english, search);
  if (!place) return;
  const LocationHit hit = makeHit(record, source, english, search->title);
  if (isDatabase(hit) && isCuratedToo(view, record, search)) return;
  hits->push_back({{english, *place, overlay, number}, hit});
}

void addHits(const LocationView& view, const std::vector<IndexRecord>& records, const TermIndex& index, bool overlay,
             Search* search, std::vector<OrderedHit>* hits) {
  // Native rows are found in the compacted title, English rows as whole words of the English reading.
  for (const bool english : {false, true}) {
    std::vector<std::uint32_t> numbers;
    if (english) {
      appendWordRunRows(index, search->title.english, &numbers);
    } else {
      appendContainedRows(index, search->title.compactRaw, &numbers);
    }
    for (const std::uint32_t number : numbers) {
      const IndexRecord& record = records[number];
      if (record.fields.size() < location_field::kCount) continue;
      if ((record.fields[location_field::kLang] == "en") != english) continue;
      addHit(view, record, overlay, number, search, hits);
    }
  }
}

}  // namespace

std::vector<LocationHit> findLocationHits(const LocationView& view, const TitleTexts& title) {
  Search search{title, false, {}, {}, {}, {}, {}};
  std::vector<OrderedHit> ordered;
  if (view.base != nullptr) {
    const RecordTable& table = view.base->table;
    addHits(view, table.records, sectionTermIndex(table, Section::kLocation), false, &search, &ordered);
  }
  addHits(view, view.overlayRecords, view.overlayIndex, true, &search, &ordered);
  std::sort(ordered.begin(), ordered.end(), [](const OrderedHit& a, const OrderedHit& b) { return a.order < b.order; });
  std::vector<LocationHit> hits;
  hits.reserve(ordered.size());
  for (const OrderedHit& entry : ordered) hits.push_back(entry.hit);
  return hits;
}

}  // namespace corvenda
