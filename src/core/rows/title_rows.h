// The rows of one table whose terms stand in a title: one walk over each form of the title for all sections.
#pragma once

#include <cstdint>
#include <vector>

#include "rows/table_indexes.h"
#include "rows/term_index.h"
#include "text/title.h"

namespace corvenda {

struct RecordTable;

/// Rows that are looked for in the title's own text, and rows that are looked for as words of its English reading.
/// Each list is ascending.
struct TitleRows {
  std::vector<FoundRow> scenes;  ///< positions of rows that aren't English are in the compacted title
  std::vector<FoundRow> places;  ///< the same
  std::vector<FoundRow> humans;  ///< phrases that are no plain token in the compacted title, plain ones as words
};

/// Kept from title to title for its memory.
struct TitleSearch {
  TermHits hits;
};

void findTitleRows(const RecordTable& table, const TitleTexts& title, TitleSearch* search, TitleRows* rows);

/// The human rows whose phrase equals a compacted text, whether or not it was found above; ascending.
std::vector<std::uint32_t> findWholeTitlePhrases(const RecordTable& table, const TitleTexts& title);

}  // namespace corvenda
