// Why a title came out as it did, for the people who write lexicons. The resolvers of the core tell it themselves: no
// rule is written a second time here.
#pragma once

#include "addon/border.h"

namespace corvenda {

/// Resolves one title as `resolveSceneIntentBatch` does, with the same options but "raw" and "normalizedEnglish" in
/// place of "cases"; "celebrityOverlay" and "mediaType" are those of the celebrity batch. The result has the batch's
/// answer and how it came about; tools/explain.mjs says what its properties mean. Errors: those of the batch.
napi_value explainTitle(napi_env env, napi_value object, Failure* failure);

}  // namespace corvenda
