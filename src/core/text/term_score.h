// The two parts of every term's score. The constants that callers pass are part of the contract.
#pragma once

#include <string_view>

namespace corvenda {

/// How early a term stands: `full` at the start of the text, one less for each character of `prefix`, the text before
/// the term, and never below 0.
double earlyScore(double full, std::string_view prefix);

/// How long a term is: `factor` for each character, up to `cap`.
double lengthScore(std::string_view term, double factor, double cap);

}  // namespace corvenda
