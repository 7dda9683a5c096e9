#include "addon/title_options.h"

#include "addon/border.h"

namespace corvenda {

bool readTitleOptions(napi_env env, napi_value object, TitleOptions* options, SemanticError* error) {
  return requireStringOption(env, object, "packPath", &options->packPath, error) &&
         requireStringOption(env, object, "allowedRoot", &options->allowedRoot, error) &&
         requireStringOption(env, object, "raw", &options->raw, error) &&
         readNormalizedEnglish(env, object, &options->normalizedEnglish, error);
}

}  // namespace corvenda
