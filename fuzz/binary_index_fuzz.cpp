// The binary index: rows and counters agree, and whether rows are wanted makes no difference.
#include "fuzz_target.h"
#include "pack/binary_index.h"

using namespace corvenda;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  RulePack pack;
  RulePack counted;
  SemanticError error;
  std::vector<IndexRecord> records;
  const bool parsed = parseBinaryIndex({data, size}, &pack, &error, &records);
  mustHold(parsed == parseBinaryIndex({data, size}, &counted, nullptr, nullptr));
  mustHold(parsed == error.message.empty());
  mustHold(parsed == (pack.indexVersion == 3) && pack.sectionCounts == counted.sectionCounts);
  if (!parsed) return 0;
  std::size_t rows = 0;
  for (const auto& [name, count] : pack.sectionCounts) rows += count;
  mustHold(rows == records.size() && pack.sectionCounts.size() == 5 && pack.indexBytes == size);
  for (const IndexRecord& record : records) mustHold(!record.term.empty());
  return 0;
}
