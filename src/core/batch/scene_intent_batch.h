// Scene and place of a list of titles: the bulk path, with overlays, creator identities and the travel inference.
//
// The plan is that of scene/scene_intent.h (gather, sort, promote, choose the detail), the gathering is stricter: rows
// of kind "short" must be the whole title, rows that are not English are held against the raw title only, and a plain
// alias of such a row inside an all-ASCII title doesn't count.
#pragma once

#include <vector>

#include "batch/batch_lexicon.h"
#include "location/location_resolver.h"
#include "rows/title_rows.h"
#include "scene/human_phrases.h"
#include "scene/scene_answer.h"
#include "scene/scene_candidates.h"
#include "text/title.h"

namespace corvenda {

/// What resolving a title needs, kept from title to title for its memory.
struct BatchScratch {
  TitleSearch search;
  std::vector<TitleRows> rows;  ///< of each part of the lexicon
  std::vector<PlaceRows> places;
  std::vector<LocationHit> hits;
  std::vector<HumanMatch> humans;
  SceneCandidates candidates;
};

/// What one title was resolved to. It points into the title and the lexicon.
struct BatchAnswer {
  LocationAnswer location;
  SceneAnswer scene;
};

BatchAnswer resolveBatchTitle(const BatchLexicon& lexicon, const TitleTexts& title, BatchScratch* scratch);

}  // namespace corvenda
