#include "rows/lexicon_rows.h"

namespace corvenda {

SceneKind sceneKindFromName(std::string_view name) {
  if (name == "short") return SceneKind::kShort;
  if (name == "conflict") return SceneKind::kConflict;
  if (name == "compound") return SceneKind::kCompound;
  if (name == "detail") return SceneKind::kDetail;
  if (name == "category") return SceneKind::kCategory;
  return SceneKind::kOther;
}

LocationSource locationSourceFromName(std::string_view name) {
  if (name == "country") return LocationSource::kCountry;
  if (name == "location-famous") return LocationSource::kFamous;
  if (name == "location") return LocationSource::kCurated;
  if (name == "location-db-native") return LocationSource::kDatabaseNative;
  if (name == "location-db-en") return LocationSource::kDatabaseEnglish;
  return LocationSource::kOther;
}

}  // namespace corvenda
