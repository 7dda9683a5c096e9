// The result of scene resolution, shared by the call for one title and the batch.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "rows/lexicon_rows.h"

namespace corvenda {

/// The "entry" of a hit: the data of its scene, all as text, even the priority. The key is that of the answer.
struct SceneEntry {
  std::string_view key;
  std::string_view defaultDetail;
  std::string_view priority;
  std::string_view label;
  std::string_view archiveLabel;
  std::string_view archiveCode;
  std::string_view icon;
  const char* identity = nullptr;  ///< of one row with all texts but the key; null if they are from several
};

struct IntentHit {
  std::string_view alias;
  std::string_view type;  ///< language tag of the deciding row
  std::int32_t rank = 0;
  double score = 0;
  SceneEntry entry;
};

/// The answer for one title. Its texts point into the title and the rows.
struct SceneAnswer {
  std::string_view sceneKey;
  std::string_view sceneDetail;
  std::optional<IntentHit> hit;
};

/// The scene's data from a row. A row too short for a default detail reports `detail` in its place, and one too short
/// for the scene's priority its own.
SceneEntry makeSceneEntry(const SceneRow& row, std::string_view sceneKey, std::string_view detail);

}  // namespace corvenda
