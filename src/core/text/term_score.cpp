#include "text/term_score.h"

#include <algorithm>

#include "text/text_primitives.h"

namespace corvenda {

double earlyScore(double full, std::uint64_t prefixCharacters) {
  return std::max(full - std::min(static_cast<double>(prefixCharacters), full), 0.0);
}

double lengthScore(std::string_view term, double factor, double cap) {
  return std::min(static_cast<double>(countCharacters(term)) * factor, cap);
}

}  // namespace corvenda
