// Whether words of asset handling in a title suppress the scene that an everyday word suggests. Needs no pack.
#pragma once

#include <string>
#include <string_view>

namespace corvenda {

struct WorkflowTitle {
  std::string raw;
  std::string normalizedEnglish;
  std::string sceneKey;
  std::string alias;
  std::string detail;
  std::string overrideType;  ///< not empty while an override of the caller is in force; then nothing is suppressed
};

struct WorkflowDecision {
  bool suppressed = false;
  bool hasAssetWorkflowContext = false;
  bool hasHardWorkflowContext = false;
  std::string_view reason;  ///< one of fifteen constants
};

WorkflowDecision evaluateWorkflowPolicy(const WorkflowTitle& title);

}  // namespace corvenda
