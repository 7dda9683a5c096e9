// Scene intent for one title.
#pragma once

#include "rows/record_table.h"
#include "scene/scene_answer.h"

namespace corvenda {

/// Which scene `title` speaks of, with which detail, and on the strength of which alias. `candidates` holds what the
/// answer points into and must outlive it.
///
/// The batch (scene_intent_batch.h) gathers by stricter rules. The two differ on purpose, rule by rule.
SceneAnswer resolveSceneIntent(const RecordTable& table, const TitleTexts& title, SceneCandidates* candidates);

}  // namespace corvenda
