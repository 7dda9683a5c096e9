#include "rows/lexicon_rows.h"

namespace corvenda {

std::int32_t sceneRowRank(const IndexRecord& record) {
  const std::string& kind = fieldOrEmpty(record, scene_field::kKind);
  if (kind == "short") return kShortRank;
  if (kind == "conflict") return kConflictRank;
  if (kind == "compound") return kCompoundRank;
  if (kind == "detail") return kDetailRank;
  if (kind == "category") return kCategoryRank;
  return 0;
}

}  // namespace corvenda
