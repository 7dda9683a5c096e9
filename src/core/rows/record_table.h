// The rows of a pack or of a caller's overlay, immutable once made and shared by every call that uses them.
//
// A table leaves its rows as bytes, those of a pack where they lie in the payload. For each row it keeps 16 bytes that
// say where the row begins and what is needed most often: field count, kind, language and number. Readers receive a row
// as a typed record of views, which live as long as the table.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <deque>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "base/secure_block.h"
#include "base/secure_memory.h"
#include "base/semantic_error.h"
#include "base/system_vector.h"
#include "pack/digest_batch.h"
#include "pack/pack_records.h"
#include "rows/lexicon_rows.h"
#include "rows/sections.h"
#include "rows/table_indexes.h"

namespace corvenda {

/// How the bytes of a row are laid out. All integers are little-endian.
enum class RowLayout : std::uint8_t {
  kIndex,    ///< as in a binary index: length (16 bits), term, count of the fields (16), each with its length (16)
  kShard,    ///< as in a location shard: an alias and, at another place, a record
  kWritten,  ///< as kIndex but with lengths of 32 bits: a caller's texts have no limit
};

/// Rows of one section that lie in one document.
struct RowSegment {
  std::string name;  ///< of the section, as results show it
  Section section = Section::kScene;
  RowLayout layout = RowLayout::kIndex;
  const std::uint8_t* bytes = nullptr;  ///< of kWritten only once the table is finished
};

/// What is known of a row without reading it: 16 bytes, so that a million rows stay small beside their texts.
struct RowEntry {
  std::uint32_t number = 0;   ///< position in `RecordTable::numbers`; of a shard's row the record's place
  std::uint32_t termAt = 0;   ///< the term's length, from the beginning of the segment's bytes
  std::uint16_t segment = 0;  ///< position in `RecordTable::segments`
  std::uint16_t fieldCount = 0;
  Section section = Section::kScene;
  std::uint8_t kind = 0;            ///< SceneKind, or LocationSource
  bool weightIsNumber : 1 = false;  ///< the whole text is one
  bool english : 1 = false;         ///< the language field is "en"
  bool chinese : 1 = false;         ///< the language field of a scene row is "zh"
  bool plain : 1 = false;           ///< the term is a plain token
  bool identity : 1 = false;        ///< an English facet of the dimension "identity"
  bool master : 1 = false;          ///< of kind "category" with all fields: where a scene's own data is taken from
};
static_assert(sizeof(RowEntry) == 16);

struct RecordTable {
  SecureBlock payload;  ///< of a pack
  SecureBytes written;  ///< rows in the layout kWritten
  std::vector<RowSegment> segments;
  SystemVector<RowEntry> rows;   ///< binary index rows first, then those of each location shard, in document order
  SystemVector<double> numbers;  ///< priorities and weights; most rows share theirs
  /// Positions in `numbers` by a hash of the number: those that were used last, while the table is made.
  std::array<std::uint32_t, 64> recentNumbers = {};
  /// A term holds the byte that joins identities, so that rows with different terms may have the same identity.
  bool hasIdentitySeparator = false;
  std::unique_ptr<TableIndexes> indexes = std::make_unique<TableIndexes>();
};

// --- Making a table ------------------------------------------------------------------------------------------------

/// Begins a segment, to which the following rows belong. Offsets count from `bytes`, which is null for kWritten.
void beginSegment(RecordTable* table, std::string_view name, Section section, RowLayout layout,
                  const std::uint8_t* bytes);
void addIndexRow(RecordTable* table, const IndexRowSource& row);
void addShardRow(RecordTable* table, const ShardRowSource& row);

/// Appends a row to a segment of kWritten. Offsets have 32 bits: a row that would end beyond 4 GiB is not added.
void writeRow(RecordTable* table, std::string_view term, std::span<const std::string_view> fields);

/// Call after the last row: only now do the segments of kWritten know where their bytes lie.
void finishTable(RecordTable* table);

/// Parses the decrypted payload of a pack and keeps it, because the rows lie in it. `unread` receives the parts in
/// which none does. For `digests` see parseRulePackPayload. Errors: those of the payload, the binary index and the
/// location shards.
bool readPayloadTable(SecureBlock payload, RulePack* pack, RecordTable* table, std::vector<ByteSpan>* unread,
                      DigestBatch* digests, SemanticError* error);

// --- Reading rows --------------------------------------------------------------------------------------------------

inline const RowSegment& segmentOf(const RecordTable& table, std::uint32_t row) {
  return table.segments[table.rows[row].segment];
}

inline Section sectionOf(const RecordTable& table, std::uint32_t row) { return table.rows[row].section; }

/// The term of a row of a finished table.
inline std::string_view termOf(const RecordTable& table, std::uint32_t row) {
  const RowEntry& entry = table.rows[row];
  const RowSegment& segment = table.segments[entry.segment];
  const std::uint8_t* const at = segment.bytes + entry.termAt;
  // All targets are little-endian, as the formats are.
  if (segment.layout == RowLayout::kWritten) {
    std::uint32_t length = 0;
    std::memcpy(&length, at, sizeof length);
    return {reinterpret_cast<const char*>(at + sizeof length), length};
  }
  std::uint16_t length = 0;
  std::memcpy(&length, at, sizeof length);
  return {reinterpret_cast<const char*>(at + sizeof length), length};
}

/// Asks for the bytes of a row ahead of their use.
void prefetchRow(const RecordTable& table, std::uint32_t row);

/// The first field of a row, empty if it has none: the key of a scene row.
std::string_view firstFieldOf(const RecordTable& table, std::uint32_t row);

SceneEvidence sceneEvidenceAt(const RecordTable& table, std::uint32_t row);
SceneRow sceneRowAt(const RecordTable& table, std::uint32_t row);
HumanRow humanRowAt(const RecordTable& table, std::uint32_t row);
FacetRow facetRowAt(const RecordTable& table, std::uint32_t row);
PlaceRow placeRowAt(const RecordTable& table, std::uint32_t row);
CelebrityRow celebrityRowAt(const RecordTable& table, std::uint32_t row);

/// A row as look-ups show it: all of its fields as text. What the fields mean depends on the section.
struct IndexRecord {
  std::string_view section;  ///< "scene", "human", "celebrity", "location", "facet", or a shard's document name
  std::string_view term;     ///< the text that is searched for
  std::vector<std::string_view> fields;
};

/// Holds texts of a record that the row's bytes don't contain as such. It must outlive the record.
using TextArena = std::deque<std::string>;

IndexRecord recordAt(const RecordTable& table, std::uint32_t row, TextArena* arena);

/// `term`, then 0x1F and the field for each field: two rows with one key are one row for the scene resolvers.
SecureText recordIdentityKey(const IndexRecord& record);

}  // namespace corvenda
