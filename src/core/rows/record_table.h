// The rows of a pack, shared by every call that uses them, and the ways to ask for some of them.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pack/pack_records.h"
#include "rows/term_index.h"

namespace corvenda {

struct SectionRows;

/// Every row of one pack, immutable once made: binary index rows first, then the rows of each location shard, in
/// document order. Calls hold it by shared pointer, so a slot may be overwritten while a call still reads its rows.
struct RecordTable {
  std::vector<IndexRecord> records;
  /// What is derived from `records`, made at its first use by whichever thread comes first.
  std::unique_ptr<SectionRows[]> sections;
  RecordTable();
  ~RecordTable();
  RecordTable(const RecordTable&) = delete;
  RecordTable& operator=(const RecordTable&) = delete;
};

/// The sections that can be asked for. kLocation stands for "location" and every section that begins with "location-".
enum class Section { kScene, kHuman, kCelebrity, kLocation, kFacet };
constexpr std::size_t kSectionCount = 5;

/// "scene", "human", "celebrity", "location" or "facet"; nothing for another text.
std::optional<Section> sectionFromName(std::string_view name);

/// True if a row with this section name answers to `section`.
bool isInSection(std::string_view rowSection, Section section);

/// The numbers of the section's rows, ascending.
const std::vector<std::uint32_t>& sectionRowNumbers(const RecordTable& table, Section section);

/// The index over the terms of the section's rows.
const TermIndex& sectionTermIndex(const RecordTable& table, Section section);

/// The section's rows as pointers, in order. They live as long as the table.
std::vector<const IndexRecord*> sectionRecords(const RecordTable& table, Section section);

/// The rows of the section whose term equals `term` or, with `contains`, is a substring of `term`, in order. Note the
/// direction: the text that is asked about holds the row's term, not the term the text.
std::vector<const IndexRecord*> filterRecords(const RecordTable& table, Section section, std::string_view term,
                                              bool contains);

/// Scene key to the number of the scene's master row: the first row of the section "scene" with 11 fields or more, that
/// key and the kind "category".
const std::map<std::string_view, std::uint32_t>& sceneMasterRows(const RecordTable& table);

}  // namespace corvenda
