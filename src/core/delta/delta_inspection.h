// Whether a pack is the delta that the host expects.
#pragma once

#include <memory>
#include <string>

#include "base/semantic_error.h"
#include "cache/semantic_cache.h"

namespace corvenda {

struct DeltaExpectation {
  std::string packPath;
  std::string allowedRoot;
  std::string baseRuleSetId;  ///< the rule set that the delta starts from
  std::string ruleSetId;      ///< the rule set that it leads to, another one
};

/// Loads the pack into `baseSlot`. A pack that is sound but not the expected one stays there all the same.
/// Errors: those of the loader, "semantic delta pack kind is not patch", "semantic delta base rule-set id does not
/// match", "semantic delta rule-set id does not match".
bool inspectSemanticDelta(const DeltaExpectation& expected, std::shared_ptr<const LoadedPack>* loaded,
                          SemanticError* error);

}  // namespace corvenda
