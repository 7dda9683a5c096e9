// A title in the forms that resolvers need.
#pragma once

#include <string>
#include <string_view>

namespace corvenda {

/// A title in its two readings, and the fold of each. The readings belong to the caller and must outlive it. It may be
/// filled again and again, which reuses the memory of the folds.
struct TitleTexts {
  std::string_view raw;        ///< as the library has it
  std::string_view english;    ///< the caller's "normalizedEnglish", words separated by blanks; may be empty
  std::string compactRaw;      ///< compactTerm(raw)
  std::string compactEnglish;  ///< compactTerm(english)
  bool nonAscii = false;       ///< hasNonAscii(raw)
};

void fillTitle(std::string_view raw, std::string_view english, TitleTexts* title);

}  // namespace corvenda
