// The detail of the scene that a title is about.
#pragma once

#include <string_view>

#include "scene/scene_candidates.h"

namespace corvenda {

/// The detail for `sceneKey`: that of the highest-ranked override that equals the whole text, else that of the best
/// "detail" row, else `detail`.
std::string_view chooseDetail(const SceneCandidates& candidates, const TitleTexts& title, std::string_view sceneKey,
                              std::string_view detail);

}  // namespace corvenda
