// The rows of one table whose terms occur in a title: one walk over each reading for all sections.
#pragma once

#include <cstdint>
#include <vector>

#include "rows/table_indexes.h"
#include "rows/term_index.h"
#include "text/title.h"

namespace corvenda {

struct RecordTable;

/// Rows that were found in the compacted title, with their positions there, and rows that were found as whole words of
/// the English reading. Each list is ascending.
struct TitleRows {
  std::vector<FoundRow> scenes;  ///< English rows as words, all others in the compacted title
  std::vector<FoundRow> places;  ///< the same
  std::vector<FoundRow> humans;  ///< plain tokens as words, all others in the compacted title
};

/// Kept from title to title to reuse its memory.
struct TitleSearch {
  TermHits hits;
  TermProbes native;
  TermProbes english;
};

void findTitleRows(const RecordTable& table, const TitleTexts& title, TitleSearch* search, TitleRows* rows);

/// The same in steps, see term_index.h. With several titles each has a search of its own, and each step is taken for
/// all of them before the next.
void beginTitleRows(const RecordTable& table, const TitleTexts& title, TitleSearch* search);
void askForRows(const RecordTable& table, TitleSearch* search);
void askForTerms(const RecordTable& table, const TitleSearch& search);
void finishTitleRows(const RecordTable& table, const TitleTexts& title, TitleSearch* search, TitleRows* rows);

/// The human rows whose phrase equals one of the title's compacted texts, whether or not `findTitleRows` found them;
/// ascending.
std::vector<std::uint32_t> findWholeTitlePhrases(const RecordTable& table, const TitleTexts& title);

}  // namespace corvenda
