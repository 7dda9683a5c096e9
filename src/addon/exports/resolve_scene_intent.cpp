#include "addon/border.h"
#include "addon/exports/exports.h"
#include "addon/scene_result.h"
#include "addon/title_options.h"
#include "cache/rule_pack_loader.h"
#include "scene/scene_intent.h"

namespace corvenda {

Napi::Value exports::resolveSceneIntent(const Napi::CallbackInfo& info) {
  const napi_env env = info.Env();
  if (!requireOneOptionsObject(info, "resolveSceneIntent requires one options object")) return info.Env().Null();
  TitleOptions options;
  SemanticError error;
  if (!readTitleOptions(env, info[0], &options, &error)) return refuse(env, ErrorKind::kTypeError, error.message);
  std::shared_ptr<const LoadedPack> loaded;
  if (!RulePackLoader(options.packPath, options.allowedRoot, semanticCache().baseSlot, &loaded, &error)) {
    return refuse(env, ErrorKind::kError, error.message);
  }
  const TitleTexts title = makeTitleTexts(std::move(options.raw), std::move(options.normalizedEnglish));
  SceneCandidates candidates;
  const SceneAnswer answer = corvenda::resolveSceneIntent(loaded->table, title, &candidates);
  const napi_value result = makeObject(env);
  setBoolean(env, result, "ok", true);
  setText(env, result, "sceneContract", kSceneContract);
  setSceneAnswer(env, result, answer);
  return {env, result};
}

}  // namespace corvenda
