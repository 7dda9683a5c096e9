#include "scene/human_phrases.h"

namespace corvenda {
namespace {

void addMatch(const RecordTable& table, std::uint32_t number, bool hit, std::vector<HumanMatch>* matches) {
  const HumanRow row = humanRowAt(table, number);
  if (row.fieldCount >= human_field::kCount) matches->push_back({row, hit && !row.plain, hit && row.plain});
}

}  // namespace

void matchHumanRows(const RecordTable& table, const TitleTexts& title, const std::vector<FoundRow>& found,
                    std::vector<HumanMatch>* matches) {
  matches->clear();
  const std::vector<std::uint32_t> whole = findWholeTitlePhrases(table, title);
  auto next = whole.begin();
  for (const FoundRow& hit : found) {
    for (; next != whole.end() && *next < hit.row; ++next) addMatch(table, *next, false, matches);
    if (next != whole.end() && *next == hit.row) ++next;
    addMatch(table, hit.row, true, matches);
  }
  for (; next != whole.end(); ++next) addMatch(table, *next, false, matches);
}

std::string_view impliedTerm(const HumanMatch& match, const TitleTexts& title) {
  return match.rawHit ? title.compactRaw : title.compactEnglish;
}

}  // namespace corvenda
