// The parts of which all scores of terms are made. Every constant that callers pass is part of the contract.
#pragma once

#include <string_view>

namespace corvenda {

/// How early a term stands: `full` at the start of the text, one less for each character of `prefix`, the text before
/// the term, and never below 0.
double earlyScore(double full, std::string_view prefix);

/// How long a term is: a factor a character, up to a cap.
double lengthScore(std::string_view term, double factor, double cap);

}  // namespace corvenda
