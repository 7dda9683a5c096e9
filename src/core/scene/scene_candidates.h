// The rows that match a title: gathered, and the one found that decides.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "base/keyed_hash.h"
#include "rows/record_table.h"
#include "scene/scene_score.h"
#include "text/title.h"

namespace corvenda {

/// A row of a table, or one that a phrase or an identity implies. Small, because a title can have many: the fields are
/// read only of the few that decide.
struct SceneCandidate {
  SceneEvidence evidence;
  std::optional<double> score;            ///< once scoreOf has been asked for it
  std::optional<std::uint32_t> position;  ///< first byte of the term in the compacted title, if that is known
  std::uint32_t number = 0;               ///< of the row in the table
  const RecordTable* table = nullptr;     ///< null for an implied row
  const SceneRow* implied = nullptr;      ///< null for a row of a table
};

struct SceneTrace;

/// The candidates of one title. Kept from title to title to reuse its memory.
struct SceneCandidates {
  std::vector<SceneCandidate> rows;     ///< in the order in which they were gathered
  std::deque<SceneRow> implied;         ///< candidates point to them, so they must not move
  std::string_view positionText;        ///< in which the characters before a term are counted, for its score
  SceneCandidate* top = nullptr;        ///< see rankCandidates
  SceneCandidate* displaced = nullptr;  ///< see rankCandidates
  SceneTrace* trace = nullptr;          ///< of people who ask why, see scene_trace.h; null for all others
  /// Identities of all rows taken so far. Empty until they have to be compared, see needsIdentities.
  std::unordered_set<SecureText, KeyedHash> seenRows;
};

/// The row of a candidate.
SceneRow rowOf(const SceneCandidate& candidate);

/// The scene key of a candidate, without reading the other fields.
std::string_view keyOf(const SceneCandidate& candidate);

void clearCandidates(SceneCandidates* candidates);

/// Adds a row of `table` unless a candidate has the same term and the same fields.
void addCandidate(const RecordTable& table, std::uint32_t number, const SceneEvidence& evidence,
                  std::optional<std::uint32_t> position, SceneCandidates* candidates);

/// The row from which a scene's own data is taken.
struct MasterRow {
  const RecordTable* table = nullptr;
  std::uint32_t number = 0;
};

/// The row that a human phrase or an identity implies.
struct ImpliedScene {
  std::string_view term;
  std::string_view key;
  std::string_view detail;
  SceneKind kind = SceneKind::kConflict;
  bool english = false;
};

/// Adds the implied row, with priority 0 and the scene's data from its master row.
void addImpliedRow(const ImpliedScene& implied, const MasterRow& master, SceneCandidates* candidates);

/// The text with which a row is compared as a whole: the compacted English reading for rows tagged "en", else the
/// compacted title.
std::string_view textOfRow(const SceneEvidence& row, const TitleTexts& title);

/// Where a candidate's term occurs in the text of its row.
std::optional<std::size_t> positionInText(const SceneCandidate& candidate, const TitleTexts& title);

/// The candidate's score. It is made when it is first asked for: nearly always rank and length decide.
double scoreOf(SceneCandidate* candidate, const TitleTexts& title, std::string_view positionText);

/// The parts of that score.
SceneScore scorePartsOf(const SceneCandidate& candidate, const TitleTexts& title, std::string_view positionText);

/// Finds `top`, the candidate that decides; null if there is none.
///
/// The order of candidates is that of `sceneRowBefore`, full ties as they were gathered. But if a tagged row with a
/// rank equals its whole text, the first such row changes places with the first of all, which is `displaced` then.
/// Nothing is moved here, because only the first is asked for, and the order of a few others by `standsBefore`.
void rankCandidates(SceneCandidates* candidates, const TitleTexts& title, std::string_view positionText);

/// Whether `a` stands before `b` in that order.
bool standsBefore(SceneCandidate* a, SceneCandidate* b, const SceneCandidates& candidates, const TitleTexts& title);

}  // namespace corvenda
