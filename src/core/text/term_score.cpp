#include "text/term_score.h"

#include <algorithm>
#include <cstdint>

#include "text/text_primitives.h"

namespace corvenda {

double earlyScore(double full, std::string_view prefix) {
  // Characters beyond `full` change nothing, so a long prefix is not counted to its end.
  const auto characters = static_cast<double>(countCharacters(prefix, static_cast<std::uint64_t>(full)));
  return std::max(full - std::min(characters, full), 0.0);
}

double lengthScore(std::string_view term, double factor, double cap) {
  return std::min(static_cast<double>(countCharacters(term)) * factor, cap);
}

}  // namespace corvenda
