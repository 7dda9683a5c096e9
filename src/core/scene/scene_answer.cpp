#include "scene/scene_answer.h"

namespace corvenda {

SceneEntry makeSceneEntry(const SceneRow& row, std::string_view sceneKey, std::string_view detail) {
  SceneEntry entry;
  entry.key = sceneKey;
  entry.defaultDetail = row.fieldCount > scene_field::kDefaultDetail ? row.defaultDetail : detail;
  entry.priority = row.fieldCount > scene_field::kPriority ? row.priority : row.rowPriority;
  entry.label = row.label;
  entry.archiveLabel = row.archiveLabel;
  entry.archiveCode = row.archiveCode;
  entry.icon = row.icon;
  if (row.fieldCount >= scene_field::kCount) entry.identity = row.icon.data();
  return entry;
}

}  // namespace corvenda
