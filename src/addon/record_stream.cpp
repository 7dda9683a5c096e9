#include "addon/record_stream.h"

namespace corvenda {
namespace {

/// Statements that make the items of `target` from `position` to `end`. `count` is for the length of a list that is
/// being read, `list` for putLastList, and the texts for putAgain.
std::string readingLoop(const std::string& item) {
  return "let count, list, text0, text1, text2, text3, text4;\nfor (; position < end; position++) target[position] = " +
         item + ";\n";
}

}  // namespace

std::string readingOfList(RecordScript& out, const std::string& item) {
  const std::string name = "list" + std::to_string(out.functions.size());
  out.functions += "const " + name + " = (end, i, n, integers, numbers, chunks) => {\nconst target = blank(end);\n" +
                   "let position = 0;\n" + readingLoop(item) + "at[0] = i;\nat[1] = n;\nreturn target;\n};\n";
  std::string few = "(count = integers[i++]) === 0 ? []";
  std::string items = item;
  for (const char* length : {"1", "2", "3"}) {
    few += std::string(" : count === ") + length + " ? [" + items + "]";
    items += ", " + item;
  }
  return "(" + few + " : (count = " + name + "(count, i, n, integers, numbers, chunks), i = at[0], n = at[1], count))";
}

std::string recordScript(const RecordScript& functions, const std::string& record) {
  return "'use strict';\n(blank) => {\nconst at = [0, 0];\n" + functions.functions +
         "return (target, position, end, integers, numbers, chunks) => {\nlet i = 0, n = 0;\n" + readingLoop(record) +
         "};\n};";
}

}  // namespace corvenda
