// Caller overlays: plain JavaScript values that become rows of the shapes that packs have.
//
// Reading is tolerant and never fails a call. A wrong type or a getter that throws counts as absent; the pending
// exception is taken and dropped, and reading goes on with the next property or element.
#pragma once

#include <node_api.h>

#include "rows/record_table.h"

namespace corvenda {

/// Adds the rows of a "sceneOverlay" to `rows`: "categories", then "shortTitleOverrides", "compoundOverrides" and
/// "conflictOverrides". An override takes its scene's data from the first master row of the scene, in `base` or else
/// among the categories just read.
void readSceneLexicon(napi_env env, napi_value value, const RecordTable& base, RecordTable* rows);

/// Adds the rows of a "locationOverlay".
void readLocationOverlay(napi_env env, napi_value value, RecordTable* rows);

/// Adds the rows of a "celebrityOverlay".
void readCelebrityOverlay(napi_env env, napi_value value, RecordTable* rows);

}  // namespace corvenda
