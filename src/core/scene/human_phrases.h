// Everyday phrases that imply a scene.
#pragma once

#include <cstdint>
#include <vector>

#include "rows/record_table.h"
#include "rows/title_rows.h"
#include "text/title.h"

namespace corvenda {

/// A phrase of a title, from a row with at least two fields. If neither flag is set, the phrase was not found as
/// described here but equals one of the title's compacted texts.
struct HumanMatch {
  HumanRow row;
  bool rawHit = false;      ///< not a plain token; occurs in the compacted title
  bool englishHit = false;  ///< a plain token; a run of whole words of the English reading
};

/// The phrases of a title, in the order of their rows. `found` are the human rows of `findTitleRows`.
void matchHumanRows(const RecordTable& table, const TitleTexts& title, const std::vector<FoundRow>& found,
                    std::vector<HumanMatch>* matches);

/// The term of the row that a phrase implies: the whole title, not the phrase.
std::string_view impliedTerm(const HumanMatch& match, const TitleTexts& title);

}  // namespace corvenda
