// What the resolving of a title's scene did besides its answer: for people who ask why a title came out as it did. The
// steps report it themselves, if they are given a trace; the candidates and their order are those that they used.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "scene/scene_candidates.h"

namespace corvenda {

/// Why a row whose term stands in the title is no candidate.
enum class SceneDrop : std::uint8_t {
  kNotWholeTitle,  ///< of kind "short", but not the whole title
  kPlainInAscii,   ///< a plain alias that isn't English, in an all-ASCII title of a batch
  kRepeated,       ///< a row with the same term and fields was taken before
};

struct DroppedSceneRow {
  const RecordTable* table = nullptr;
  std::uint32_t number = 0;
  SceneDrop reason = SceneDrop::kNotWholeTitle;
};

/// A phrase or an identity of the title.
struct TracedPhrase {
  std::string_view term;  ///< of its row
  std::string_view sceneKey;
  std::string_view detail;
  bool identity = false;              ///< of a creator, from a facet row
  bool veto = false;                  ///< says that the title has no scene
  const SceneRow* implied = nullptr;  ///< the candidate's row; null for a veto, and if the scene has no master row
};

struct SceneTrace {
  std::vector<DroppedSceneRow> dropped;
  std::vector<TracedPhrase> phrases;
  std::vector<SceneCandidate> cleared;              ///< by a veto
  const SceneCandidate* detailCandidate = nullptr;  ///< the row of kind "detail" that gave the detail
};

}  // namespace corvenda
