#include "rows/record_table.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <limits>
#include <utility>

#include "base/number_text.h"
#include "base/prefetch.h"
#include "pack/binary_index.h"
#include "pack/location_shard.h"
#include "pack/payload.h"
#include "text/text_primitives.h"

namespace corvenda {
namespace {

/// Nearly the shortest row of a real lexicon. A smaller value reserves more address space; with a larger one, tables of
/// short rows move once while they are read.
constexpr std::size_t kBytesOfShortRow = 24;

/// Where a system counts address space as memory, a large payload must not ask for more ahead than 80 MB.
constexpr std::size_t kMostRowsAhead = 5000000;

/// Numbers that are looked through before one is added. Two that are frequent may share a place among the recent ones.
constexpr std::uint32_t kFirstNumbers = 16;

/// The byte that joins the parts of an identity.
constexpr char kIdentitySeparator = '\x1F';

// --- The bytes of a row --------------------------------------------------------------------------------------------

template <typename Integer>
Integer loadInteger(const std::uint8_t* bytes) {
  // All targets are little-endian, as the formats are.
  Integer value = 0;
  std::memcpy(&value, bytes, sizeof value);
  return value;
}

/// A text after its length, and the place after it.
template <typename Length>
std::string_view takeText(const std::uint8_t** at) {
  const auto length = loadInteger<Length>(*at);
  const auto* const text = reinterpret_cast<const char*>(*at + sizeof(Length));
  *at += sizeof(Length) + length;
  return {text, length};
}

/// The first fields of a row; those that it lacks are empty, as is the weight of a shard's record, which is not text.
using NamedFields = std::array<std::string_view, kNamedFields>;

template <typename Length>
void readFields(const std::uint8_t* body, std::uint32_t count, std::string_view* fields) {
  const std::uint8_t* at = body + sizeof(Length);
  for (std::uint32_t i = 0; i < count; ++i) fields[i] = takeText<Length>(&at);
}

void readShardFields(const std::uint8_t* record, std::string_view* fields) {
  const std::uint8_t* at = record;
  fields[location_field::kCode] = takeText<std::uint16_t>(&at);
  const bool english = *at == 1;
  at += 5;  // the flag and the weight
  fields[location_field::kSource] = english ? "location-db-en" : "location-db-native";
  fields[location_field::kLabel] = takeText<std::uint16_t>(&at);
  fields[location_field::kLang] = english ? "en" : "zh";
  fields[location_field::kCountryLabel] = takeText<std::uint16_t>(&at);
}

/// The record of a shard's row. Its weight is read from there, so the entry's number is free to hold the position.
const std::uint8_t* recordOf(const RecordTable& table, const RowEntry& entry) {
  return table.segments[entry.segment].bytes + entry.number;
}

/// Reads the first `count` fields; the row has at least as many.
void readFieldsOf(const RecordTable& table, const RowEntry& entry, std::uint32_t count, std::string_view* fields) {
  const RowSegment& segment = table.segments[entry.segment];
  const std::uint8_t* at = segment.bytes + entry.termAt;
  switch (segment.layout) {
    case RowLayout::kIndex: takeText<std::uint16_t>(&at); return readFields<std::uint16_t>(at, count, fields);
    case RowLayout::kShard: return readShardFields(recordOf(table, entry), fields);
    case RowLayout::kWritten: takeText<std::uint32_t>(&at); return readFields<std::uint32_t>(at, count, fields);
  }
}

bool isNumberAt(const RecordTable& table, std::uint32_t position, std::uint64_t bits) {
  return position < table.numbers.size() && std::bit_cast<std::uint64_t>(table.numbers[position]) == bits;
}

/// The position of a number in the table's list. Most rows have one of the first few, or one that was used recently;
/// any other is added anew.
std::uint32_t placeNumber(RecordTable* table, double number) {
  const auto bits = std::bit_cast<std::uint64_t>(number);
  std::uint32_t& recent = table->recentNumbers[(bits * 0x9E3779B97F4A7C15U) >> 58U];
  if (isNumberAt(*table, recent, bits)) return recent;
  for (recent = 0; recent < kFirstNumbers; ++recent) {
    if (isNumberAt(*table, recent, bits)) return recent;
  }
  recent = static_cast<std::uint32_t>(table->numbers.size());
  table->numbers.push_back(number);
  return recent;
}

/// The number at the front of the third field, 0 if there is none.
double weightOf(const RecordTable& table, const RowEntry& entry) {
  if (table.segments[entry.segment].layout != RowLayout::kShard) return table.numbers[entry.number];
  const std::uint8_t* at = recordOf(table, entry);
  takeText<std::uint16_t>(&at);
  return roundToNumberText(static_cast<double>(loadInteger<float>(at + 1)));
}

NamedFields namedFields(const RecordTable& table, const RowEntry& entry) {
  NamedFields fields;
  readFieldsOf(table, entry, std::min<std::uint32_t>(entry.fieldCount, kNamedFields), fields.data());
  return fields;
}

// --- What is known of a row ----------------------------------------------------------------------------------------

/// Which field of a section is the language.
std::size_t languageField(Section section) {
  return section == Section::kFacet ? std::size_t{facet_field::kLang} : std::size_t{scene_field::kLang};
}
static_assert(std::size_t{scene_field::kLang} == std::size_t{location_field::kLang});
static_assert(std::size_t{scene_field::kRowPriority} == std::size_t{facet_field::kWeight} &&
              std::size_t{scene_field::kRowPriority} == std::size_t{location_field::kWeight});

bool hasWeight(Section section) {
  return section == Section::kScene || section == Section::kFacet || section == Section::kLocation;
}

void describeRow(RecordTable* table, std::string_view term, const NamedFields& fields, RowEntry* entry) {
  const Section section = entry->section;
  entry->plain = isPlainToken(term);
  if (!hasWeight(section)) return;
  entry->english = fields[languageField(section)] == "en";
  double weight = 0;
  entry->weightIsNumber = parseNumber(fields[scene_field::kRowPriority], &weight);
  entry->number = placeNumber(table, weight);
  if (section == Section::kScene) {
    const SceneKind kind = sceneKindFromName(fields[scene_field::kKind]);
    entry->kind = static_cast<std::uint8_t>(kind);
    entry->chinese = fields[scene_field::kLang] == "zh";
    entry->master = kind == SceneKind::kCategory && entry->fieldCount >= scene_field::kCount;
  } else if (section == Section::kLocation) {
    entry->kind = static_cast<std::uint8_t>(locationSourceFromName(fields[location_field::kSource]));
  } else {
    entry->identity = entry->english && fields[facet_field::kDimension] == "identity";
  }
}

RowEntry& addEntry(RecordTable* table, std::string_view term) {
  RowEntry& entry = table->rows.emplace_back();
  entry.segment = static_cast<std::uint16_t>(table->segments.size() - 1);
  entry.section = table->segments.back().section;
  if (term.find(kIdentitySeparator) != std::string_view::npos) table->hasIdentitySeparator = true;
  return entry;
}

template <typename Length>
void appendSized(SecureBytes* bytes, std::string_view text) {
  const auto length = static_cast<Length>(text.size());
  const auto* const raw = reinterpret_cast<const std::uint8_t*>(&length);
  bytes->insert(bytes->end(), raw, raw + sizeof length);
  bytes->insert(bytes->end(), text.begin(), text.end());
}

}  // namespace

// --- Making a table ------------------------------------------------------------------------------------------------

void beginSegment(RecordTable* table, std::string_view name, Section section, RowLayout layout,
                  const std::uint8_t* bytes) {
  table->segments.push_back({std::string(name), section, layout, bytes});
}

void addIndexRow(RecordTable* table, const IndexRowSource& row) {
  RowEntry& entry = addEntry(table, row.term);
  const RowSegment& segment = table->segments.back();
  entry.termAt = static_cast<std::uint32_t>(row.begin - segment.bytes);
  entry.fieldCount = row.fieldCount;
  describeRow(table, row.term, row.fields, &entry);
}

void addShardRow(RecordTable* table, const ShardRowSource& row) {
  RowEntry& entry = addEntry(table, row.alias);
  const RowSegment& segment = table->segments.back();
  entry.termAt = static_cast<std::uint32_t>(row.aliasBegin - segment.bytes);
  entry.number = static_cast<std::uint32_t>(row.begin - segment.bytes);
  entry.fieldCount = location_field::kCount;
  entry.english = row.englishFlag == 1;
  entry.kind =
      static_cast<std::uint8_t>(entry.english ? LocationSource::kDatabaseEnglish : LocationSource::kDatabaseNative);
  entry.weightIsNumber = true;
}

void writeRow(RecordTable* table, std::string_view term, std::span<const std::string_view> fields) {
  std::size_t size = term.size() + 8;
  for (const std::string_view field : fields) size += field.size() + 4;
  SecureBytes& bytes = table->written;
  if (size > std::numeric_limits<std::uint32_t>::max() - bytes.size()) return;
  RowEntry& entry = addEntry(table, term);
  entry.termAt = static_cast<std::uint32_t>(bytes.size());
  appendSized<std::uint32_t>(&bytes, term);
  entry.fieldCount = static_cast<std::uint16_t>(fields.size());
  bytes.resize(bytes.size() + 4);  // a place for the count, which is kept in the entry
  for (const std::string_view field : fields) appendSized<std::uint32_t>(&bytes, field);
  NamedFields named;
  std::copy_n(fields.begin(), std::min(fields.size(), named.size()), named.begin());
  describeRow(table, term, named, &entry);
}

void finishTable(RecordTable* table) {
  for (RowSegment& segment : table->segments) {
    if (segment.layout == RowLayout::kWritten) segment.bytes = table->written.data();
  }
}

namespace {

/// Writes out a row of a shard that is not named as one of places. It belongs to another section, whose readers expect
/// every field as text.
void writeShardRow(RecordTable* table, const ShardRowSource& row) {
  const bool english = row.englishFlag == 1;
  const std::string weight = formatNumber(row.weight);
  const std::string_view fields[] = {
      row.code,        english ? "location-db-en" : "location-db-native", weight, row.label, english ? "en" : "zh",
      row.countryLabel};
  writeRow(table, row.alias, fields);
}

bool readShard(const RulePackDocument& document, RecordTable* table, SemanticError* error) {
  const auto section = sectionOfRows(document.name);
  if (!section)
    return parseLocationShard(
        document.data, [](const ShardRowSource&) {}, error);
  const bool places = *section == Section::kLocation;
  beginSegment(table, document.name, *section, places ? RowLayout::kShard : RowLayout::kWritten,
               places ? document.data.data() : nullptr);
  return parseLocationShard(
      document.data,
      [table, places](const ShardRowSource& row) { places ? addShardRow(table, row) : writeShardRow(table, row); },
      error);
}

}  // namespace

bool readPayloadTable(SecureBlock payload, RulePack* pack, RecordTable* table, std::vector<ByteSpan>* unread,
                      DigestBatch* digests, SemanticError* error) {
  const IndexRowSink sink{[table](std::string_view name, const std::uint8_t* body) {
                            beginSegment(table, name, *sectionFromName(name), RowLayout::kIndex, body);
                          },
                          [table](const IndexRowSource& row) { addIndexRow(table, row); }};
  // Enough address space for most lexicons, so that entries need not move; what is never written takes no memory.
  table->rows.reserve(std::min(payload.size / kBytesOfShortRow, kMostRowsAhead));
  table->payload = std::move(payload);
  PayloadDocuments documents;
  if (!parseRulePackPayload(bytesOf(table->payload), pack, error, &documents, &sink, digests)) return false;
  for (const RulePackDocument& document : documents.shards) {
    if (!readShard(document, table, error)) return false;
    // Its rows were written anew, or nobody can ask for them.
    if (sectionOfRows(document.name) != Section::kLocation) documents.unread.push_back(document.data);
  }
  *unread = std::move(documents.unread);
  finishTable(table);
  return true;
}

// --- Reading rows --------------------------------------------------------------------------------------------------

void prefetchRow(const RecordTable& table, std::uint32_t row) {
  const RowEntry& entry = table.rows[row];
  const RowSegment& segment = table.segments[entry.segment];
  prefetch(segment.bytes + entry.termAt);
  if (segment.layout == RowLayout::kShard) prefetch(recordOf(table, entry));
}

std::string_view firstFieldOf(const RecordTable& table, std::uint32_t row) {
  const RowEntry& entry = table.rows[row];
  if (entry.fieldCount == 0) return {};
  NamedFields fields;
  readFieldsOf(table, entry, 1, fields.data());
  return fields[0];
}

SceneEvidence sceneEvidenceAt(const RecordTable& table, std::uint32_t row) {
  const RowEntry& entry = table.rows[row];
  return {termOf(table, row),
          static_cast<SceneKind>(entry.kind),
          entry.fieldCount > scene_field::kLang,
          entry.english,
          entry.chinese,
          entry.plain,
          entry.weightIsNumber,
          weightOf(table, entry)};
}

SceneRow sceneRowAt(const RecordTable& table, std::uint32_t row) {
  const RowEntry& entry = table.rows[row];
  const NamedFields fields = namedFields(table, entry);
  return {entry.fieldCount,
          fields[scene_field::kKey],
          fields[scene_field::kDetail],
          fields[scene_field::kRowPriority],
          fields[scene_field::kLang],
          fields[scene_field::kLabel],
          fields[scene_field::kArchiveLabel],
          fields[scene_field::kArchiveCode],
          fields[scene_field::kIcon],
          fields[scene_field::kDefaultDetail],
          fields[scene_field::kPriority]};
}

HumanRow humanRowAt(const RecordTable& table, std::uint32_t row) {
  const RowEntry& entry = table.rows[row];
  const NamedFields fields = namedFields(table, entry);
  return {termOf(table, row), entry.fieldCount, fields[human_field::kSceneKey], fields[human_field::kDetail],
          entry.plain};
}

FacetRow facetRowAt(const RecordTable& table, std::uint32_t row) {
  const RowEntry& entry = table.rows[row];
  const NamedFields fields = namedFields(table, entry);
  return {
      termOf(table, row),         entry.fieldCount,     fields[facet_field::kDimension], fields[facet_field::kFacetKey],
      fields[facet_field::kLang], entry.weightIsNumber, weightOf(table, entry)};
}

PlaceRow placeRowAt(const RecordTable& table, std::uint32_t row) {
  const RowEntry& entry = table.rows[row];
  const NamedFields fields = namedFields(table, entry);
  return {table.segments[entry.segment].name,
          termOf(table, row),
          entry.fieldCount,
          fields[location_field::kCode],
          fields[location_field::kSource],
          fields[location_field::kLabel],
          fields[location_field::kCountryLabel],
          static_cast<LocationSource>(entry.kind),
          entry.english,
          entry.weightIsNumber,
          weightOf(table, entry)};
}

CelebrityRow celebrityRowAt(const RecordTable& table, std::uint32_t row) {
  const RowEntry& entry = table.rows[row];
  const NamedFields fields = namedFields(table, entry);
  return {termOf(table, row),
          entry.fieldCount,
          fields[celebrity_field::kId],
          fields[celebrity_field::kName],
          fields[celebrity_field::kKind],
          fields[celebrity_field::kRegion],
          fields[celebrity_field::kPhotoKey],
          fields[celebrity_field::kTags]};
}

IndexRecord recordAt(const RecordTable& table, std::uint32_t row, TextArena* arena) {
  const RowEntry& entry = table.rows[row];
  const RowSegment& segment = table.segments[entry.segment];
  IndexRecord record{segment.name, termOf(table, row), std::vector<std::string_view>(entry.fieldCount)};
  readFieldsOf(table, entry, entry.fieldCount, record.fields.data());
  if (segment.layout == RowLayout::kShard) {
    record.fields[location_field::kWeight] = arena->emplace_back(formatNumber(weightOf(table, entry)));
  }
  return record;
}

SecureText recordIdentityKey(const IndexRecord& record) {
  SecureText key(record.term);
  for (const std::string_view field : record.fields) {
    key += kIdentitySeparator;
    key += field;
  }
  return key;
}

}  // namespace corvenda
