// The direct way to make objects and arrays, one Node-API call for the properties of an object.
#pragma once

#include <array>
#include <cstddef>
#include <vector>

#include "addon/border.h"
#include "addon/value_kinds.h"

namespace corvenda {

/// An object that is being made, and the properties that it doesn't have yet.
struct ObjectRows {
  napi_env env;
  napi_value object = nullptr;
  std::array<napi_property_descriptor, 16> rows;  ///< defined together: one call for the usual object
  std::size_t rowCount = 0;
  bool failed = false;
  napi_value lastList = nullptr;  ///< made last, here or in the object around this one
};

/// A new object whose properties are still to come.
ObjectRows beginObject(napi_env env, napi_value lastList);

/// Appends a property. A null handle is a value that could not be made, and ends the making. `name` has to stay until
/// the object is finished.
void addRow(ObjectRows* out, const char* name, napi_value value);

/// The finished object; null, with an exception pending, if a step failed.
napi_value finishObject(ObjectRows* out);

/// Defines the element at `position`. False if that failed or there is no value.
bool defineElement(napi_env env, napi_value array, std::size_t position, napi_value value);

napi_value makeArray(napi_env env);

/// An array of what the items become; see result.h.
template <typename List>
napi_value makeList(napi_env env, const List& items);

/// See object_literal.h.
template <typename Record>
napi_value makeObject(napi_env env, const Record& record, napi_value lastList = nullptr);

/// An object with the properties that the record's `describe` names, defined one by one.
template <typename Record>
napi_value defineObject(napi_env env, const Record& record, napi_value lastList) {
  ObjectRows out = beginObject(env, lastList);
  describe(out, record);
  return finishObject(&out);
}

template <typename Value>
napi_value makeValue(napi_env env, const Value& value, napi_value lastList = nullptr) {
  if constexpr (std::is_same_v<Value, napi_value>) {
    return value;
  } else if constexpr (isText<Value>) {
    return makeText(env, value);
  } else if constexpr (std::is_same_v<Value, bool>) {
    return makeBoolean(env, value);
  } else if constexpr (std::is_arithmetic_v<Value>) {
    return makeNumber(env, value);
  } else if constexpr (isNullable<Value>) {
    return value ? makeValue(env, *value, lastList) : makeNull(env);
  } else if constexpr (isList<Value>) {
    return makeList(env, value);
  } else {
    return makeObject(env, value, lastList);
  }
}

/// Appends a property with what the value becomes.
template <typename Value>
void put(ObjectRows& out, const char* name, const Value& value) {
  if (out.failed) return;
  const napi_value handle = makeValue(out.env, value, out.lastList);
  if constexpr (isList<Value>) out.lastList = handle;
  addRow(&out, name, handle);
}

template <typename Value>
void putConstant(ObjectRows& out, const char* name, const Value& value) {
  put(out, name, value);
}

inline void putLastList(ObjectRows& out, const char* name) { addRow(&out, name, out.lastList); }

}  // namespace corvenda
