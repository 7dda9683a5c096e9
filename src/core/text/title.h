// A title in the forms that resolvers ask for.
#pragma once

#include <string>

namespace corvenda {

/// A title in its two forms and their folds.
struct TitleTexts {
  std::string raw;             ///< as the library has it
  std::string english;         ///< the caller's "normalizedEnglish", words separated by blanks; may be empty
  std::string compactRaw;      ///< compactTerm(raw)
  std::string compactEnglish;  ///< compactTerm(english)
};

TitleTexts makeTitleTexts(std::string raw, std::string english);

}  // namespace corvenda
