// Location shards: sound rows whose texts lie in the document, and records that say the same.
#include "fuzz_target.h"
#include "pack/location_shard.h"

using namespace corvenda;

namespace {

bool liesIn(const RulePackDocument& document, std::string_view text) {
  const auto* const begin = reinterpret_cast<const char*>(document.data.data());
  return text.data() >= begin && text.data() + text.size() <= begin + document.data.size();
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const RulePackDocument document{"location-x", {data, data + size}};
  std::vector<LocationShardRow> rows;
  std::vector<IndexRecord> records;
  SemanticError error;
  const bool parsed = parseLocationShard(document.data, &rows, &error);
  mustHold(parsed == error.message.empty());
  mustHold(parsed == appendLocationShard(document, &records, nullptr));
  mustHold(records.size() == (parsed ? rows.size() : 0));
  std::size_t bytes = 12;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const LocationShardRow& row = rows[i];
    mustHold(!row.alias.empty() && !row.code.empty() && row.englishFlag <= 1);
    for (const std::string_view text : {row.alias, row.code, row.label, row.countryLabel})
      mustHold(liesIn(document, text));
    bytes += 11 + row.code.size() + row.label.size() + row.countryLabel.size();
    if (!parsed) continue;
    const IndexRecord& record = records[i];
    mustHold(record.section == "location-x" && record.term == row.alias && record.fields.size() == 6);
    mustHold(record.fields[0] == row.code && record.fields[3] == row.label && record.fields[5] == row.countryLabel);
    mustHold(record.fields[4] == (row.englishFlag == 1 ? "en" : "zh"));
  }
  mustHold(bytes <= size || rows.empty());
  return 0;
}
