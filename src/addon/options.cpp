#include "addon/options.h"

namespace corvenda {

bool failMissing(const char* name, Failure* failure) {
  return failAs(failure, ErrorKind::kTypeError, std::string("semantic native option is missing: ") + name);
}

bool failEmpty(const char* name, Failure* failure) {
  return failAs(failure, ErrorKind::kTypeError, std::string("semantic native option is empty: ") + name);
}

bool requireStringOption(napi_env env, napi_value options, const char* name, std::string* out, Failure* failure) {
  const napi_value value = getProperty(env, options, name);
  if (!isString(env, value)) return failMissing(name, failure);
  *out = readString(env, value);
  return !out->empty() || failEmpty(name, failure);
}

std::string readStringOrEmpty(napi_env env, napi_value object, const char* name) {
  const napi_value value = getProperty(env, object, name);
  return isString(env, value) ? readString(env, value) : std::string();
}

bool readNormalizedEnglish(napi_env env, napi_value options, std::string* out, Failure* failure) {
  if (!hasProperty(env, options, "normalizedEnglish")) return true;
  const napi_value value = getProperty(env, options, "normalizedEnglish");
  if (!isString(env, value)) return failAs(failure, ErrorKind::kTypeError, kEnglishMessage);
  *out = readString(env, value);
  return true;
}

bool readCases(napi_env env, napi_value options, napi_value* cases, Failure* failure) {
  *cases = getProperty(env, options, "cases");
  return isArray(env, *cases) || failAs(failure, ErrorKind::kTypeError, "cases must be an array");
}

bool readTitleOptions(napi_env env, napi_value options, TitleOptions* out, Failure* failure) {
  return requireStringOption(env, options, "packPath", &out->packPath, failure) &&
         requireStringOption(env, options, "allowedRoot", &out->allowedRoot, failure) &&
         requireStringOption(env, options, "raw", &out->raw, failure) &&
         readNormalizedEnglish(env, options, &out->normalizedEnglish, failure);
}

bool readLookupMode(napi_env env, napi_value options, std::string_view message, std::string* mode, Failure* failure) {
  *mode = kExactMode;
  if (!hasProperty(env, options, "mode")) return true;
  const napi_value value = getProperty(env, options, "mode");
  if (!isString(env, value)) return failAs(failure, ErrorKind::kTypeError, message);
  *mode = readString(env, value);
  return true;
}

bool checkLookupMode(std::string_view mode, std::string_view message, Failure* failure) {
  return mode == kExactMode || mode == kContainsMode || failAs(failure, ErrorKind::kRangeError, message);
}

bool parseSection(std::string_view name, std::string_view message, Section* section, Failure* failure) {
  const auto found = sectionFromName(name);
  if (!found) return failAs(failure, ErrorKind::kRangeError, message);
  *section = *found;
  return true;
}

}  // namespace corvenda
