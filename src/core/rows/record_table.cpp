#include "rows/record_table.h"

#include <mutex>

#include "rows/lexicon_rows.h"

namespace corvenda {

struct SectionRows {
  std::once_flag numbersMade;
  std::once_flag indexMade;
  std::once_flag mastersMade;
  std::vector<std::uint32_t> numbers;
  TermIndex index;
  std::map<std::string_view, std::uint32_t> masters;  ///< of kScene only
};

RecordTable::RecordTable() : sections(std::make_unique<SectionRows[]>(kSectionCount)) {}
RecordTable::~RecordTable() = default;

namespace {

/// In the order of `Section`.
constexpr std::string_view kNames[kSectionCount] = {"scene", "human", "celebrity", "location", "facet"};

SectionRows& derived(const RecordTable& table, Section section) {
  SectionRows& rows = table.sections[static_cast<std::size_t>(section)];
  std::call_once(rows.numbersMade, [&] {
    for (std::size_t i = 0; i < table.records.size(); ++i) {
      if (isInSection(table.records[i].section, section)) rows.numbers.push_back(static_cast<std::uint32_t>(i));
    }
  });
  return rows;
}

std::vector<const IndexRecord*> recordsAt(const RecordTable& table, const std::vector<std::uint32_t>& numbers) {
  std::vector<const IndexRecord*> records;
  records.reserve(numbers.size());
  for (const std::uint32_t number : numbers) records.push_back(&table.records[number]);
  return records;
}

}  // namespace

std::optional<Section> sectionFromName(std::string_view name) {
  for (std::size_t i = 0; i < kSectionCount; ++i) {
    if (kNames[i] == name) return static_cast<Section>(i);
  }
  return std::nullopt;
}

bool isInSection(std::string_view rowSection, Section section) {
  return rowSection == kNames[static_cast<std::size_t>(section)] ||
         (section == Section::kLocation && rowSection.starts_with("location-"));
}

const std::vector<std::uint32_t>& sectionRowNumbers(const RecordTable& table, Section section) {
  return derived(table, section).numbers;
}

const TermIndex& sectionTermIndex(const RecordTable& table, Section section) {
  SectionRows& rows = derived(table, section);
  std::call_once(rows.indexMade, [&] { buildTermIndex(table.records, rows.numbers, &rows.index); });
  return rows.index;
}

std::vector<const IndexRecord*> sectionRecords(const RecordTable& table, Section section) {
  return recordsAt(table, sectionRowNumbers(table, section));
}

std::vector<const IndexRecord*> filterRecords(const RecordTable& table, Section section, std::string_view term,
                                              bool contains) {
  std::vector<std::uint32_t> numbers;
  if (contains) {
    appendContainedRows(sectionTermIndex(table, section), term, &numbers);
  } else {
    appendEqualRows(sectionTermIndex(table, section), term, &numbers);
  }
  return recordsAt(table, numbers);
}

const std::map<std::string_view, std::uint32_t>& sceneMasterRows(const RecordTable& table) {
  SectionRows& rows = derived(table, Section::kScene);
  std::call_once(rows.mastersMade, [&] {
    for (const std::uint32_t number : rows.numbers) {
      const IndexRecord& record = table.records[number];
      if (isMasterRow(record)) rows.masters.emplace(record.fields[scene_field::kKey], number);
    }
  });
  return rows.masters;
}

}  // namespace corvenda
