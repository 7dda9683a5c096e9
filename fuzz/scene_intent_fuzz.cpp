// The scene of one title, alone and in a batch, over a small lexicon. The input is the title, a line feed, and its
// English reading. What the indexes find is compared with the plain loops that they replace.
#include "batch/scene_intent_batch.h"
#include "fuzz_target.h"
#include "scene/scene_intent.h"
#include "support/tables.h"
#include "text/text_primitives.h"

using namespace corvenda;

namespace {

TestRow scene(std::string term, std::string key, std::string kind, std::string lang, std::string priority) {
  std::string detail = key + " " + kind;
  return {"scene",
          std::move(term),
          {std::move(key), detail, priority, std::move(kind), std::move(lang), "L", "A", "C", "I", detail, priority}};
}

std::shared_ptr<const LoadedPack> makePack() {
  auto pack = std::make_shared<LoadedPack>();
  pack->table = makeTable({
      scene("火锅", "food", "category", "zh", "1"),
      scene("hotpot", "food", "category", "en", "1"),
      scene("火锅店", "food", "detail", "zh", "nan"),
      scene("a", "pet", "detail", "en", "inf"),
      scene("火", "food", "short", "zh", ""),
      scene("ab", "pet", "compound", "en", "x"),
      scene("a", "pet", "category", "zh", "-nan"),
      scene("b", "pet", "detail", "zh", "nan"),
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
      {"human", "无", {"", ""}},
      {"location", "北京", {"cn", "country", "1", "北京", "zh", "中国"}},
      {"location", "ab", {"ab", "location-db-en", "nan", "ab", "en", "A"}},
      {"location-base", "京", {"jp", "location-db-native", "-nan", "京都", "zh", "日本"}},
      {"location-eu", "street", {"fr", "location-famous", "0", "Street", "en", "F"}},
      {"facet", "a", {"identity", "streamer", "1", "en"}},
  });
  return pack;
}

bool standsInTitle(const RecordTable& table, std::uint32_t row, const TitleTexts& title) {
  const RowEntry& entry = table.rows[row];
  const bool words = sectionOf(table, row) == Section::kHuman ? entry.plain : entry.english;
  const std::string_view term = termOf(table, row);
  return words ? matchesWordRun(title.english, term) : containsTerm(title.compactRaw, term).has_value();
}

void compareWithLoops(const RecordTable& table, const TitleTexts& title) {
  TitleSearch search;
  TitleRows rows;
  findTitleRows(table, title, &search, &rows);
  const std::vector<std::uint32_t> whole = findWholeTitlePhrases(table, title);
  for (std::uint32_t row = 0; row < table.rows.size(); ++row) {
    const Section section = sectionOf(table, row);
    if (section == Section::kFacet) continue;
    const auto& list = section == Section::kScene   ? rows.scenes
                       : section == Section::kHuman ? rows.humans
                                                    : rows.places;
    const bool listed =
        std::any_of(list.begin(), list.end(), [row](const FoundRow& found) { return found.row == row; });
    mustHold(listed == standsInTitle(table, row, title));
    const std::string_view term = termOf(table, row);
    const bool equal = term == title.compactEnglish || (table.rows[row].plain && term == title.compactRaw);
    mustHold((section == Section::kHuman && equal) == (std::find(whole.begin(), whole.end(), row) != whole.end()));
  }
}

void checkAnswer(const SceneAnswer& answer) {
  if (!answer.hit) {
    mustHold(answer.sceneKey.empty() && answer.sceneDetail.empty());
  } else {
    mustHold(answer.hit->entry.key == answer.sceneKey && answer.hit->rank >= 0 && answer.hit->rank <= 500);
  }
}

void resolveInBatch(const std::shared_ptr<const LoadedPack>& pack, const TitleTexts& title) {
  static BatchScratch* const scratch = new BatchScratch;
  BatchLexicon lexicon;
  lexicon.sceneBase = pack;
  lexicon.base = pack;
  lexicon.parts = {{&pack->table, true, true, true}};
  const BatchAnswer answer = resolveBatchTitle(lexicon, title, scratch);
  mustHold(answer.location.found == answer.location.meta.has_value() && answer.location.codes.size() <= 3);
  checkAnswer(answer.scene);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto* const pack = new std::shared_ptr<const LoadedPack>(makePack());
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = input.find('\n');
  TitleTexts title;
  fillTitle(input.substr(0, end), end == std::string_view::npos ? "" : input.substr(end + 1), &title);
  compareWithLoops((*pack)->table, title);
  checkAnswer(resolveSceneIntent((*pack)->table, title));
  resolveInBatch(*pack, title);
  return 0;
}
