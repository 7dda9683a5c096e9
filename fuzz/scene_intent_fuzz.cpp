// The scene of one title, over a small lexicon. The input is the title, a line feed, and its English reading. What the
// indexes find is held against the loops that they stand for.
#include "fuzz_target.h"
#include "scene/scene_intent.h"
#include "text/text_primitives.h"

using namespace corvenda;

namespace {

IndexRecord scene(std::string term, std::string key, std::string kind, std::string lang, std::string priority) {
  std::string detail = key + " " + kind;
  return {"scene",
          std::move(term),
          {std::move(key), detail, priority, std::move(kind), std::move(lang), "L", "A", "C", "I", detail, priority}};
}

const RecordTable& lexicon() {
  static const RecordTable* const table = [] {
    auto* made = new RecordTable;
    made->records = {
        scene("火锅", "food", "category", "zh", "1"),
        scene("hotpot", "food", "category", "en", "1"),
        scene("火锅店", "food", "detail", "zh", "nan"),
        scene("a", "pet", "detail", "en", "inf"),
        scene("火", "food", "short", "zh", ""),
        scene("ab", "pet", "compound", "en", "x"),
        scene("a", "pet", "category", "zh", "-nan"),
        scene("b", "pet", "detail", "zh", "nan"),
        scene("\xE7", "pet", "detail", "ja", "1e999"),
        scene(std::string(70, 'a'), "pet", "conflict", "zh", "0"),
        {"scene", "c", {}},
        {"scene", "c", {"pet", "d", "1", "short"}},
        {"human", "吃撑", {"food", "hearty", ""}},
        {"human", "ab", {"pet", "cosy", ""}},
        {"human", "abc", {"pet", "cosy"}},
        {"human", "a b", {"pet", "cosy"}},
        {"human", "b", {"gone", "d"}},
        {"human", "c", {"pet"}},
    };
    return made;
  }();
  return *table;
}

void compareWithLoops(const RecordTable& table, const TitleTexts& title) {
  for (const std::string* text : {&title.compactRaw, &title.compactEnglish}) {
    std::vector<const IndexRecord*> expected;
    for (const IndexRecord* record : sectionRecords(table, Section::kScene)) {
      if (containsTerm(*text, record->term)) expected.push_back(record);
    }
    mustHold(filterRecords(table, Section::kScene, *text, true) == expected);
  }
  std::vector<std::uint32_t> matching;
  for (const std::uint32_t number : sectionRowNumbers(table, Section::kHuman)) {
    if (matchHumanRow(table.records[number], title).any) matching.push_back(number);
  }
  std::vector<std::uint32_t> possible = possibleHumanRows(table, title);
  std::erase_if(possible, [&](std::uint32_t number) { return !matchHumanRow(table.records[number], title).any; });
  mustHold(possible == matching);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find('\n');
  const bool both = end != std::string_view::npos;
  const TitleTexts title =
      makeTitleTexts(std::string(input.substr(0, end)), both ? std::string(input.substr(end + 1)) : "");
  compareWithLoops(lexicon(), title);
  SceneCandidates candidates;
  const SceneAnswer answer = resolveSceneIntent(lexicon(), title, &candidates);
  mustHold(answer.hit.has_value() == !candidates.rows.empty());
  if (!answer.hit) mustHold(answer.sceneKey.empty() && answer.sceneDetail.empty());
  if (answer.hit)
    mustHold(answer.hit->entry.key == answer.sceneKey && answer.hit->rank >= 0 && answer.hit->rank <= 500);
  return 0;
}
