#include "addon/exports/exports.h"
#include "addon/options.h"
#include "addon/shared_descriptions.h"
#include "cache/rule_pack_loader.h"
#include "scene/scene_intent.h"

namespace corvenda {

struct SceneIntent {
  const SceneAnswer& answer;
};

template <typename Out>
void describe(Out& out, const SceneIntent& intent) {
  putConstant(out, "ok", true);
  putConstant(out, "sceneContract", kSceneContract);
  describe(out, intent.answer);
}

napi_value exports::resolveSceneIntent(napi_env env, napi_value object, Failure* failure) {
  TitleOptions options;
  std::shared_ptr<const LoadedPack> loaded;
  if (!readTitleOptions(env, object, &options, failure) ||
      !RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &loaded, failure)) {
    return nullptr;
  }
  TitleTexts title;
  fillTitle(options.raw, options.normalizedEnglish, &title);
  const SceneAnswer answer = corvenda::resolveSceneIntent(loaded->table, title);
  return makeObject(env, SceneIntent{answer});
}

}  // namespace corvenda
