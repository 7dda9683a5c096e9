#include "rows/title_rows.h"

#include <algorithm>

#include "rows/record_table.h"

namespace corvenda {
namespace {

std::vector<FoundRow>* listOf(Section section, TitleRows* rows) {
  if (section == Section::kScene) return &rows->scenes;
  return section == Section::kLocation ? &rows->places : &rows->humans;
}

void addRows(const RecordTable& table, const TermIndex& index, const TermHits& hits, TitleRows* rows) {
  for (const TermHit& hit : hits.terms) {
    forEachRow(index, hit.lastRow, [&](std::uint32_t row) {
      listOf(sectionOf(table, row), rows)->push_back({row, hit.position});
    });
  }
}

void addPhrases(const RecordTable& table, const TermIndex& index, std::string_view text,
                std::vector<std::uint32_t>* rows) {
  if (!mayBePhrase(index, text)) return;
  const auto lastRow = findWholeTerm(table, index, text);
  if (!lastRow) return;
  forEachRow(index, *lastRow, [&](std::uint32_t row) {
    if (sectionOf(table, row) == Section::kHuman) rows->push_back(row);
  });
}

}  // namespace

void beginTitleRows(const RecordTable& table, const TitleTexts& title, TitleSearch* search) {
  beginContainedTerms(nativeIndex(table), title.compactRaw, &search->native);
  beginWordRuns(englishIndex(table), title.english, &search->hits, &search->english);
}

void askForRows(const RecordTable& table, TitleSearch* search) {
  askForRows(table, nativeIndex(table), &search->native);
  askForRows(table, englishIndex(table), &search->english);
}

void askForTerms(const RecordTable& table, const TitleSearch& search) {
  askForTerms(table, search.native);
  askForTerms(table, search.english);
}

void finishTitleRows(const RecordTable& table, const TitleTexts& title, TitleSearch* search, TitleRows* rows) {
  for (auto* const list : {&rows->scenes, &rows->places, &rows->humans}) list->clear();
  finishContainedTerms(table, nativeIndex(table), title.compactRaw, search->native, &search->hits);
  addRows(table, nativeIndex(table), search->hits, rows);
  finishWordRuns(table, englishIndex(table), search->english, &search->hits);
  addRows(table, englishIndex(table), search->hits, rows);
  for (auto* const list : {&rows->scenes, &rows->places, &rows->humans}) {
    std::sort(list->begin(), list->end(), [](const FoundRow& a, const FoundRow& b) { return a.row < b.row; });
  }
}

void findTitleRows(const RecordTable& table, const TitleTexts& title, TitleSearch* search, TitleRows* rows) {
  beginTitleRows(table, title, search);
  askForRows(table, search);
  askForTerms(table, *search);
  finishTitleRows(table, title, search, rows);
}

std::vector<std::uint32_t> findWholeTitlePhrases(const RecordTable& table, const TitleTexts& title) {
  std::vector<std::uint32_t> rows;
  // Of the words' index only plain tokens count here.
  if (!title.nonAscii) addPhrases(table, englishIndex(table), title.compactRaw, &rows);
  addPhrases(table, englishIndex(table), title.compactEnglish, &rows);
  addPhrases(table, nativeIndex(table), title.compactEnglish, &rows);
  std::sort(rows.begin(), rows.end());
  rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
  return rows;
}

}  // namespace corvenda
