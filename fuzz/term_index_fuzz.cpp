// Terms and a text of any bytes: every search in the index gives what the loop over all rows gives. The input is a
// count, so many terms, each after its length, and the text.
#include "base/byte_reader.h"
#include "fuzz_target.h"
#include "support/term_search.h"

using namespace corvenda;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ByteReader reader{data, size};
  std::uint8_t count = 0;
  takeU8(reader, &count);
  std::vector<std::string> terms;
  for (; count > 0; --count) {
    std::uint8_t length = 0;
    std::string_view term;
    if (!takeU8(reader, &length) || !takeText(reader, length, &term)) break;
    terms.emplace_back(term);
  }
  const RecordTable table = tableOfTerms(terms);
  // The whole text, and its rear, whose beginning is then at another place in memory.
  const std::string_view text(reinterpret_cast<const char*>(reader.data), reader.size);
  TermHits hits;
  mustHold(checkSearches(table, text, &hits).difference == nullptr);
  mustHold(checkSearches(table, text.substr(text.size() / 2), &hits).difference == nullptr);
  return 0;
}
