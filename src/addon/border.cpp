#include "addon/border.h"

#include <algorithm>
#include <array>

#include "text/utf16.h"

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

}  // namespace

bool failAs(Failure* failure, ErrorKind kind, std::string_view message) {
  failure->kind = kind;
  return fail(failure, message);
}

void throwFailure(napi_env env, const Failure& failure) {
  if (isExceptionPending(env)) return;
  napi_value text = nullptr;
  napi_value error = nullptr;
  const std::string& message = failure.message;
  if (napi_create_string_utf8(env, message.data(), message.size(), &text) != napi_ok) return;
  const auto create = failure.kind == ErrorKind::kTypeError    ? napi_create_type_error
                      : failure.kind == ErrorKind::kRangeError ? napi_create_range_error
                                                               : napi_create_error;
  if (create(env, nullptr, text, &error) == napi_ok) napi_throw(env, error);
}

bool settled(napi_env env, napi_status status) {
  if (status == napi_ok) return true;
  const napi_extended_error_info* info = nullptr;
  const bool described = napi_get_last_error_info(env, &info) == napi_ok && info->error_message != nullptr;
  Failure failure;
  fail(&failure, described ? info->error_message : "Error in native callback");
  throwFailure(env, failure);
  return false;
}

bool isExceptionPending(napi_env env) {
  bool pending = false;
  return napi_is_exception_pending(env, &pending) != napi_ok || pending;
}

bool dropException(napi_env env) {
  if (!isExceptionPending(env)) return false;
  napi_value dropped = nullptr;
  return napi_get_and_clear_last_exception(env, &dropped) == napi_ok;
}

HandleScope::HandleScope(napi_env scopeEnv) : env(scopeEnv) { napi_open_handle_scope(env, &scope); }

HandleScope::~HandleScope() { napi_close_handle_scope(env, scope); }

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
  // Most texts are short, and asking for the length first would cost as much again. A text that stops well before the
  // end of the buffer (a character has at most four bytes) was not cut.
  std::array<char, 256> buffer;
  std::size_t length = 0;
  if (!settled(env, napi_get_value_string_utf8(env, value, buffer.data(), buffer.size(), &length))) return {};
  if (length + 4 < buffer.size()) return {buffer.data(), length};
  if (!settled(env, napi_get_value_string_utf8(env, value, nullptr, 0, &length))) return {};
  std::string text(length, '\0');
  // The string's terminator has its place after the last byte.
  if (!settled(env, napi_get_value_string_utf8(env, value, text.data(), length + 1, &length))) return {};
  return text;
}

napi_value callFunction(napi_env env, napi_value function, const std::vector<napi_value>& arguments) {
  // The host would take a null handle for a value.
  if (std::find(arguments.begin(), arguments.end(), nullptr) != arguments.end()) return nullptr;
  napi_value receiver = nullptr;
  napi_value result = nullptr;
  napi_get_undefined(env, &receiver);
  const napi_status status = napi_call_function(env, receiver, function, arguments.size(), arguments.data(), &result);
  return settled(env, status) ? result : nullptr;
}

napi_value makeText(napi_env env, std::string_view text) {
  // The host takes UTF-16 several times faster than UTF-8. What is no valid UTF-8 is left to it.
  constexpr std::size_t kShort = 128;
  std::array<char16_t, kShort> units;
  napi_value value = nullptr;
  const auto length = text.size() <= kShort ? convertToUtf16(text, units.data()) : std::nullopt;
  settled(env, length ? napi_create_string_utf16(env, units.data(), *length, &value)
                      : napi_create_string_utf8(env, text.data(), text.size(), &value));
  return value;
}

napi_value makeBoolean(napi_env env, bool value) {
  napi_value boolean = nullptr;
  settled(env, napi_get_boolean(env, value, &boolean));
  return boolean;
}

napi_value makeNull(napi_env env) {
  napi_value null = nullptr;
  settled(env, napi_get_null(env, &null));
  return null;
}

}  // namespace corvenda
