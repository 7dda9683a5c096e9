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
constexpr std::size_t kPlacesAGroup = 8;

constexpr std::size_t kCopyBlock = 16384;

/// The strings of a chunk are handed over as arguments, eight bytes each of the stack.
constexpr std::size_t kChunkStrings = std::size_t{1} << kChunkBits;

bool isLasting(const TextTable& table, std::string_view text) {
  return std::any_of(table.lasting.begin(), table.lasting.end(), [text](std::string_view memory) {
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

void addString(TextTable* table, std::string_view text) {
  // The first of all is the empty one.
  if (table->chunkCount == 0 && table->fresh.empty() && !text.empty()) addString(table, {});
  table->fresh.push_back(makeText(table->env, text));
  table->failed = table->failed || table->fresh.back() == nullptr;
}

std::uint32_t addText(TextTable* table, std::string_view text, std::uint32_t hash, bool lasting) {
  addString(table, text);
  const auto number = static_cast<std::uint32_t>(table->chunkCount << kChunkBits | (table->fresh.size() - 1));
  const auto position = static_cast<std::uint32_t>(table->known.size());
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
PlacedText& placeOf(TextTable* table, const char* data) {
  return table->placed[(reinterpret_cast<std::uintptr_t>(data) >> 2U) & (table->placed.size() - 1)];
}

/// Groups are further apart than texts.
std::size_t groupPlace(const TextTable& table, const char* identity) {
  return (reinterpret_cast<std::uintptr_t>(identity) >> 5U) & (table.groups.size() - 1);
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
  PlacedText& place = placeOf(table, text.data());
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
  table.groups.resize(places / kPlacesAGroup);
  return table;
}

void writeText(TextTable* table, std::string_view text, std::vector<std::int32_t>* integers) {
  const auto place = static_cast<std::uint32_t>(integers->size());
  integers->push_back(kEmptyText);
  // The tables are larger than the nearest cache. Places that are asked for together come together.
  UnnumberedText unnumbered{text.data(), static_cast<std::uint32_t>(text.size()), place, 0, isLasting(*table, text)};
  if (unnumbered.lasting) {
    prefetch(&placeOf(table, text.data()));
  } else {
    unnumbered.hash = hashOf(text);
    prefetch(&table->slots[unnumbered.hash & (table->slots.size() - 1)]);
  }
  table->unnumbered.push_back(unnumbered);
}

void numberTexts(TextTable* table, std::vector<std::int32_t>* integers) {
  for (const UnnumberedText& unnumbered : table->unnumbered) {
    const std::string_view text(unnumbered.data, unnumbered.size);
    (*integers)[unnumbered.place] = static_cast<std::int32_t>(
        unnumbered.lasting ? numberOfLasting(table, text) : findOrAddText(table, text, unnumbered.hash, false));
  }
  for (const UnnumberedGroup& unnumbered : table->unnumberedGroups) {
    TextGroup& group = table->groups[groupPlace(*table, unnumbered.identity)];
    group.identity = unnumbered.identity;
    group.count = unnumbered.count;
    std::copy_n(integers->begin() + unnumbered.place, unnumbered.count, group.numbers.begin());
  }
  table->unnumbered.clear();
  table->unnumberedGroups.clear();
}

bool writeGroup(const TextTable& table, const char* identity, std::vector<std::int32_t>* integers) {
  const TextGroup& group = table.groups[groupPlace(table, identity)];
  if (group.identity != identity) return false;
  integers->insert(integers->end(), group.numbers.begin(), group.numbers.begin() + group.count);
  return true;
}

void keepGroup(TextTable* table, const char* identity, std::size_t place, std::size_t count) {
  table->unnumberedGroups.push_back({identity, static_cast<std::uint32_t>(place), static_cast<std::uint32_t>(count)});
}

bool storeFreshStrings(TextTable* table) {
  if (table->chunkCount == 0 && table->fresh.empty()) addString(table, {});
  table->failed = table->failed || (!table->fresh.empty() && !storeChunk(table));
  return !table->failed;
}

void forgetTexts(TextTable* table) {
  table->known.clear();
  table->chunkCount = 0;
  table->copies.clear();
  table->copiedBytes = 0;
  std::fill(table->slots.begin(), table->slots.end(), 0);
  std::fill(table->placed.begin(), table->placed.end(), PlacedText());
  std::fill(table->groups.begin(), table->groups.end(), TextGroup());
}

}  // namespace corvenda
