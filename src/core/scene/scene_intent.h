// Scene intent for one title.
#pragma once

#include "rows/record_table.h"
#include "scene/scene_answer.h"
#include "text/title.h"

namespace corvenda {

/// Which scene `title` is about, with which detail, and which alias decided. The answer points into the title and the
/// table.
///
/// The batch (batch/scene_intent_batch.h) gathers by stricter rules; where the two differ, it is on purpose.
SceneAnswer resolveSceneIntent(const RecordTable& table, const TitleTexts& title);

}  // namespace corvenda
