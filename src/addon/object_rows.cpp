#include "addon/object_rows.h"

#include <charconv>

namespace corvenda {
namespace {

/// What an assignment to a new property of an ordinary object would make it.
constexpr auto kDataProperty =
    static_cast<napi_property_attributes>(napi_writable | napi_enumerable | napi_configurable);

void defineRows(ObjectRows* out) {
  out->failed =
      out->failed || !settled(out->env, napi_define_properties(out->env, out->object, out->rowCount, out->rows.data()));
  out->rowCount = 0;
}

}  // namespace

ObjectRows beginObject(napi_env env, napi_value lastList) {
  ObjectRows out;
  out.env = env;
  out.lastList = lastList;
  out.failed = !settled(env, napi_create_object(env, &out.object));
  return out;
}

void addRow(ObjectRows* out, const char* name, napi_value value) {
  out->failed = out->failed || value == nullptr;
  if (out->failed) return;
  if (out->rowCount == out->rows.size()) defineRows(out);
  napi_property_descriptor& row = out->rows[out->rowCount++];
  row = {};
  row.utf8name = name;
  row.value = value;
  row.attributes = kDataProperty;
}

napi_value finishObject(ObjectRows* out) {
  defineRows(out);
  return out->failed ? nullptr : out->object;
}

bool defineElement(napi_env env, napi_value array, std::size_t position, napi_value value) {
  if (value == nullptr) return false;
  // Node-API sets elements by number but defines them by name only.
  std::array<char, 24> name{};
  std::to_chars(name.data(), name.data() + name.size(), position);
  napi_property_descriptor row{};
  row.utf8name = name.data();
  row.value = value;
  row.attributes = kDataProperty;
  return settled(env, napi_define_properties(env, array, 1, &row));
}

napi_value makeArray(napi_env env) {
  napi_value array = nullptr;
  settled(env, napi_create_array(env, &array));
  return array;
}

}  // namespace corvenda
