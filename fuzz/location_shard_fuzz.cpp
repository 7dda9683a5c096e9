// Location shards: sound rows whose texts lie in the document.
#include <vector>

#include "fuzz_target.h"
#include "pack/location_shard.h"

using namespace corvenda;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto* const begin = reinterpret_cast<const char*>(data);
  std::size_t bytes = 12;
  std::size_t rows = 0;
  SemanticError error;
  const bool parsed = parseLocationShard(
      {data, size},
      [&](const ShardRowSource& row) {
        mustHold(!row.alias.empty() && !row.code.empty() && row.englishFlag <= 1);
        for (const std::string_view text : {row.alias, row.code, row.label, row.countryLabel}) {
          mustHold(text.data() >= begin && text.data() + text.size() <= begin + size);
        }
        bytes += 11 + row.code.size() + row.label.size() + row.countryLabel.size();
        ++rows;
      },
      &error);
  mustHold(parsed == error.message.empty());
  mustHold(bytes <= size || rows == 0);
  return 0;
}
