// Functions whose turn has not come yet.
#include "addon/border.h"
#include "addon/exports.h"

namespace corvenda {
namespace {

Napi::Value notThereYet(const Napi::CallbackInfo& info, std::string_view name) {
  if (!requireOneOptionsObject(info, std::string(name) + " requires one options object")) return info.Env().Null();
  return refuse(info.Env(), ErrorKind::kError, std::string(name) + " is not there yet");
}

}  // namespace

#define CORVENDA_NOT_THERE_YET(name)                                \
  Napi::Value exports::name(const Napi::CallbackInfo& info) {       \
    return notThereYet(info, #name);                                \
  }
CORVENDA_NOT_THERE_YET(resolveSceneIntentBatch)
CORVENDA_NOT_THERE_YET(resolveCelebrityBadgeBatch)
CORVENDA_NOT_THERE_YET(warmSemanticRulePack)
#undef CORVENDA_NOT_THERE_YET

}  // namespace corvenda
