#include "addon/batch_options.h"

#include "addon/caller_overlays.h"
#include "addon/options.h"

namespace corvenda {
namespace {

/// The option if it is there and a string, else the empty string.
std::string readOptionalString(napi_env env, napi_value object, const char* name) {
  return hasProperty(env, object, name) ? readStringOrEmpty(env, object, name) : std::string();
}

/// Path and root of the overlay pack. Error: "overlayAllowedRoot is required with overlayPackPath".
bool readOverlayPack(napi_env env, napi_value object, std::string* path, std::string* root, Failure* failure) {
  *path = readOptionalString(env, object, "overlayPackPath");
  *root = readOptionalString(env, object, "overlayAllowedRoot");
  return path->empty() || !root->empty() ||
         failAs(failure, ErrorKind::kTypeError, "overlayAllowedRoot is required with overlayPackPath");
}

}  // namespace

bool openLexicon(napi_env env, napi_value object, const std::string& packPath, const std::string& allowedRoot,
                 BatchLexicon* lexicon, Failure* failure) {
  const BatchCaller caller{
      [&](const RecordTable& base, RecordTable* rows) {
        if (!hasProperty(env, object, "sceneOverlay")) return;
        readSceneLexicon(env, getProperty(env, object, "sceneOverlay"), base, rows);
      },
      [&](std::string* path, std::string* root) { return readOverlayPack(env, object, path, root, failure); },
      [&](RecordTable* rows) {
        if (!hasProperty(env, object, "locationOverlay")) return;
        readLocationOverlay(env, getProperty(env, object, "locationOverlay"), rows);
      }};
  return openBatchLexicon(packPath, allowedRoot, caller, lexicon, failure);
}

}  // namespace corvenda
