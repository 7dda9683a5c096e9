#include "addon/result.h"

#include <algorithm>

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

void expectTextsOf(ResultList* list, const RecordTable& rows) {
  if (list->stream == nullptr) return;
  for (const ByteSpan bytes : {bytesOf(rows.payload), ByteSpan(rows.written)}) {
    if (bytes.empty()) continue;
    list->stream->texts.lasting.emplace_back(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  }
}

bool countRecord(ResultList* list) {
  RecordStream& stream = *list->stream;
  numberTexts(&stream.texts, &stream.integers);
  const bool enough = ++list->count - list->finished >= kPartRecords || stream.integers.size() >= kPartIntegers ||
                      stream.texts.copiedBytes >= kMostCopiedBytes;
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
  if (stream.texts.copiedBytes >= kMostCopiedBytes) forgetTexts(&stream.texts);
  return true;
}

napi_value finishList(ResultList* list, std::size_t length) {
  if (list->array == nullptr || !flushList(list)) return nullptr;
  if (list->filled > list->count && !setLength(list->env, list->array, list->count)) return nullptr;
  if (length > list->count && !setLength(list->env, list->array, length)) return nullptr;
  return list->array;
}

}  // namespace corvenda
