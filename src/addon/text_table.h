// The distinct texts of a long list of results, each of which becomes one JavaScript string.
//
// Most are texts of a pack's rows, and the next list will have them again. So their strings are kept from call to call
// as long as the packs stay the same: they are neither made nor collected each time.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "addon/border.h"
#include "base/secure_memory.h"
#include "cache/semantic_cache.h"

namespace corvenda {

struct KnownText {
  std::string_view text;
  std::uint32_t hash = 0;
  std::uint32_t number = 0;
};

/// Texts that are dropped together, each once.
struct TextSet {
  std::vector<KnownText> known;  ///< texts of memory that may go are copied
  std::vector<SecureBytes> copies;
  std::size_t copiedBytes = 0;
  std::vector<std::uint32_t> slots;   ///< hash table: position in `known` plus 1, 0 for none; a power of two
  std::vector<napi_value> fresh;      ///< strings of the next chunk
  std::vector<std::uint32_t> chunks;  ///< numbers of its chunks, the next one last
};

/// Memory that stays as it is while the pack lives.
struct LastingMemory {
  std::weak_ptr<const LoadedPack> pack;
  std::string_view bytes;
};

/// A text in lasting memory: where it is says what it is.
struct PlacedText {
  const char* data = nullptr;
  std::uint32_t size = 0;
  std::uint32_t number = 0;
};

/// Texts that come together, see putGroup.
struct TextGroup {
  static constexpr std::size_t kMost = 7;

  const char* identity = nullptr;
  std::uint32_t count = 0;
  std::array<std::int32_t, kMost> numbers{};
};

/// A text that waits for its number, or a group of which the numbers are to be kept.
struct UnnumberedText {
  const char* data = nullptr;
  std::uint32_t size = 0;
  std::uint32_t place = 0;  ///< where the number belongs in a list of integers
  std::uint32_t hash = 0;
  bool lasting = false;  ///< its memory is
  bool kept = false;     ///< it belongs to the kept texts
};

struct UnnumberedGroup {
  const char* identity = nullptr;
  std::uint32_t place = 0;
  std::uint32_t count = 0;
};

/// The number of the empty text.
constexpr std::int32_t kEmptyText = 0;

/// Strings go to JavaScript in chunks: a text's number is that of its chunk, and in the low bits its place in it.
constexpr unsigned kChunkBits = 12;

struct TextTable {
  napi_env env = nullptr;
  std::vector<LastingMemory> lasting;
  TextSet kept;                    ///< texts of lasting memory, and of groups with an identity there
  TextSet passing;                 ///< all others
  std::vector<PlacedText> placed;  ///< of lasting memory: direct-mapped, in front of the hash table; a power of two
  std::vector<TextGroup> groups;   ///< direct-mapped; a power of two
  bool inGroup = false;            ///< the texts that are written belong to one
  std::vector<UnnumberedText> unnumbered;
  std::vector<UnnumberedGroup> unnumberedGroups;
  napi_value chunks = nullptr;              ///< array of arrays of strings
  std::size_t chunkCapacity = 0;            ///< length of `chunks`
  std::uint32_t chunkCount = 0;             ///< numbers that were given to chunks
  std::vector<std::uint32_t> unusedChunks;  ///< of these, numbers to be given again
  bool failed = false;                      ///< a string or chunk could not be made; an exception is pending
};

/// A table for about so many records.
TextTable makeTextTable(napi_env env, std::size_t records);

/// Appends a place for the number of the text, which isn't empty, to the integers.
void writeText(TextTable* table, std::string_view text, std::vector<std::int32_t>* integers);

/// Writes the numbers of a record's texts to their places.
void numberTexts(TextTable* table, std::vector<std::int32_t>* integers);

/// Appends the numbers of the group's texts; false if they are not known. If `identity` is in lasting memory, the texts
/// that are written until `endGroup` are taken for the group's.
bool beginGroup(TextTable* table, const char* identity, std::vector<std::int32_t>* integers);

/// Says that the integers from `place` on are the group's. Its texts may still wait for their numbers.
void endGroup(TextTable* table, const char* identity, std::size_t place, std::size_t count);

/// Completes `chunks`. False, with an exception pending, if a step failed.
bool storeFreshStrings(TextTable* table);

/// With more bytes of copies the table has to begin anew: texts that no later record shares would fill the memory.
constexpr std::size_t kMostCopiedBytes = std::size_t{4} << 20U;

/// Begins anew if it has to. Numbers that were given before are void.
void limitTexts(TextTable* table);

/// Says that the memory of these packs lasts; the same pack may be there twice, or be null. Numbers that were given
/// before are void, because what an earlier list has kept of these packs takes the table's place.
void expectTexts(TextTable* table, std::span<const std::shared_ptr<const LoadedPack>> packs);

/// Leaves the strings of lasting texts to the next list.
void keepTexts(TextTable table);

}  // namespace corvenda
