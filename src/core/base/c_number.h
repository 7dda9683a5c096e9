// The C library's string-to-double conversion in the C locale; one source file a platform.
#pragma once

#include <cstddef>
#include <string_view>

namespace corvenda {

/// Converts the front of `text` as the POSIX `strtod` does in the C locale: leading white space, a sign, decimal and
/// hexadecimal digits, "inf", "infinity", "nan" and "nan(…)" in any case, correctly rounded, infinite when too large. A
/// NUL inside the text ends it. `*length` is the number of bytes that were read, 0 (and the value 0) if there is no
/// number in front.
double convertNumber(std::string_view text, std::size_t* length);

}  // namespace corvenda
