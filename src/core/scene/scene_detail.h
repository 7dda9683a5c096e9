// The detail of the scene that a title is about.
#pragma once

#include <string_view>

#include "scene/scene_candidates.h"

namespace corvenda {

/// The detail for the scene of `top`, a row of ranked candidates: that of the highest-ranked override that equals the
/// whole text, else that of the best "detail" row, else that of `top`.
std::string_view chooseDetail(SceneCandidates* candidates, const TitleTexts& title, const SceneRow& top);

}  // namespace corvenda
