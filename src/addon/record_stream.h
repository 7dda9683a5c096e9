// Many records of one kind on their way to JavaScript, without a call for each value.
//
// The records' values stand one after the other, in the order of their `describe`: integers, flags and the numbers of
// texts in one list, all other numbers in another; the distinct texts are in a table. A function that is written from
// the same `describe` reads them back and makes the objects as literals, the way JavaScript itself makes objects
// fastest. So names and order of properties stand in one place for both ways.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "addon/text_table.h"
#include "addon/value_kinds.h"

namespace corvenda {

// --- Writing ------------------------------------------------------------------------------------------------------

struct RecordStream {
  std::vector<std::int32_t> integers;
  std::vector<double> numbers;
  TextTable texts;
};

template <typename Value>
void write(RecordStream& out, const Value& value) {
  if constexpr (isText<Value>) {
    const std::string_view text = value;
    if (text.empty()) {
      out.integers.push_back(kEmptyText);
    } else {
      writeText(&out.texts, text, &out.integers);
    }
  } else if constexpr (std::is_same_v<Value, bool> || isSmallInteger<Value>) {
    out.integers.push_back(value);
  } else if constexpr (std::is_arithmetic_v<Value>) {
    out.numbers.push_back(static_cast<double>(value));
  } else if constexpr (isNullable<Value>) {
    out.integers.push_back(value ? 1 : 0);
    if (value) write(out, *value);
  } else if constexpr (isList<Value>) {
    out.integers.push_back(static_cast<std::int32_t>(value.size()));
    for (const auto& item : value) write(out, item);
  } else {
    describe(out, value);
  }
}

template <typename Value>
void put(RecordStream& out, const char* /*name*/, const Value& value) {
  write(out, value);
}

/// It stands in the function.
template <typename Value>
void putConstant(RecordStream& /*out*/, const char* /*name*/, const Value& /*value*/) {}

inline void putLastList(RecordStream& /*out*/, const char* /*name*/) {}

/// The function has it.
inline void putAgain(RecordStream& /*out*/, const char* /*name*/, unsigned /*slot*/, std::string_view /*text*/) {}

inline void putChoice(RecordStream& out, const char* /*name*/, bool first, std::string_view /*ifFirst*/,
                      std::string_view /*ifNot*/) {
  out.integers.push_back(first ? 1 : 0);
}

template <typename PutTexts>
void putGroup(RecordStream& out, const char* identity, const PutTexts& putTexts) {
  if (beginGroup(&out.texts, identity, &out.integers)) return;
  const std::size_t place = out.integers.size();
  putTexts();
  endGroup(&out.texts, identity, place, out.integers.size() - place);
}

// --- Reading ------------------------------------------------------------------------------------------------------

/// The function's text while it is written. All that reads is expressions, which JavaScript evaluates from left to
/// right; `i` and `n` are the next integer and number.
struct RecordScript {
  std::string functions;  ///< for long lists
  std::string literal;    ///< the properties of the object that is being described
};

/// A text by its number; see kChunkBits.
constexpr const char* kTextExpression = "chunks[integers[i] >> 12][integers[i++] & 4095]";
static_assert(kChunkBits == 12);

/// An expression that reads a value of this type.
template <typename Value>
std::string readingOf(RecordScript& out);

template <typename Value>
void put(RecordScript& out, const char* name, const Value& /*any*/) {
  const std::string value = readingOf<Value>(out);
  out.literal += std::string(name) + ": " + (isList<Value> ? "list = " : "") + value + ", ";
}

template <typename Value>
void putConstant(RecordScript& out, const char* name, const Value& value) {
  out.literal += constantProperty(name, value);
}

inline void putLastList(RecordScript& out, const char* name) { out.literal += std::string(name) + ": list, "; }

inline void putFirst(RecordScript& out, const char* name, unsigned slot, std::string_view /*any*/) {
  out.literal += std::string(name) + ": text" + std::to_string(slot) + " = " + kTextExpression + ", ";
}

inline void putAgain(RecordScript& out, const char* name, unsigned slot, std::string_view /*any*/) {
  out.literal += std::string(name) + ": text" + std::to_string(slot) + ", ";
}

/// The texts are without quotation marks and backslashes.
inline void putChoice(RecordScript& out, const char* name, bool /*any*/, std::string_view ifFirst,
                      std::string_view ifNot) {
  out.literal +=
      std::string(name) + ": integers[i++] === 1 ? '" + std::string(ifFirst) + "' : '" + std::string(ifNot) + "', ";
}

/// A list of a few items is a literal of them. A longer one is made by a function of its own, which says in `at` where
/// it has stopped.
std::string readingOfList(RecordScript& out, const std::string& item);

template <typename Value>
std::string readingOf(RecordScript& out) {
  if constexpr (isText<Value>) {
    return kTextExpression;
  } else if constexpr (std::is_same_v<Value, bool>) {
    return "integers[i++] === 1";
  } else if constexpr (isSmallInteger<Value>) {
    return "integers[i++]";
  } else if constexpr (std::is_arithmetic_v<Value>) {
    return "numbers[n++]";
  } else if constexpr (isNullable<Value>) {
    return "(integers[i++] === 1 ? " + readingOf<Content<Value>>(out) + " : null)";
  } else if constexpr (isList<Value>) {
    return readingOfList(out, readingOf<Content<Value>>(out));
  } else {
    std::string outer = std::exchange(out.literal, {});
    describe(out, Value());
    return "{ " + std::exchange(out.literal, std::move(outer)) + "}";
  }
}

/// A script whose value, called with `blank` (see functions.js), is the function that makes the elements of `target`
/// from `position` to `end`.
std::string recordScript(const RecordScript& functions, const std::string& record);

template <typename Record>
std::string readingScript(const void* /*record*/) {
  RecordScript out;
  const std::string record = readingOf<Record>(out);
  return recordScript(out, record);
}

}  // namespace corvenda
