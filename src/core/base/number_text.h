// Numbers as rows carry them: as text, in the C locale, whatever locale the host has set.
#pragma once

#include <string>
#include <string_view>

namespace corvenda {

/// Converts the front of `text` with the C library's string-to-double conversion (leading white space, hexadecimal,
/// "inf" and "nan" included). `*value` is what was converted, 0 if nothing was. True if the conversion reached the end
/// of the text; a NUL inside the text stops it. The empty text is wholly converted, to 0.
bool parseNumber(std::string_view text, double* value);

/// The number as by "%f": six digits behind the point, ties to even, up to 309 digits in front of it.
std::string formatNumber(double value);

/// What `parseNumber` makes of `formatNumber(value)`: the number with six digits behind the point.
double roundToNumberText(double value);

}  // namespace corvenda
