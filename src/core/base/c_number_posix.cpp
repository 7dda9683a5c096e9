#include <cmath>
#include <cstdlib>
#include <string>

#include <locale.h>  // NOLINT(modernize-deprecated-headers): newlocale is POSIX, <clocale> need not declare it

#include "base/c_number.h"

namespace corvenda {

double convertNumber(std::string_view text, std::size_t* length) {
  // from_chars would not do: it rejects leading white space, a plus sign and the "0x" of hexadecimal.
  static const locale_t cLocale = newlocale(LC_ALL_MASK, "C", nullptr);
  const std::string terminated(text);
  char* end = nullptr;
  const double value = strtod_l(terminated.c_str(), &end, cLocale);
  *length = static_cast<std::size_t>(end - terminated.c_str());
  if (!std::isnan(value)) return value;
  // musl reads "-nan" without its sign.
  const std::size_t minus = terminated.find('-');
  return std::copysign(value, minus < terminated.find_first_of("nN") ? -1.0 : 1.0);
}

}  // namespace corvenda
