#include "text/title.h"

#include "text/text_primitives.h"

namespace corvenda {

void fillTitle(std::string_view raw, std::string_view english, TitleTexts* title) {
  title->raw = raw;
  title->english = english;
  compactTerm(raw, &title->compactRaw);
  compactTerm(english, &title->compactEnglish);
  title->nonAscii = hasNonAscii(raw);
}

}  // namespace corvenda
