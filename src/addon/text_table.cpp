#include "addon/text_table.h"

#include <algorithm>
#include <bit>
#include <utility>

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

/// Places of the set of passing texts at first.
constexpr std::size_t kPassingPlaces = 1024;

constexpr std::size_t kCopyBlock = 16384;

/// The strings of a chunk are handed over as arguments, eight bytes each of the stack.
constexpr std::size_t kChunkStrings = std::size_t{1} << kChunkBits;

/// More texts than this are not kept: a pack whose rows hardly come again would fill the memory with them.
constexpr std::size_t kMostKept = 32768;

bool isLasting(const TextTable& table, const char* data) {
  return std::any_of(table.lasting.begin(), table.lasting.end(), [data](const LastingMemory& memory) {
    return data >= memory.bytes.data() && data < memory.bytes.data() + memory.bytes.size();
  });
}

std::string_view copyText(TextSet* set, std::string_view text) {
  if (set->copies.empty() || set->copies.back().capacity() - set->copies.back().size() < text.size()) {
    set->copies.emplace_back().reserve(std::max(kCopyBlock, text.size()));
  }
  SecureBytes& block = set->copies.back();
  block.insert(block.end(), text.begin(), text.end());
  set->copiedBytes += text.size();
  return {reinterpret_cast<const char*>(block.data() + block.size()) - text.size(), text.size()};
}

// --- Chunks --------------------------------------------------------------------------------------------------------

std::uint32_t takeChunkNumber(TextTable* table) {
  if (table->unusedChunks.empty()) return table->chunkCount++;
  const std::uint32_t number = table->unusedChunks.back();
  table->unusedChunks.pop_back();
  return number;
}

/// Makes room for another chunk.
bool growChunks(TextTable* table) {
  const napi_value smaller = table->chunks;
  const std::size_t filled = table->chunkCapacity;
  table->chunkCapacity = std::bit_ceil(std::max<std::size_t>(64, table->chunkCount));
  table->chunks = makeFilledArray(table->env, table->chunkCapacity);
  for (std::uint32_t i = 0; i < filled && table->chunks != nullptr; ++i) {
    napi_value chunk = nullptr;
    if (!settled(table->env, napi_get_element(table->env, smaller, i, &chunk)) ||
        !settled(table->env, napi_set_element(table->env, table->chunks, i, chunk))) {
      return false;
    }
  }
  return table->chunks != nullptr;
}

/// Stores the strings that have gathered as a chunk.
bool storeChunk(TextTable* table, TextSet* set) {
  if (table->failed || (table->chunkCount > table->chunkCapacity && !growChunks(table))) return false;
  const napi_value chunk = callFunction(table->env, scriptFunction(table->env, ScriptFunction::kCollect), set->fresh);
  set->fresh.clear();
  return chunk != nullptr &&
         settled(table->env, napi_set_element(table->env, table->chunks, set->chunks.back(), chunk));
}

void storeStringsOf(TextTable* table, TextSet* set) {
  if (!set->fresh.empty() && !storeChunk(table, set)) table->failed = true;
}

/// The number of a new string.
std::uint32_t addString(TextTable* table, TextSet* set, std::string_view text) {
  if (set->fresh.empty()) set->chunks.push_back(takeChunkNumber(table));
  set->fresh.push_back(makeText(table->env, text));
  table->failed = table->failed || set->fresh.back() == nullptr;
  return set->chunks.back() << kChunkBits | static_cast<std::uint32_t>(set->fresh.size() - 1);
}

/// The first of all strings is the empty one.
void addEmptyString(TextTable* table) {
  if (table->chunkCount == 0) addString(table, &table->kept, {});
}

// --- Known texts ---------------------------------------------------------------------------------------------------

void placeKnown(TextSet* set, std::uint32_t position) {
  const std::size_t mask = set->slots.size() - 1;
  std::size_t slot = set->known[position].hash & mask;
  while (set->slots[slot] != 0) slot = (slot + 1) & mask;
  set->slots[slot] = position + 1;
}

