#include "addon/lookup_options.h"
#include "addon/border.h"

namespace corvenda {

bool readLookupMode(napi_env env, napi_value options, std::string* mode) {
  *mode = kExactMode;
  if (!hasProperty(env, options, "mode")) return true;
  const napi_value value = getProperty(env, options, "mode");
  if (!isString(env, value)) return false;
  *mode = readString(env, value);
  return true;
}

bool isLookupMode(const std::string& mode) { return mode == kExactMode || mode == kContainsMode; }

}  // namespace corvenda
