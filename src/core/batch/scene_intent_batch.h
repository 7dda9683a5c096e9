// Scene intent for a list of titles: the bulk path, with overlays, creator identities and the travel inference.
//
// The plan is that of scene_intent.h (gather, sort, promote, choose the detail), the gathering is stricter: rows of
// kind "short" must be the whole title, rows that are not English are held against the raw title only, and a plain
// alias of such a row inside an all-ASCII title doesn't count.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "cache/semantic_cache.h"
#include "rows/record_table.h"
#include "scene/scene_answer.h"

namespace corvenda {

/// The rows that a batch reads, in the order in which they speak: base pack, caller's overlay, overlay pack.
struct BatchLexicon {
  std::shared_ptr<const LoadedPack> base;                                   ///< scene, human and facet rows
  std::vector<IndexRecord> overlayRecords;                                  ///< scene rows of the caller
  std::shared_ptr<const LoadedPack> overlayPack;                            ///< scene rows; may be null
  TermIndex overlayIndex;                                                   ///< over `overlayRecords`
  std::unordered_map<std::string_view, const IndexRecord*> overlayMasters;  ///< first master row by scene key
};

/// Fills the members that are derived from `overlayRecords`, which must not change afterwards.
void indexOverlayRecords(BatchLexicon* lexicon);

/// A trip that the ending of a title suggests; both empty if none.
struct TravelInference {
  std::string_view sceneKey;
  std::string_view sceneDetail;
};

/// A place name followed by a word of visiting is a trip. Works on the title unchanged: a trailing blank defeats it.
TravelInference inferTravelDetail(bool locationHit, std::string_view raw);

/// The scene of one title. `locationHit`: the title names a place. `candidates` is emptied first, holds what the answer
/// points into and must outlive it.
SceneAnswer resolveBatchScene(const BatchLexicon& lexicon, const TitleTexts& title, bool locationHit,
                              SceneCandidates* candidates);

}  // namespace corvenda