std::uint32_t addText(TextTable* table, TextSet* set, const KnownText& text) {
  addEmptyString(table);
  const auto position = static_cast<std::uint32_t>(set->known.size());
  const std::uint32_t number = addString(table, set, text.text);
  set->known.push_back({text.text, text.hash, number});
  if (set->known.size() * 2 <= set->slots.size()) {
    placeKnown(set, position);
  } else {
    set->slots.assign(set->slots.size() * 2, 0);
    for (std::uint32_t i = 0; i <= position; ++i) placeKnown(set, i);
  }
  if (set->fresh.size() == kChunkStrings) storeStringsOf(table, set);
  return number;
}

std::uint32_t hashOf(std::string_view text) { return static_cast<std::uint32_t>(keyedHash(text, hashSeed())); }

std::uint32_t findOrAddText(TextTable* table, TextSet* set, std::string_view text, std::uint32_t hash, bool lasting) {
  const std::size_t mask = set->slots.size() - 1;
  for (std::size_t slot = hash & mask; set->slots[slot] != 0; slot = (slot + 1) & mask) {
    const KnownText& known = set->known[set->slots[slot] - 1];
    if (known.hash == hash && isSameText(known.text, text)) return known.number;
  }
  return addText(table, set, {lasting ? text : copyText(set, text), hash, 0});
}

/// Texts of one row lie close together, and so do their places.
PlacedText& placeOf(TextTable* table, const char* data) {
  return table->placed[(reinterpret_cast<std::uintptr_t>(data) >> 2U) & (table->placed.size() - 1)];
}

/// Groups are further apart than texts.
TextGroup& placeOfGroup(TextTable* table, const char* identity) {
  return table->groups[(reinterpret_cast<std::uintptr_t>(identity) >> 5U) & (table->groups.size() - 1)];
}

std::uint32_t numberOfLasting(TextTable* table, std::string_view text) {
  PlacedText& place = placeOf(table, text.data());
  const auto size = static_cast<std::uint32_t>(text.size());
  if (place.data != text.data() || place.size != size) {
    place = {text.data(), size, findOrAddText(table, &table->kept, text, hashOf(text), true)};
  }
  return place.number;
}

std::uint32_t numberOf(TextTable* table, const UnnumberedText& unnumbered) {
  const std::string_view text(unnumbered.data, unnumbered.size);
  if (unnumbered.lasting) return numberOfLasting(table, text);
  return findOrAddText(table, unnumbered.kept ? &table->kept : &table->passing, text, unnumbered.hash, false);
}

// --- Beginning anew ------------------------------------------------------------------------------------------------

/// The chunks of the set are left to the garbage collector.
void forgetPassing(TextTable* table) {
  TextSet& set = table->passing;
  const HandleScope scope(table->env);
  const napi_value nothing = makeNull(table->env);
  for (const std::uint32_t chunk : set.chunks) {
    table->failed = table->failed || !settled(table->env, napi_set_element(table->env, table->chunks, chunk, nothing));
  }
  table->unusedChunks.insert(table->unusedChunks.end(), set.chunks.begin(), set.chunks.end());
  set.known.clear();
  set.chunks.clear();
  set.copies.clear();
  set.copiedBytes = 0;
  std::fill(set.slots.begin(), set.slots.end(), 0);
}

std::vector<LastingMemory> memoryOf(std::span<const std::shared_ptr<const LoadedPack>> packs) {
  std::vector<LastingMemory> memory;
  for (const auto& pack : packs) {
    if (pack == nullptr) continue;
    for (const ByteSpan bytes : {bytesOf(pack->table.payload), ByteSpan(pack->table.written)}) {
      const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
      const bool known = std::any_of(memory.begin(), memory.end(),
                                     [text](const LastingMemory& each) { return each.bytes.data() == text.data(); });
      if (!known && !text.empty()) memory.push_back({pack, text});
    }
  }
  return memory;
}

/// The same packs, all of them alive since: then their texts are where they were.
bool isSameMemory(const std::vector<LastingMemory>& a, const std::vector<LastingMemory>& b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const LastingMemory& x, const LastingMemory& y) {
    return x.bytes.data() == y.bytes.data() && !x.pack.expired() && x.pack.lock() == y.pack.lock();
  });
}

}  // namespace

