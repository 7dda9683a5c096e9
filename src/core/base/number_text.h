// Numbers as rows carry them: as text, in the C locale, whatever locale the host has set.
#pragma once

#include <string>
#include <string_view>

namespace corvenda {

/// Converts the front of `text` with the C library's string-to-double conversion (leading white space, hexadecimal,
/// "inf" and "nan" included). `*value` is the number converted, 0 if there was none. True if the conversion reached the
/// end of the text; a NUL inside the text stops it. The empty text counts as converted in full, to 0.
bool parseNumber(std::string_view text, double* value);

/// The number as "%f" prints it: six digits after the point, ties to even, up to 309 digits before it.
std::string formatNumber(double value);

/// What `parseNumber` makes of `formatNumber(value)`: the number rounded to six digits after the point.
double roundToNumberText(double value);

}  // namespace corvenda
