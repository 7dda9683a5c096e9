#include "addon/result.h"

#include <algorithm>
#include <utility>

namespace corvenda {
namespace {

/// From here on the function pays for its call, and soon for being compiled.
constexpr std::size_t kWorthScript = 4;

/// What has gathered is made when there are so many records or integers: the memory that a long list takes on its way
/// stays small.
constexpr std::size_t kPartRecords = 256;
constexpr std::size_t kPartIntegers = 65536;

bool setLength(napi_env env, napi_value array, std::size_t length) {
  const napi_value value = makeNumber(env, length);
  return value != nullptr && settled(env, napi_set_named_property(env, array, "length", value));
}

}  // namespace

ResultList beginList(napi_env env, std::size_t length, ScriptSource script) {
  ResultList list;
  list.env = env;
  if (length >= kWorthScript) list.makeObjects = compiledFunction(env, script);
  if (list.makeObjects == nullptr) {
    list.array = makeArray(env);
    return list;
  }
  list.filled = std::min(length, kFilledAtOnce);
  list.array = makeFilledArray(env, list.filled);
  list.stream = std::make_unique<RecordStream>();
  list.stream->texts = makeTextTable(env, length);
  return list;
}

bool expectTextsOf(ResultList* list, std::span<const std::shared_ptr<const LoadedPack>> packs) {
  if (list->stream == nullptr) return true;
  if (!flushList(list)) return false;
  expectTexts(&list->stream->texts, packs);
  return true;
}

bool countRecord(ResultList* list) {
  RecordStream& stream = *list->stream;
  numberTexts(&stream.texts, &stream.integers);
  const bool enough = ++list->count - list->finished >= kPartRecords || stream.integers.size() >= kPartIntegers ||
                      stream.texts.passing.copiedBytes >= kMostCopiedBytes;
  return !enough || flushList(list);
}

bool flushList(ResultList* list) {
  if (list->finished == list->count || list->stream == nullptr) return true;
  RecordStream& stream = *list->stream;
  if (list->array == nullptr || !storeFreshStrings(&stream.texts)) return false;
  if (list->count > list->filled) {
    if (!extendFilledArray(list->env, list->array, list->filled, list->count)) return false;
    list->filled = list->count;
  }
  const HandleScope scope(list->env);
  const napi_value integers = shareIntegers(list->env, stream.integers);
  const napi_value numbers = shareNumbers(list->env, stream.numbers);
  if (integers == nullptr || numbers == nullptr ||
      callFunction(list->env, list->makeObjects,
                   {list->array, makeNumber(list->env, list->finished), makeNumber(list->env, list->count), integers,
                    numbers, stream.texts.chunks}) == nullptr) {
    return false;
  }
  list->finished = list->count;
  stream.integers.clear();
  stream.numbers.clear();
  limitTexts(&stream.texts);
  return true;
}

napi_value finishList(ResultList* list, std::size_t length) {
  if (list->array == nullptr || !flushList(list)) return nullptr;
  if (list->filled > list->count && !setLength(list->env, list->array, list->count)) return nullptr;
  if (length > list->count && !setLength(list->env, list->array, length)) return nullptr;
  if (list->stream != nullptr) keepTexts(std::move(list->stream->texts));
  return list->array;
}

}  // namespace corvenda
