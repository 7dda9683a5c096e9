#include "scene/scene_score.h"

#include <algorithm>
#include <cmath>

#include "base/number_text.h"
#include "rows/lexicon_rows.h"
#include "text/term_score.h"
#include "text/text_primitives.h"

namespace corvenda {

std::string recordIdentityKey(const IndexRecord& record) {
  std::string key = record.term;
  for (const std::string& field : record.fields) {
    key += '\x1F';
    key += field;
  }
  return key;
}

double sceneRowScore(const IndexRecord& record, std::string_view searchText, std::string_view positionText) {
  if (record.fields.size() <= scene_field::kLang) return 0.0;
  double rowWeight = 0;
  if (!parseNumber(record.fields[scene_field::kRowPriority], &rowWeight)) return 0.0;
  const double factor = record.fields[scene_field::kLang] == "zh" ? 1.2 : 0.9;
  const double length = lengthScore(record.term, factor, 12.0);
  // A term that is not there (an English row found in the English reading) counts as standing at the very start.
  const auto position = containsTerm(searchText, record.term);
  const double early = earlyScore(10.0, countCharacters(positionText.substr(0, position.value_or(0))));
  return early + (length + rowWeight);
}

std::optional<double> detailRowScore(const IndexRecord& record, std::string_view text) {
  const auto position = containsTerm(text, record.term);
  if (!position) return std::nullopt;
  const double factor = fieldOrEmpty(record, scene_field::kLang) == "zh" ? 0.9 : 0.7;
  const double early = earlyScore(8.0, countCharacters(text.substr(0, *position)));
  return early + (lengthScore(record.term, factor, 10.0) + 6.0);
}

SceneRowOrder sceneRowOrder(const IndexRecord& record, std::string_view searchText, std::string_view positionText) {
  return {sceneRowRank(record), sceneRowScore(record, searchText, positionText), record.term};
}

bool sceneRowBefore(const SceneRowOrder& a, const SceneRowOrder& b) {
  if (a.rank != b.rank) return a.rank > b.rank;
  if (a.term.size() != b.term.size()) return a.term.size() > b.term.size();
  if (std::isnan(a.score) != std::isnan(b.score)) return std::isnan(b.score);
  if (!std::isnan(a.score) && a.score != b.score) return a.score > b.score;
  // string_view compares as unsigned bytes.
  return a.term < b.term;
}

}  // namespace corvenda
