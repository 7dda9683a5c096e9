#include "delta/delta_inspection.h"

#include "cache/rule_pack_loader.h"

namespace corvenda {

bool inspectSemanticDelta(const DeltaExpectation& expected, std::shared_ptr<const LoadedPack>* loaded,
                          SemanticError* error) {
  if (!RulePackLoader(expected.packPath, expected.allowedRoot, semanticCache().baseSlot, loaded, error)) return false;
  const RulePackMetadata& metadata = (*loaded)->pack.metadata;
  if (metadata.kind != "patch") return fail(error, "semantic delta pack kind is not patch");
  if (metadata.baseRuleSetId != expected.baseRuleSetId) {
    return fail(error, "semantic delta base rule-set id does not match");
  }
  if (metadata.ruleSetId != expected.ruleSetId) return fail(error, "semantic delta rule-set id does not match");
  return true;
}

}  // namespace corvenda
