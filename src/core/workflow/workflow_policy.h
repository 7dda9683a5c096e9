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
  std::string_view assetWord;  ///< the first word of asset handling that the title has; empty for none
  std::string_view hardWord;   ///< the same of the words that suppress whole scenes
  std::string_view sceneWord;  ///< the word of the title by which the rule of a single scene decided; empty for none
  std::string_view reason;     ///< one of fifteen constants
};

WorkflowDecision evaluateWorkflowPolicy(const WorkflowTitle& title);

}  // namespace corvenda
