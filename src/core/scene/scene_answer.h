// What scene resolution works on and gives: shared by the call for one title and the batch.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "pack/pack_records.h"
#include "rows/record_table.h"
#include "scene/scene_score.h"
#include "text/title.h"

namespace corvenda {

/// The text that a row is held against as a whole: the compacted English for rows tagged "en", else the compacted raw.
std::string_view textOfRow(const IndexRecord& record, const TitleTexts& title);

/// A row that speaks for the title, with what orders it.
struct SceneCandidate {
  const IndexRecord* record = nullptr;
  SceneRowOrder order;
};

/// The candidates of one title. Rows of packs and overlays are pointed to; rows made up on the way live here.
struct SceneCandidates {
  std::vector<SceneCandidate> rows;
  std::deque<IndexRecord> madeUp;
};

/// The "entry" of a hit: the data of its scene. All texts, the priority too.
struct SceneEntry {
  std::string_view key;
  std::string_view defaultDetail;
  std::string_view priority;
  std::string_view label;
  std::string_view archiveLabel;
  std::string_view archiveCode;
  std::string_view icon;
};

struct IntentHit {
  std::string_view alias;
  std::string_view type;  ///< language tag of the deciding row
  std::int32_t rank = 0;
  double score = 0;
  SceneEntry entry;
};

/// The answer for one title. Its texts point into the title, the candidates and the pack's rows.
struct SceneAnswer {
  std::string_view sceneKey;
  std::string_view sceneDetail;
  std::optional<IntentHit> hit;
};

/// How a human phrase stands in a title.
struct HumanMatch {
  bool plain = false;       ///< the phrase is a plain token, looked for as whole words of the English reading
  bool rawHit = false;      ///< not plain, and in the compacted title
  bool englishHit = false;  ///< plain, and a run of words of the English reading
  bool any = false;         ///< a hit, or the phrase equals a compacted text; never for a row of fewer than two fields
};

HumanMatch matchHumanRow(const IndexRecord& human, const TitleTexts& title);

/// The numbers of all human rows that `matchHumanRow` can match, ascending.
std::vector<std::uint32_t> possibleHumanRows(const RecordTable& table, const TitleTexts& title);

/// True for the ranks of "compound", "conflict" and "short".
bool isOverrideRank(std::int32_t rank);

/// Appends the row that a human phrase or an identity implies: the key, detail, kind and language given, no priority,
/// and the scene's data from its master row.
void addMadeUpRow(SceneCandidates* candidates, std::string_view section, std::string_view term, std::string_view key,
                  std::string_view detail, std::string_view kind, std::string_view lang, const IndexRecord& master);

/// Sorts by `sceneRowBefore`. The term is looked for in the compacted title; its characters are counted in
/// `positionText`.
void sortCandidates(SceneCandidates* candidates, const TitleTexts& title, std::string_view positionText);

/// Swaps the best row that equals its whole text to the front: highest rank, then longest term.
void promoteWholeTitle(SceneCandidates* candidates, const TitleTexts& title);

/// The detail for `sceneKey`: that of the highest override that equals the whole text, else that of the best "detail"
/// row, else `detail`.
std::string_view chooseDetail(const SceneCandidates& candidates, const TitleTexts& title, std::string_view sceneKey,
                              std::string_view detail);

/// The scene's data as a row carries it; `detail` stands in for a default detail that the row is too short for.
SceneEntry makeSceneEntry(const IndexRecord& record, std::string_view sceneKey, std::string_view detail);

}  // namespace corvenda
