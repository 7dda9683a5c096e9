// Which rows of a section match a term: the rows, ranked and scored, and one candidate for each scene.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "rows/record_table.h"

namespace corvenda {

/// A row that matches. Rows of every section are ranked and scored as if they were scene rows.
struct LookupMatch {
  IndexRecord record;
  std::string_view type;  ///< the kind field, empty for a shorter row
  std::int32_t rank = 0;
  double score = 0;
  double detailScore = 0;
};

/// What the matches say of one scene. The texts belong to the rows.
struct LookupCandidate {
  std::string_view sceneKey;
  std::string_view detailLabel;  ///< of the best row: highest rank, then longest term
  std::int32_t bestRank = 0;
  std::size_t bestTermLength = 0;  ///< bytes
  std::uint32_t candidateCount = 0;
  double bestDetailScore = 0;                    ///< of any row
  std::vector<std::string_view> candidateTypes;  ///< each kind once, in the order of the matches
};

/// What a common word costs: in "en" from 8 to 26, 0 for a word that is not in the table. In every other language the
/// only entry is "??", 26.
int genericTermPenalty(std::string_view term, std::string_view lang);

/// early + (length + weight), less the penalty; may be negative. `prefix` is the text before the term. Unlike
/// `sceneScoreParts` it accepts any number of fields (a row without a language counts as "zh"), and a weight that is
/// not a number counts as 0 without voiding the rest.
double lookupRowScore(const IndexRecord& record, std::string_view prefix);

/// early + length + 6 for a row of kind "detail", else 0. `prefix` is the text before the term.
double lookupDetailScore(const IndexRecord& record, std::string_view prefix);

/// The rows of the section whose term equals `text` or, with `contains`, occurs in it: by higher rank, then longer term
/// in bytes, then first field in byte order. Full ties stay in the order of the pack. `arena` must outlive the matches.
std::vector<LookupMatch> lookupRows(const RecordTable& table, Section section, std::string_view text, bool contains,
                                    TextArena* arena);

/// Folds sorted matches into one candidate a scene, best first. Rows with fewer than two fields are left out.
std::vector<LookupCandidate> foldCandidates(const std::vector<LookupMatch>& matches);

}  // namespace corvenda
