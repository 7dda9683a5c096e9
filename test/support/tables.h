// Tables for the core's tests, without a pack.
#pragma once

#include <string>
#include <vector>

#include "rows/record_table.h"

namespace corvenda {

struct TestRow {
  std::string section;
  std::string term;
  std::vector<std::string> fields;
};

/// Rows of sections that no call can reach are left out, as in a load.
inline RecordTable makeTable(const std::vector<TestRow>& rows) {
  RecordTable table;
  for (const TestRow& row : rows) {
    const auto section = sectionOfRows(row.section);
    if (!section) continue;
    if (table.segments.empty() || table.segments.back().name != row.section) {
      beginSegment(&table, row.section, *section, RowLayout::kWritten, nullptr);
    }
    writeRow(&table, row.term, std::vector<std::string_view>(row.fields.begin(), row.fields.end()));
  }
  finishTable(&table);
  return table;
}

}  // namespace corvenda
