// The binary index: rows and counters agree, and whether rows are wanted makes no difference.
#include "fuzz_target.h"
#include "pack/binary_index.h"

using namespace corvenda;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  RulePack pack;
  RulePack counted;
  SemanticError error;
  std::size_t given = 0;
  const std::uint8_t* last = data;
  const IndexRowSink sink{[](std::string_view, const std::uint8_t*) {},
                          [&](const IndexRowSource& row) {
                            mustHold(!row.term.empty() && row.begin >= last);
                            last = row.begin;
                            ++given;
                          }};
  const bool parsed = parseBinaryIndex({data, size}, &pack, &error, &sink);
  mustHold(parsed == parseBinaryIndex({data, size}, &counted, nullptr, nullptr));
  mustHold(parsed == error.message.empty());
  mustHold(parsed == (pack.indexVersion == 3) && pack.sectionCounts == counted.sectionCounts);
  if (!parsed) return 0;
  std::size_t rows = 0;
  for (const auto& [name, count] : pack.sectionCounts) rows += count;
  mustHold(rows == given && pack.sectionCounts.size() == 5 && pack.indexBytes == size);
  return 0;
}
