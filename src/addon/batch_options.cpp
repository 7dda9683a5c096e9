#include "addon/batch_options.h"

#include "addon/caller_overlays.h"
#include "addon/environment.h"
#include "addon/options.h"

namespace corvenda {

bool openLexicon(napi_env env, napi_value object, const std::string& packPath, const std::string& allowedRoot,
                 BatchLexicon* lexicon, Failure* failure) {
  BatchCaller caller;
  caller.acted = !isOrdinary(env, object);
  const auto has = [&](const char* name) {
    const bool there = hasProperty(env, object, name);
    caller.acted = caller.acted || there;
    return there;
  };
  caller.readSceneOverlay = [&](const RecordTable& base, RecordTable* rows) {
    if (has("sceneOverlay")) readSceneLexicon(env, getProperty(env, object, "sceneOverlay"), base, rows);
  };
  caller.readOverlayPack = [&](std::string* path, std::string* root) {
    if (has("overlayPackPath")) *path = readStringOrEmpty(env, object, "overlayPackPath");
    if (has("overlayAllowedRoot")) *root = readStringOrEmpty(env, object, "overlayAllowedRoot");
    return path->empty() || !root->empty() ||
           failAs(failure, ErrorKind::kTypeError, "overlayAllowedRoot is required with overlayPackPath");
  };
  caller.readLocationOverlay = [&](RecordTable* rows) {
    if (has("locationOverlay")) readLocationOverlay(env, getProperty(env, object, "locationOverlay"), rows);
  };
  return openBatchLexicon(packPath, allowedRoot, caller, lexicon, failure);
}

}  // namespace corvenda
