#include "lookup/overlay_lookup.h"

#include <string>
#include <unordered_set>
#include <utility>

#include "base/keyed_hash.h"

namespace corvenda {
namespace {

/// Each field ends with 0x1E, so that ("ab") and ("a", "b") differ. Not the same as `recordIdentityKey`, which puts
/// 0x1F before each field: rows that hold these bytes may be equal by one key and not by the other.
std::string overlayRowKey(const IndexRecord& record) {
  std::string key(record.term);
  key += '\x1F';
  for (const std::string_view field : record.fields) {
    key += field;
    key += '\x1E';
  }
  return key;
}

}  // namespace

std::vector<OverlayMatch> mergeOverlayRows(std::vector<IndexRecord> overlayRows, std::vector<IndexRecord> baseRows) {
  std::vector<OverlayMatch> matches;
  std::unordered_set<std::string, KeyedHash> seenKeys;
  const auto append = [&](std::vector<IndexRecord>* rows, bool fromOverlay) {
    for (IndexRecord& record : *rows) {
      if (seenKeys.insert(overlayRowKey(record)).second) matches.push_back({std::move(record), fromOverlay});
    }
  };
  append(&overlayRows, true);
  append(&baseRows, false);
  return matches;
}

std::vector<IndexRecord> lookupRecords(const RecordTable& table, Section section, std::string_view term, bool contains,
                                       TextArena* arena) {
  std::vector<IndexRecord> records;
  for (const FoundRow& found : filterRecords(table, section, term, contains)) {
    records.push_back(recordAt(table, found.row, arena));
  }
  return records;
}

}  // namespace corvenda
