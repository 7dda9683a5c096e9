// Everyday phrases that imply a scene.
#pragma once

#include <cstdint>
#include <vector>

#include "rows/record_table.h"
#include "rows/title_rows.h"
#include "text/title.h"

namespace corvenda {

/// A phrase that a title holds, of a row with its two fields. One without either hit equals a compacted text of the
/// title and is none of its words.
struct HumanMatch {
  HumanRow row;
  bool rawHit = false;      ///< not plain, and in the compacted title
  bool englishHit = false;  ///< plain, and a run of words of the English reading
};

/// The phrases that a title holds, in the order of their rows. `found` are the human rows of `findTitleRows`.
void matchHumanRows(const RecordTable& table, const TitleTexts& title, const std::vector<FoundRow>& found,
                    std::vector<HumanMatch>* matches);

/// The text for which the row that a phrase implies speaks: the whole title, not the phrase.
std::string_view impliedTerm(const HumanMatch& match, const TitleTexts& title);

}  // namespace corvenda
