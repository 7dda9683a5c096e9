// A title in the forms that resolvers ask for.
#pragma once

#include <string>
#include <string_view>

namespace corvenda {

/// A title in its two forms and their folds. The two forms belong to the caller and must outlive it; it may be filled
/// again and again, for the memory of its folds.
struct TitleTexts {
  std::string_view raw;        ///< as the library has it
  std::string_view english;    ///< the caller's "normalizedEnglish", words separated by blanks; may be empty
  std::string compactRaw;      ///< compactTerm(raw)
  std::string compactEnglish;  ///< compactTerm(english)
  bool nonAscii = false;       ///< hasNonAscii(raw)
};

void fillTitle(std::string_view raw, std::string_view english, TitleTexts* title);

}  // namespace corvenda