TextTable makeTextTable(napi_env env, std::size_t records) {
  TextTable table;
  table.env = env;
  const std::size_t places = std::bit_ceil(std::clamp(records * kPlacesARecord, kFewestPlaces, kMostPlaces));
  table.kept.slots.assign(places, 0);
  table.passing.slots.assign(std::min(places, kPassingPlaces), 0);
  table.placed.resize(places);
  table.groups.resize(places / kPlacesAGroup);
  return table;
}

void writeText(TextTable* table, std::string_view text, std::vector<std::int32_t>* integers) {
  const auto place = static_cast<std::uint32_t>(integers->size());
  integers->push_back(kEmptyText);
  // The tables are larger than the nearest cache. Places that are asked for together come together.
  const bool lasting = isLasting(*table, text.data());
  UnnumberedText unnumbered{text.data(), static_cast<std::uint32_t>(text.size()), place, 0, lasting, table->inGroup};
  if (lasting) {
    prefetch(&placeOf(table, text.data()));
  } else {
    const TextSet& set = unnumbered.kept ? table->kept : table->passing;
    unnumbered.hash = hashOf(text);
    prefetch(&set.slots[unnumbered.hash & (set.slots.size() - 1)]);
  }
  table->unnumbered.push_back(unnumbered);
}

void numberTexts(TextTable* table, std::vector<std::int32_t>* integers) {
  for (const UnnumberedText& unnumbered : table->unnumbered) {
    (*integers)[unnumbered.place] = static_cast<std::int32_t>(numberOf(table, unnumbered));
  }
  for (const UnnumberedGroup& unnumbered : table->unnumberedGroups) {
    TextGroup& group = placeOfGroup(table, unnumbered.identity);
    group.identity = unnumbered.identity;
    group.count = unnumbered.count;
    std::copy_n(integers->begin() + unnumbered.place, unnumbered.count, group.numbers.begin());
  }
  table->unnumbered.clear();
  table->unnumberedGroups.clear();
}

bool beginGroup(TextTable* table, const char* identity, std::vector<std::int32_t>* integers) {
  if (identity == nullptr) return false;
  const TextGroup& group = placeOfGroup(table, identity);
  if (group.identity == identity) {
    integers->insert(integers->end(), group.numbers.begin(), group.numbers.begin() + group.count);
    return true;
  }
  table->inGroup = isLasting(*table, identity);
  return false;
}

void endGroup(TextTable* table, const char* identity, std::size_t place, std::size_t count) {
  if (table->inGroup && count <= TextGroup::kMost) {
    table->unnumberedGroups.push_back({identity, static_cast<std::uint32_t>(place), static_cast<std::uint32_t>(count)});
  }
  table->inGroup = false;
}

bool storeFreshStrings(TextTable* table) {
  addEmptyString(table);
  storeStringsOf(table, &table->kept);
  storeStringsOf(table, &table->passing);
  return !table->failed;
}

void limitTexts(TextTable* table) {
  if (table->kept.copiedBytes + table->passing.copiedBytes < kMostCopiedBytes) return;
  std::vector<LastingMemory> lasting = std::move(table->lasting);
  *table = makeTextTable(table->env, table->placed.size() / kPlacesARecord);
  table->lasting = std::move(lasting);
}

void expectTexts(TextTable* table, std::span<const std::shared_ptr<const LoadedPack>> packs) {
  std::vector<LastingMemory> memory = memoryOf(packs);
  TextTable before = takeKeptTexts(table->env);
  if (before.chunks != nullptr && isSameMemory(before.lasting, memory)) *table = std::move(before);
  table->lasting = std::move(memory);
}

void keepTexts(TextTable table) {
  if (table.chunks == nullptr || table.lasting.empty() || table.kept.known.size() > kMostKept) return;
  forgetPassing(&table);
  if (!table.failed) storeKeptTexts(std::move(table));
}

}  // namespace corvenda
