#include "text/title.h"

#include <utility>

#include "text/text_primitives.h"

namespace corvenda {

TitleTexts makeTitleTexts(std::string raw, std::string english) {
  TitleTexts title{std::move(raw), std::move(english), {}, {}};
  title.compactRaw = compactTerm(title.raw);
  title.compactEnglish = compactTerm(title.english);
  return title;
}

}  // namespace corvenda
