#include "lookup/overlay_lookup.h"

#include <string>
#include <unordered_set>

namespace corvenda {
namespace {

/// Each field is closed by 0x1E, so that ("ab") and ("a", "b") differ. Not `recordIdentityKey`, which opens each field,
/// with another byte.
std::string overlayRowKey(const IndexRecord& record) {
  std::string key = record.term;
  key += '\x1F';
  for (const std::string& field : record.fields) {
    key += field;
    key += '\x1E';
  }
  return key;
}

}  // namespace

std::vector<OverlayMatch> mergeOverlayRows(const std::vector<const IndexRecord*>& overlayRows,
                                           const std::vector<const IndexRecord*>& baseRows) {
  std::vector<OverlayMatch> matches;
  std::unordered_set<std::string> seenKeys;
  const auto append = [&](const std::vector<const IndexRecord*>& rows, bool fromOverlay) {
    for (const IndexRecord* record : rows) {
      if (seenKeys.insert(overlayRowKey(*record)).second) matches.push_back({record, fromOverlay});
    }
  };
  append(overlayRows, true);
  append(baseRows, false);
  return matches;
}

}  // namespace corvenda
