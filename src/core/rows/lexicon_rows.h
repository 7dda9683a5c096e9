// What rows mean: the positional conventions over their fields, and the typed rows that resolvers read.
//
// All numbers in a row are text, converted once when the row is read in. A row may be longer than its convention, or
// shorter: `fieldCount` says how long it is, and fields that it lacks read as empty. Readers check the count that they
// need. A row that they skip still counts where it is: it can hide a good row with the same key.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace corvenda {

/// Section "scene": an alias of a scene. The fields from kLabel on repeat the scene's data in every row of the scene.
namespace scene_field {
enum : std::size_t {
  kKey,
  kDetail,       ///< the scene's default detail, the detail's label or the override's detail label; may be empty
  kRowPriority,  ///< number
  kKind,         ///< "category", "detail", "short", "compound" or "conflict"
  kLang,         ///< "zh" or "en"
  kLabel,
  kArchiveLabel,
  kArchiveCode,
  kIcon,
  kDefaultDetail,
  kPriority,
  kCount,
};
}  // namespace scene_field

/// Section "human": an everyday phrase that implies a scene. An empty scene key is a veto (batch only).
namespace human_field {
enum : std::size_t { kSceneKey, kDetail, kCount };
}

/// Section "facet".
namespace facet_field {
enum : std::size_t { kDimension, kFacetKey, kWeight, kLang, kCount };
}

/// Section "location" and all sections that begin with "location-".
namespace location_field {
enum : std::size_t { kCode, kSource, kWeight, kLabel, kLang, kCountryLabel, kCount };
}

/// Sections "celebrity" and "celebrity-overlay". kTags is optional: tags joined by kTagSeparator.
namespace celebrity_field {
enum : std::size_t { kId, kName, kKind, kRegion, kPriority, kPhotoKey, kCount, kTags = kCount };
}
constexpr char kTagSeparator = '\x1E';

/// What kind of evidence a scene row is, by its kind field, the weakest first; kOther for every other text and for a
/// row without the field.
enum class SceneKind : std::uint8_t { kOther, kCategory, kDetail, kCompound, kConflict, kShort };

SceneKind sceneKindFromName(std::string_view name);

/// How strong the evidence is: 500 for "short", 400 "conflict", 300 "compound", 200 "detail", 100 "category"; 0 for
/// every other kind. Callers see these numbers.
constexpr std::int32_t rankOf(SceneKind kind) { return 100 * static_cast<std::int32_t>(kind); }

/// True for the three kinds that override plain aliases: "short", "conflict" and "compound".
constexpr bool isOverride(SceneKind kind) { return kind >= SceneKind::kCompound; }

/// Where a place comes from, by its source field.
enum class LocationSource : std::uint8_t { kCountry, kFamous, kCurated, kDatabaseNative, kDatabaseEnglish, kOther };

LocationSource locationSourceFromName(std::string_view name);

/// Database rows count only for titles in which no other place row matches.
constexpr bool isDatabase(LocationSource source) {
  return source == LocationSource::kDatabaseNative || source == LocationSource::kDatabaseEnglish;
}

/// What decides between scene rows, known without reading their fields.
struct SceneEvidence {
  std::string_view term;
  SceneKind kind = SceneKind::kOther;
  bool tagged = false;            ///< it has a language field; some rules skip rows without one
  bool english = false;           ///< the language is "en"
  bool chinese = false;           ///< the language is "zh"
  bool plain = false;             ///< the term is a plain token
  bool priorityIsNumber = false;  ///< the whole text of the row's priority is a number; an empty text is 0
  double priority = 0;
};

struct SceneRow {
  std::uint32_t fieldCount = 0;
  std::string_view key;
  std::string_view detail;
  std::string_view rowPriority;  ///< as text
  std::string_view lang;
  std::string_view label;
  std::string_view archiveLabel;
  std::string_view archiveCode;
  std::string_view icon;
  std::string_view defaultDetail;
  std::string_view priority;
};

struct HumanRow {
  std::string_view term;
  std::uint32_t fieldCount = 0;
  std::string_view sceneKey;
  std::string_view detail;
  bool plain = false;  ///< the term is a plain token: it is looked for as whole words of the English reading
};

struct FacetRow {
  std::string_view term;
  std::uint32_t fieldCount = 0;
  std::string_view dimension;
  std::string_view facetKey;
  std::string_view lang;
  bool weightIsNumber = false;  ///< the whole text is one; an empty text is 0
  double weight = 0;
};

struct PlaceRow {
  std::string_view section;
  std::string_view term;
  std::uint32_t fieldCount = 0;
  std::string_view code;
  std::string_view sourceName;
  std::string_view label;
  std::string_view countryLabel;
  LocationSource source = LocationSource::kOther;
  bool english = false;         ///< the language field is "en"
  bool weightIsNumber = false;  ///< the whole text is one
  double weight = 0;            ///< of the front of the text, as far as that is a number
};

struct CelebrityRow {
  std::string_view term;
  std::uint32_t fieldCount = 0;
  std::string_view id;
  std::string_view name;
  std::string_view kind;
  std::string_view region;
  std::string_view photoKey;
  std::string_view tags;  ///< joined by kTagSeparator
};

}  // namespace corvenda
