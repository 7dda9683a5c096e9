// The part of a result that the call for one title and the batch share.
#pragma once

#include <string_view>

#include <napi.h>

#include "scene/scene_answer.h"

namespace corvenda {

constexpr std::string_view kSceneContract = "native-scene-v1";

/// Sets "sceneKey", "sceneDetail" and "intentHit", in this order. False at the first step that fails.
bool setSceneAnswer(napi_env env, napi_value result, const SceneAnswer& answer);

}  // namespace corvenda
