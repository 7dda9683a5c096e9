// A single record as an object: its `describe` gives the arguments of a JavaScript function that returns an object
// literal of them, and the text of that function. A literal costs a fraction of what defining each property does.
#pragma once

#include <string>
#include <vector>

#include "addon/environment.h"
#include "addon/object_rows.h"

namespace corvenda {

/// The arguments: one for each property that isn't constant. A null handle is a value that could not be made.
struct LiteralValues {
  napi_env env;
  napi_value lastList;  ///< see ObjectRows
  std::vector<napi_value> values;
};

template <typename Value>
void put(LiteralValues& out, const char* /*name*/, const Value& value) {
  const napi_value handle = makeValue(out.env, value, out.lastList);
  if constexpr (isList<Value>) out.lastList = handle;
  out.values.push_back(handle);
}

template <typename Value>
void putConstant(LiteralValues& /*out*/, const char* /*name*/, const Value& /*value*/) {}

inline void putLastList(LiteralValues& out, const char* /*name*/) { out.values.push_back(out.lastList); }

/// The function's text while it is written.
struct LiteralScript {
  std::string parameters;
  std::string properties;
  std::size_t count = 0;
};

inline void putLastList(LiteralScript& out, const char* name) {
  const std::string parameter = "v" + std::to_string(out.count++);
  out.parameters += parameter + ", ";
  out.properties += name + (": " + parameter + ", ");
}

template <typename Value>
void put(LiteralScript& out, const char* name, const Value& /*value*/) {
  putLastList(out, name);
}

template <typename Value>
void putConstant(LiteralScript& out, const char* name, const Value& value) {
  out.properties += constantProperty(name, value);
}

template <typename Record>
std::string literalScript(const void* record) {
  LiteralScript out;
  describe(out, *static_cast<const Record*>(record));
  return "'use strict';\n() => (" + out.parameters + ") => ({ " + out.properties + "});";
}

/// An object with the properties that the record's `describe` names. Null, with an exception pending, if it can't be
/// made; one that was pending before stays.
template <typename Record>
napi_value makeObject(napi_env env, const Record& record, napi_value lastList) {
  // The names of a map are not known beforehand.
  if constexpr (!isMap<Record>) {
    if (const napi_value function = compiledFunction(env, literalScript<Record>, &record); function != nullptr) {
      LiteralValues out{env, lastList, {}};
      describe(out, record);
      return callFunction(env, function, out.values);
    }
  }
  return defineObject(env, record, lastList);
}

}  // namespace corvenda
