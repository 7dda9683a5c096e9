#include "addon/scene_result.h"

#include "addon/border.h"

namespace corvenda {
namespace {

bool setEntry(napi_env env, napi_value hit, const SceneEntry& entry) {
  const napi_value object = makeObject(env);
  return setText(env, object, "key", entry.key) && setText(env, object, "defaultDetail", entry.defaultDetail) &&
         setText(env, object, "priority", entry.priority) && setText(env, object, "label", entry.label) &&
         setText(env, object, "archiveLabel", entry.archiveLabel) &&
         setText(env, object, "archiveCode", entry.archiveCode) && setText(env, object, "icon", entry.icon) &&
         setValue(env, hit, "entry", object);
}

}  // namespace

bool setSceneAnswer(napi_env env, napi_value result, const SceneAnswer& answer) {
  if (!setText(env, result, "sceneKey", answer.sceneKey) || !setText(env, result, "sceneDetail", answer.sceneDetail)) {
    return false;
  }
  if (!answer.hit) return setNull(env, result, "intentHit");
  const napi_value hit = makeObject(env);
  return setText(env, hit, "alias", answer.hit->alias) && setText(env, hit, "type", answer.hit->type) &&
         setText(env, hit, "sceneKey", answer.sceneKey) && setText(env, hit, "detail", answer.sceneDetail) &&
         setNumber(env, hit, "rank", answer.hit->rank) && setNumber(env, hit, "score", answer.hit->score) &&
         setEntry(env, hit, answer.hit->entry) && setValue(env, result, "intentHit", hit);
}

}  // namespace corvenda
