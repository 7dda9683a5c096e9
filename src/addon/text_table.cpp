#include "addon/text_table.h"

#include <algorithm>
#include <bit>

#include "addon/environment.h"
#include "base/keyed_hash.h"
#include "base/prefetch.h"
#include "base/short_text.h"

namespace corvenda {
namespace {

/// Places of the tables for each record that is foreseen, and in all.
constexpr std::size_t kPlacesARecord = 4;
constexpr std::size_t kFewestPlaces = 128;
constexpr std::size_t kMostPlaces = 32768;

constexpr std::size_t kCopyBlock = 16384;

/// The strings of a chunk are handed over as arguments, eight bytes each of the stack.
constexpr std::size_t kChunkStrings = std::size_t{1} << kChunkBits;

bool isLasting(const TextTable& table, std::string_view text) {
  return !text.empty() && std::any_of(table.lasting.begin(), table.lasting.end(), [text](std::string_view memory) {
    return text.data() >= memory.data() && text.data() < memory.data() + memory.size();
  });
}

std::string_view copyText(TextTable* table, std::string_view text) {
  if (table->copies.empty() || table->copies.back().capacity() - table->copies.back().size() < text.size()) {
    table->copies.emplace_back().reserve(std::max(kCopyBlock, text.size()));
  }
  SecureBytes& block = table->copies.back();
  block.insert(block.end(), text.begin(), text.end());
  table->copiedBytes += text.size();
  return {reinterpret_cast<const char*>(block.data() + block.size()) - text.size(), text.size()};
}

void placeKnown(TextTable* table, std::uint32_t position) {
  const std::size_t mask = table->slots.size() - 1;
  std::size_t slot = table->known[position].hash & mask;
  while (table->slots[slot] != 0) slot = (slot + 1) & mask;
  table->slots[slot] = position + 1;
}

std::uint32_t addText(TextTable* table, std::string_view text, std::uint32_t hash, bool lasting) {
  const auto number = static_cast<std::uint32_t>(table->chunkCount << kChunkBits | table->fresh.size());
  const auto position = static_cast<std::uint32_t>(table->known.size());
  table->fresh.push_back(makeText(table->env, text));
  table->failed = table->failed || table->fresh.back() == nullptr;
  table->known.push_back({lasting ? text : copyText(table, text), hash, number});
  if (table->known.size() * 2 <= table->slots.size()) {
    placeKnown(table, position);
  } else {
    table->slots.assign(table->slots.size() * 2, 0);
    for (std::uint32_t i = 0; i <= position; ++i) placeKnown(table, i);
  }
  if (table->fresh.size() == kChunkStrings) storeFreshStrings(table);
  return number;
}

std::uint32_t hashOf(std::string_view text) { return static_cast<std::uint32_t>(keyedHash(text, hashSeed())); }

std::uint32_t findOrAddText(TextTable* table, std::string_view text, std::uint32_t hash, bool lasting) {
  const std::size_t mask = table->slots.size() - 1;
  for (std::size_t slot = hash & mask; table->slots[slot] != 0; slot = (slot + 1) & mask) {
    const KnownText& known = table->known[table->slots[slot] - 1];
    if (known.hash == hash && isSameText(known.text, text)) return known.number;
  }
  return addText(table, text, hash, lasting);
}

/// Texts of one row lie close together, and so do their places.
PlacedText& placeOf(TextTable* table, std::string_view text) {
  return table->placed[(reinterpret_cast<std::uintptr_t>(text.data()) >> 2U) & (table->placed.size() - 1)];
}

/// Makes room for another chunk.
bool growChunks(TextTable* table) {
  const napi_value smaller = table->chunks;
  table->chunkCapacity = std::max<std::size_t>(64, table->chunkCapacity * 2);
  table->chunks = makeFilledArray(table->env, table->chunkCapacity);
  for (std::uint32_t i = 0; i < table->chunkCount && table->chunks != nullptr; ++i) {
    napi_value chunk = nullptr;
    if (!settled(table->env, napi_get_element(table->env, smaller, i, &chunk)) ||
        !settled(table->env, napi_set_element(table->env, table->chunks, i, chunk))) {
      return false;
    }
  }
  return table->chunks != nullptr;
}

bool storeChunk(TextTable* table) {
  if (table->failed || (table->chunkCount == table->chunkCapacity && !growChunks(table))) return false;
  const napi_value chunk = callFunction(table->env, scriptFunction(table->env, ScriptFunction::kCollect), table->fresh);
  const auto position = static_cast<std::uint32_t>(table->chunkCount++);
  table->fresh.clear();
  return chunk != nullptr && settled(table->env, napi_set_element(table->env, table->chunks, position, chunk));
}

std::uint32_t numberOfLasting(TextTable* table, std::string_view text) {
  PlacedText& place = placeOf(table, text);
  const auto size = static_cast<std::uint32_t>(text.size());
  if (place.data != text.data() || place.size != size) {
    place = {text.data(), size, findOrAddText(table, text, hashOf(text), true)};
  }
  return place.number;
}

}  // namespace

TextTable makeTextTable(napi_env env, std::size_t records) {
  TextTable table;
  table.env = env;
  const std::size_t places = std::bit_ceil(std::clamp(records * kPlacesARecord, kFewestPlaces, kMostPlaces));
  table.slots.assign(places, 0);
  table.placed.resize(places);
  return table;
}

void numberTexts(TextTable* table, std::vector<UnnumberedText>* texts, std::vector<std::int32_t>* integers) {
  // Both tables are larger than the nearest cache. Places that are asked for together come together.
  for (UnnumberedText& text : *texts) {
    text.lasting = isLasting(*table, text.text);
    if (text.lasting) {
      prefetch(&placeOf(table, text.text));
    } else {
      text.hash = hashOf(text.text);
      prefetch(&table->slots[text.hash & (table->slots.size() - 1)]);
    }
  }
  for (const UnnumberedText& text : *texts) {
    (*integers)[text.place] = static_cast<std::int32_t>(
        text.lasting ? numberOfLasting(table, text.text) : findOrAddText(table, text.text, text.hash, false));
  }
  texts->clear();
}

bool storeFreshStrings(TextTable* table) {
  table->failed = table->failed || ((table->chunks == nullptr || !table->fresh.empty()) && !storeChunk(table));
  return !table->failed;
}

void forgetTexts(TextTable* table) {
  table->known.clear();
  table->chunkCount = 0;
  table->copies.clear();
  table->copiedBytes = 0;
  std::fill(table->slots.begin(), table->slots.end(), 0);
  std::fill(table->placed.begin(), table->placed.end(), PlacedText());
}

}  // namespace corvenda
