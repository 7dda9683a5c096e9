// Scene and place of one title of a batch, with overlays, creator identities and the travel inference.
//
// The steps are those of scene/scene_intent.h: gather, sort, promote, choose the detail. Gathering is stricter: rows of
// kind "short" must equal the whole title, rows that aren't English are searched in the raw title only, and a plain
// alias of such a row doesn't count inside an all-ASCII title.
#pragma once

#include <span>
#include <vector>

#include "batch/batch_lexicon.h"
#include "location/location_resolver.h"
#include "rows/title_rows.h"
#include "scene/human_phrases.h"
#include "scene/scene_answer.h"
#include "scene/scene_candidates.h"
#include "text/title.h"

namespace corvenda {

struct BatchTrace;

/// What resolving a title needs, kept from title to title to reuse its memory.
struct BatchScratch {
  std::vector<TitleSearch> searches;  ///< in each part of the lexicon, for a title that is resolved alone
  std::vector<TitleRows> rows;        ///< of each part of the lexicon
  std::vector<PlaceRows> places;
  LocationScratch location;
  std::vector<HumanMatch> humans;
  SceneCandidates candidates;
  BatchTrace* trace = nullptr;  ///< of people who ask why, see batch_trace.h; null for all others
};

/// The answer for one title. It points into the title, the lexicon and the scratch.
struct BatchAnswer {
  LocationAnswer location;
  SceneAnswer scene;
};

BatchAnswer resolveBatchTitle(const BatchLexicon& lexicon, const TitleTexts& title, BatchScratch* scratch);

/// A title that is resolved together with others.
struct BatchTitle {
  TitleTexts texts;
  std::vector<TitleSearch> searches;  ///< in each part of the lexicon
};

/// So many titles are begun together: of more, the first would have lost what was asked for when they come to it.
constexpr std::size_t kTitlesTogether = 8;

/// Begins the search for titles whose texts are filled.
void beginBatchTitles(const BatchLexicon& lexicon, std::span<BatchTitle> titles);

/// The answer for a title that was begun.
BatchAnswer resolveBegunTitle(const BatchLexicon& lexicon, BatchTitle* title, BatchScratch* scratch);

}  // namespace corvenda
