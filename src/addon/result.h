// Results: what an export gives back.
//
// A record becomes an object by its `describe`, which names the properties one a line, in the order in which JavaScript
// sees them:
//
//     template <typename Out>
//     void describe(Out& out, const FacetGroup& group) {
//       put(out, "dimension", group.dimension);
//       put(out, "count", group.count);
//     }
//
// The type of a value decides what it becomes: flags, numbers and texts themselves; a record an object; a vector an
// array; an empty optional or a null pointer null; what is a JavaScript value already stays as it is.
//
// Properties and elements are defined, never set: own, writable, enumerable and configurable, whatever somebody put on
// Object.prototype or Array.prototype. So nothing of the caller's runs while a result is made. The first step that
// fails ends the making and leaves its exception pending; JavaScript then sees that exception and never the value.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "addon/border.h"

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

// --- From C++ types to JavaScript values ---------------------------------------------------------------------------

template <typename Value>
constexpr bool isText = std::is_convertible_v<const Value&, std::string_view>;

template <typename Value>
constexpr bool isList = false;
template <typename Item>
constexpr bool isList<std::vector<Item>> = true;

/// What may be null: everything that is asked with `value != nullptr` or as a condition.
template <typename Value>
constexpr bool isNullable = std::is_pointer_v<Value>;
template <typename Value>
constexpr bool isNullable<std::optional<Value>> = true;

template <typename Value>
napi_value makeValue(napi_env env, const Value& value, napi_value lastList = nullptr);

/// An object with the properties that the record's `describe` names.
template <typename Record>
napi_value makeObject(napi_env env, const Record& record, napi_value lastList = nullptr) {
  ObjectRows out = beginObject(env, lastList);
  describe(out, record);
  return finishObject(&out);
}

/// An array of the items. Each has a handle scope of its own, so that a long list doesn't keep a handle for every value
/// in it.
template <typename Item>
napi_value makeList(napi_env env, const std::vector<Item>& items) {
  const napi_value array = makeArray(env);
  for (std::size_t i = 0; i < items.size(); ++i) {
    const HandleScope scope(env);
    if (!defineElement(env, array, i, makeValue(env, items[i]))) return nullptr;
  }
  return array;
}

template <typename Value>
napi_value makeValue(napi_env env, const Value& value, napi_value lastList) {
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

/// Appends the very array that was made last, here or in the object around this one: JavaScript sees one array twice.
inline void putLastList(ObjectRows& out, const char* name) { addRow(&out, name, out.lastList); }

/// Counts by name, in the order of the names' bytes.
template <typename Out>
void describe(Out& out, const std::map<std::string, std::uint32_t>& counts) {
  for (const auto& [name, count] : counts) put(out, name.c_str(), count);
}

}  // namespace corvenda
