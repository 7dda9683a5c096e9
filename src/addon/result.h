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
// The type of a value decides what it becomes: flags, numbers and texts themselves; a record an object; a list an
// array; an empty optional or a null pointer null; what is a JavaScript value already stays as it is. `putConstant` is
// for a flag or text that is the same in all results, and `putFirst`, `putAgain` and `putGroup` (value_kinds.h) spare
// long lists the same texts twice. `putLastList` names the very array that was put last, here or in
// the object around this one, so that JavaScript sees one array twice.
//
// Properties and elements are defined, never set: own, writable, enumerable and configurable, whatever somebody put on
// Object.prototype or Array.prototype. So nothing of the caller's runs while a result is made. The first step that
// fails ends the making and leaves its exception pending; JavaScript then sees that exception and never the value.
//
// A record is made by a JavaScript function that returns an object literal of its arguments (object_literal.h), and a
// longer list by one that reads numbers (record_stream.h): the same objects at a fifth and a tenth of the price of
// defining them from outside (object_rows.h), which is left for hosts that run no scripts. The functions are written
// from the `describe`, so whether a property is put must not depend on what the record holds. For lists, the record is
// one in its default form: that has to be possible.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "addon/environment.h"
#include "addon/object_literal.h"
#include "addon/object_rows.h"
#include "addon/record_stream.h"
#include "cache/semantic_cache.h"

namespace corvenda {

/// A list that is made record by record, all of one type.
struct ResultList {
  napi_env env = nullptr;
  napi_value array = nullptr;
  std::size_t count = 0;                 ///< records so far
  std::size_t finished = 0;              ///< of these, how many are in the array
  std::size_t filled = 0;                ///< elements that are in place for the function
  napi_value makeObjects = nullptr;      ///< null for the direct way
  std::unique_ptr<RecordStream> stream;  ///< null for the direct way
};

/// A list that is foreseen to have `length` records; `script` is `readingScript` of their type. It is used in the
/// handle scope in which it was begun.
ResultList beginList(napi_env env, std::size_t length, ScriptSource script);

/// Says that texts of these packs are to be expected. False, with an exception pending, if what was written before
/// could not be made.
bool expectTextsOf(ResultList* list, std::span<const std::shared_ptr<const LoadedPack>> packs);

/// Counts the record that was just written to the stream, and makes what has gathered when it is enough. False if a
/// step failed.
bool countRecord(ResultList* list);

/// Makes what has gathered.
bool flushList(ResultList* list);

/// Appends a record. False, with an exception pending, if a step failed.
template <typename Record>
bool append(ResultList* list, const Record& record) {
  if (list->stream != nullptr) {
    write(*list->stream, record);
    return countRecord(list);
  }
  const HandleScope scope(list->env);
  return defineElement(list->env, list->array, list->count++, makeObject(list->env, record));
}

/// The array. It is at least `length` elements long; those after the last record are missing. Null, with an exception
/// pending, if a step failed.
napi_value finishList(ResultList* list, std::size_t length);

template <typename List>
napi_value makeList(napi_env env, const List& items) {
  using Item = Content<List>;
  if constexpr (isRecord<Item>) {
    ResultList list = beginList(env, items.size(), readingScript<Item>);
    for (const Item& item : items) {
      if (!append(&list, item)) return nullptr;
    }
    return finishList(&list, 0);
  } else {
    const napi_value array = makeArray(env);
    for (std::size_t i = 0; i < items.size(); ++i) {
      const HandleScope scope(env);
      if (!defineElement(env, array, i, makeValue(env, items[i]))) return nullptr;
    }
    return array;
  }
}

/// Counts by name, in the order of the names' bytes.
inline void describe(ObjectRows& out, const std::map<std::string, std::uint32_t>& counts) {
  for (const auto& [name, count] : counts) put(out, name.c_str(), count);
}

}  // namespace corvenda
