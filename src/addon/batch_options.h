// The options that say what titles are resolved against.
#pragma once

#include <string>

#include "addon/border.h"
#include "batch/batch_lexicon.h"

namespace corvenda {

/// Loads the base pack and what "sceneOverlay", "overlayPackPath", "overlayAllowedRoot" and "locationOverlay" name, in
/// the order of BatchCaller. Errors: those of the loader, and "overlayAllowedRoot is required with overlayPackPath".
bool openLexicon(napi_env env, napi_value object, const std::string& packPath, const std::string& allowedRoot,
                 BatchLexicon* lexicon, Failure* failure);

}  // namespace corvenda
