#include "base/number_text.h"

#include <charconv>
#include <cstdlib>
#include <limits>

#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX, <clocale> need not declare it

namespace corvenda {

bool parseNumber(const std::string& text, double* value) {
  // from_chars would not do: it refuses white space, a plus sign and hexadecimal, which the conversion accepts.
  static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
  char* end = nullptr;
  *value = strtod_l(text.c_str(), &end, cLocale);
  return end == text.data() + text.size();
}

std::string formatNumber(double value) {
  // to_chars is defined as printf's "%f" in the C locale, for NaN and infinities too.
  char buffer[std::numeric_limits<double>::max_exponent10 + 16];
  const auto [end, status] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 6);
  return {buffer, end};
}

}  // namespace corvenda
