// Scene intent for one title.
#pragma once

#include "rows/record_table.h"
#include "scene/scene_answer.h"
#include "text/title.h"

namespace corvenda {

/// Which scene `title` speaks of, with which detail, and on the strength of which alias. The answer points into the
/// title and the table.
///
/// The batch (batch/scene_intent_batch.h) gathers by stricter rules. The two differ on purpose, rule by rule.
SceneAnswer resolveSceneIntent(const RecordTable& table, const TitleTexts& title);

}  // namespace corvenda
