// The positional conventions over the fields of a row. All numbers are text. A row may be longer than its convention;
// readers check the count that they need and skip a shorter row.
#pragma once

#include <cstddef>
#include <cstdint>

#include "pack/pack_records.h"

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

/// True for a master row: the row of kind "category" with all fields, where the scene's own data is taken from.
inline bool isMasterRow(const IndexRecord& record) {
  return record.fields.size() >= scene_field::kCount && record.fields[scene_field::kKind] == "category";
}

/// The field, or an empty text if the row is shorter.
inline const std::string& fieldOrEmpty(const IndexRecord& record, std::size_t field) {
  static const std::string empty;
  return field < record.fields.size() ? record.fields[field] : empty;
}

constexpr std::int32_t kShortRank = 500;
constexpr std::int32_t kConflictRank = 400;
constexpr std::int32_t kCompoundRank = 300;
constexpr std::int32_t kDetailRank = 200;
constexpr std::int32_t kCategoryRank = 100;

/// The rank of the row's kind; 0 for a kind that is none of the five.
std::int32_t sceneRowRank(const IndexRecord& record);

}  // namespace corvenda
