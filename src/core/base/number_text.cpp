#include "base/number_text.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

#include "base/c_number.h"

namespace corvenda {

namespace {

/// Powers of ten, all exact in a double. Fifteen suffice: that many digits make an exact double whatever they are, and
/// a fraction can't have more of them.
constexpr double kExactPowers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                   1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr std::size_t kExactDigits = 15;

/// Digits with at most one point: nearly every number in a row. Both operands of the division are exact, so its result
/// is the correctly rounded one that the C library gives. False for any other spelling.
bool parsePlainDecimal(std::string_view text, double* value) {
  std::uint64_t digits = 0;
  std::size_t count = 0;
  std::size_t fraction = 0;
  bool point = false;
  for (const char byte : text) {
    if (byte == '.' && !point) {
      point = true;
      continue;
    }
    if (byte < '0' || byte > '9') return false;
    digits = digits * 10 + static_cast<std::uint64_t>(byte - '0');
    fraction += point ? 1 : 0;
    if (++count > kExactDigits) return false;
  }
  if (count == 0) return false;
  *value = static_cast<double>(digits) / kExactPowers[fraction];
  return true;
}

}  // namespace

bool parseNumber(std::string_view text, double* value) {
  *value = 0;
  if (text.empty() || parsePlainDecimal(text, value)) return true;
  std::size_t length = 0;
  *value = convertNumber(text, &length);
  return length == text.size();
}

std::string formatNumber(double value) {
  // Some libraries tell a NaN from another, as in "-nan(ind)".
  if (std::isnan(value)) return std::signbit(value) ? "-nan" : "nan";
  // to_chars is defined as printf's "%f" in the C locale, also for infinities. 16 bytes hold the sign, the first digit,
  // the point, six digits and some room.
  char buffer[std::numeric_limits<double>::max_exponent10 + 16];
  const auto [end, status] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 6);
  return {buffer, end};
}

double roundToNumberText(double value) {
  // A single has 24 significant bits and 10^6 adds 14, so the product is exact. Below this limit it also stays under
  // 2^53, where rounding is exact; the division then gives the double closest to the six digits, as parsing does.
  constexpr double kExactLimit = 1U << 30U;
  constexpr double kMicro = 1e6;
  const bool single = static_cast<double>(static_cast<float>(value)) == value;
  if (single && value > -kExactLimit && value < kExactLimit) return std::nearbyint(value * kMicro) / kMicro;
  double rounded = 0;
  parseNumber(formatNumber(value), &rounded);
  return rounded;
}

}  // namespace corvenda
