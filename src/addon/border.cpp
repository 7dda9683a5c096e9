#include "addon/border.h"

namespace corvenda {
namespace {

napi_valuetype typeOf(napi_env env, napi_value value) {
  napi_valuetype type = napi_undefined;
  if (value != nullptr) napi_typeof(env, value, &type);
  return type;
}

napi_value undefinedValue(napi_env env) {
  napi_value value = nullptr;
  napi_get_undefined(env, &value);
  return value;
}

void throwIfNonePending(napi_env env, ErrorKind kind, std::string_view message) {
  // The exception that is pending is the one to be seen.
  if (isExceptionPending(env)) return;
  napi_value text = nullptr;
  napi_value error = nullptr;
  if (napi_create_string_utf8(env, message.data(), message.size(), &text) != napi_ok) return;
  const auto create = kind == ErrorKind::kTypeError    ? napi_create_type_error
                      : kind == ErrorKind::kRangeError ? napi_create_range_error
                                                       : napi_create_error;
  if (create(env, nullptr, text, &error) == napi_ok) napi_throw(env, error);
}

}  // namespace

bool isExceptionPending(napi_env env) {
  bool pending = false;
  return napi_is_exception_pending(env, &pending) != napi_ok || pending;
}

bool dropException(napi_env env) {
  if (!isExceptionPending(env)) return false;
  napi_value dropped = nullptr;
  return napi_get_and_clear_last_exception(env, &dropped) == napi_ok;
}

Napi::Value refuse(napi_env env, ErrorKind kind, std::string_view message) {
  throwIfNonePending(env, kind, message);
  return Napi::Env(env).Null();
}

bool settled(napi_env env, napi_status status) {
  if (status == napi_ok) return true;
  const napi_extended_error_info* info = nullptr;
  const bool described = napi_get_last_error_info(env, &info) == napi_ok && info->error_message != nullptr;
  throwIfNonePending(env, ErrorKind::kError, described ? info->error_message : "Error in native callback");
  return false;
}

bool requireOneOptionsObject(const Napi::CallbackInfo& info, std::string_view message) {
  if (info.Length() == 1 && isPlainObject(info.Env(), info[0])) return true;
  throwIfNonePending(info.Env(), ErrorKind::kTypeError, message);
  return false;
}

bool isObjectLike(napi_env env, napi_value value) {
  const napi_valuetype type = typeOf(env, value);
  return type == napi_object || type == napi_function;
}

bool isPlainObject(napi_env env, napi_value value) { return isObjectLike(env, value) && !isArray(env, value); }

bool isArray(napi_env env, napi_value value) {
  bool is = false;
  return value != nullptr && napi_is_array(env, value, &is) == napi_ok && is;
}

bool isString(napi_env env, napi_value value) { return typeOf(env, value) == napi_string; }

bool isUndefinedOrNull(napi_env env, napi_value value) {
  const napi_valuetype type = typeOf(env, value);
  return type == napi_undefined || type == napi_null;
}

napi_value getProperty(napi_env env, napi_value object, const char* name) {
  napi_value value = nullptr;
  if (!settled(env, napi_get_named_property(env, object, name, &value))) return undefinedValue(env);
  return value;
}

bool hasProperty(napi_env env, napi_value object, const char* name) {
  bool has = false;
  return settled(env, napi_has_named_property(env, object, name, &has)) && has;
}

std::uint32_t arrayLength(napi_env env, napi_value array) {
  std::uint32_t length = 0;
  settled(env, napi_get_array_length(env, array, &length));
  return length;
}

std::string readString(napi_env env, napi_value value) {
  std::size_t length = 0;
  if (!settled(env, napi_get_value_string_utf8(env, value, nullptr, 0, &length))) return {};
  std::string text(length, '\0');
  // The string's terminator has its place behind the last byte.
  if (!settled(env, napi_get_value_string_utf8(env, value, text.data(), length + 1, &length))) return {};
  return text;
}

std::string readStringOrEmpty(napi_env env, napi_value object, const char* name) {
  const napi_value value = getProperty(env, object, name);
  return isString(env, value) ? readString(env, value) : std::string();
}

bool requireStringOption(napi_env env, napi_value options, const char* name, std::string* out, SemanticError* error) {
  const napi_value value = getProperty(env, options, name);
  if (!isString(env, value)) return fail(error, std::string("semantic native option is missing: ") + name);
  *out = readString(env, value);
  if (out->empty()) return fail(error, std::string("semantic native option is empty: ") + name);
  return true;
}

bool readNormalizedEnglish(napi_env env, napi_value options, std::string* out, SemanticError* error) {
  if (!hasProperty(env, options, "normalizedEnglish")) return true;
  const napi_value value = getProperty(env, options, "normalizedEnglish");
  if (!isString(env, value)) return fail(error, "normalizedEnglish must be a string");
  *out = readString(env, value);
  return true;
}

napi_value makeObject(napi_env env) {
  napi_value object = nullptr;
  settled(env, napi_create_object(env, &object));
  return object;
}

napi_value makeArray(napi_env env) {
  napi_value array = nullptr;
  settled(env, napi_create_array(env, &array));
  return array;
}

napi_value makeString(napi_env env, std::string_view text) {
  napi_value value = nullptr;
  settled(env, napi_create_string_utf8(env, text.data(), text.size(), &value));
  return value;
}

napi_value makeNumber(napi_env env, double number) {
  napi_value value = nullptr;
  settled(env, napi_create_double(env, number, &value));
  return value;
}

napi_value makeTextArray(napi_env env, const std::vector<std::string>& texts) {
  return makeList(env, texts, makeString);
}

bool setValue(napi_env env, napi_value object, const char* name, napi_value value) {
  return settled(env, napi_set_named_property(env, object, name, value));
}

bool setText(napi_env env, napi_value object, const char* name, std::string_view text) {
  return setValue(env, object, name, makeString(env, text));
}

bool setBoolean(napi_env env, napi_value object, const char* name, bool value) {
  napi_value boolean = nullptr;
  settled(env, napi_get_boolean(env, value, &boolean));
  return setValue(env, object, name, boolean);
}

bool setNull(napi_env env, napi_value object, const char* name) {
  napi_value null = nullptr;
  settled(env, napi_get_null(env, &null));
  return setValue(env, object, name, null);
}

bool setElement(napi_env env, napi_value array, std::size_t position, napi_value value) {
  return settled(env, napi_set_element(env, array, static_cast<std::uint32_t>(position), value));
}

}  // namespace corvenda
