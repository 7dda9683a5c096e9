// What a C++ value becomes in JavaScript is decided by its type.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace corvenda {

template <typename Value>
constexpr bool isText = std::is_convertible_v<const Value&, std::string_view>;

/// Integers that a 32-bit integer array holds.
template <typename Value>
constexpr bool isSmallInteger = std::is_integral_v<Value> && !std::is_same_v<Value, bool> &&
                                (sizeof(Value) < 4 || (sizeof(Value) == 4 && std::is_signed_v<Value>));

template <typename Value>
constexpr bool isList = false;
template <typename Item>
constexpr bool isList<std::vector<Item>> = true;
template <typename Item>
constexpr bool isList<std::span<Item>> = true;

/// What may be null: pointers and optionals.
template <typename Value>
constexpr bool isNullable = std::is_pointer_v<Value>;
template <typename Value>
constexpr bool isNullable<std::optional<Value>> = true;

/// What a list or a nullable holds.
template <typename Value>
struct ContentOf;
template <typename Item>
struct ContentOf<std::vector<Item>> {
  using Type = Item;
};
template <typename Item>
struct ContentOf<std::span<Item>> {
  using Type = std::remove_const_t<Item>;
};
template <typename Value>
struct ContentOf<std::optional<Value>> {
  using Type = Value;
};
template <typename Value>
struct ContentOf<Value*> {
  using Type = std::remove_const_t<Value>;
};
template <typename Value>
using Content = typename ContentOf<Value>::Type;

/// An object whose property names are data.
template <typename Value>
constexpr bool isMap = false;
template <typename Key, typename Item>
constexpr bool isMap<std::map<Key, Item>> = true;

/// A property that is the same in all results, as JavaScript: a flag, or a text without quotation marks and
/// backslashes.
template <typename Value>
std::string constantProperty(const char* name, const Value& value) {
  if constexpr (isText<Value>) {
    return name + (": '" + std::string(value) + "', ");
  } else {
    return std::string(name) + (value ? ": true, " : ": false, ");
  }
}

/// What has a `describe`.
template <typename Value>
constexpr bool isRecord = std::is_class_v<Value> && !isText<Value> && !isList<Value> && !isNullable<Value>;

// --- What only long lists know ---------------------------------------------------------------------------------------

/// A text that is put again by `putAgain`, in the same object or in one within, before another has the slot: there the
/// very same string. Neither may stand where only the other can be missing.
template <typename Out>
void putFirst(Out& out, const char* name, unsigned /*slot*/, std::string_view text) {
  put(out, name, text);
}

template <typename Out>
void putAgain(Out& out, const char* name, unsigned /*slot*/, std::string_view text) {
  put(out, name, text);
}

/// One of two constant texts.
template <typename Out>
void putChoice(Out& out, const char* name, bool first, std::string_view ifFirst, std::string_view ifNot) {
  put(out, name, first ? ifFirst : ifNot);
}

/// Calls `putTexts`, which puts a few texts. Where `identity` is the same, so are they: it is the address of one of
/// them that no other group has, or null if nothing is known of them.
template <typename Out, typename PutTexts>
void putGroup(Out& /*out*/, const char* /*identity*/, const PutTexts& putTexts) {
  putTexts();
}

}  // namespace corvenda
