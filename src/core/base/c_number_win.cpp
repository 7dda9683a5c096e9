// The conversion out of from_chars, because the run-time libraries of Windows differ from POSIX and from each other:
// msvcrt knows neither hexadecimal nor "inf" nor "nan", UCRT reads "nan(…)" in ways of its own. A row must mean the
// same everywhere.
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

#include "base/c_number.h"

namespace corvenda {
namespace {

bool isDigit(char byte) { return byte >= '0' && byte <= '9'; }

char toLower(char byte) { return byte >= 'A' && byte <= 'Z' ? static_cast<char>(byte - 'A' + 'a') : byte; }

bool isHexDigit(char byte) { return isDigit(byte) || (toLower(byte) >= 'a' && toLower(byte) <= 'f'); }

/// What may stand between the parentheses after "nan".
bool isWordByte(char byte) { return isDigit(byte) || byte == '_' || (toLower(byte) >= 'a' && toLower(byte) <= 'z'); }

bool isSpace(char byte) { return byte == ' ' || (byte >= '\t' && byte <= '\r'); }

/// `word` is in lower case.
bool beginsWith(std::string_view text, std::string_view word) {
  if (text.size() < word.size()) return false;
  for (std::size_t i = 0; i < word.size(); ++i) {
    if (toLower(text[i]) != word[i]) return false;
  }
  return true;
}

/// A digit, or a point and a digit. from_chars takes more: a minus sign, "inf" and "nan" even where hexadecimal digits
/// should stand.
bool beginsWithDigit(std::string_view text, bool (*isDigitOfBase)(char)) {
  if (!text.empty() && text[0] == '.') text.remove_prefix(1);
  return !text.empty() && isDigitOfBase(text[0]);
}

/// The exponent that `text` begins with, a sign included, held within what a sum of places can't reach.
std::int64_t readExponent(std::string_view text) {
  constexpr std::int64_t kLimit = std::numeric_limits<std::int64_t>::max() / 100;
  const bool negative = !text.empty() && text[0] == '-';
  if (negative || (!text.empty() && text[0] == '+')) text.remove_prefix(1);
  std::int64_t exponent = 0;
  for (const char byte : text) exponent = exponent < kLimit ? exponent * 10 + (byte - '0') : exponent;
  return negative ? -exponent : exponent;
}

/// Whether a number that no double can hold is too large, and not too small: by the place of its first digit other than
/// 0. The exponent counts places of ten after 'e' and bits after 'p', four to a hexadecimal place.
bool isTooLarge(std::string_view number, char exponentMark) {
  const std::int64_t placeSize = exponentMark == 'p' ? 4 : 1;
  std::int64_t place = 0;
  bool afterPoint = false;
  bool significant = false;
  for (std::size_t i = 0; i < number.size(); ++i) {
    const char byte = toLower(number[i]);
    if (byte == exponentMark) return place * placeSize + readExponent(number.substr(i + 1)) > 0;
    significant = significant || (byte != '0' && byte != '.');
    if (byte == '.')
      afterPoint = true;
    else if (afterPoint && !significant)
      --place;
    else if (!afterPoint && significant)
      ++place;
  }
  return place > 0;
}

/// Converts the digits that `text` is known to begin with.
double convertDigits(std::string_view text, std::chars_format format, char exponentMark, std::size_t* length) {
  double value = 0;
  const auto [end, status] = std::from_chars(text.data(), text.data() + text.size(), value, format);
  *length = static_cast<std::size_t>(end - text.data());
  if (status == std::errc()) return value;
  return isTooLarge(text.substr(0, *length), exponentMark) ? HUGE_VAL : 0.0;
}

/// The length of "nan" and of the parentheses after it, if they close.
std::size_t nanLength(std::string_view text) {
  constexpr std::size_t kBare = 3;
  if (text.size() == kBare || text[kBare] != '(') return kBare;
  std::size_t end = kBare + 1;
  while (end < text.size() && isWordByte(text[end])) ++end;
  return end < text.size() && text[end] == ')' ? end + 1 : kBare;
}

/// What may follow white space and sign. `*length` is 0 if there is no number.
double convertUnsigned(std::string_view text, std::size_t* length) {
  constexpr std::size_t kHexPrefix = 2;
  if (beginsWith(text, "0x") && beginsWithDigit(text.substr(kHexPrefix), isHexDigit)) {
    const double value = convertDigits(text.substr(kHexPrefix), std::chars_format::hex, 'p', length);
    *length += kHexPrefix;
    return value;
  }
  if (beginsWithDigit(text, isDigit)) return convertDigits(text, std::chars_format::general, 'e', length);
  if (beginsWith(text, "inf")) {
    *length = std::string_view(beginsWith(text, "infinity") ? "infinity" : "inf").size();
    return HUGE_VAL;
  }
  if (beginsWith(text, "nan")) {
    *length = nanLength(text);
    return std::numeric_limits<double>::quiet_NaN();
  }
  *length = 0;
  return 0;
}

}  // namespace

double convertNumber(std::string_view text, std::size_t* length) {
  std::string_view rest = text;
  while (!rest.empty() && isSpace(rest[0])) rest.remove_prefix(1);
  const bool negative = !rest.empty() && rest[0] == '-';
  if (negative || (!rest.empty() && rest[0] == '+')) rest.remove_prefix(1);
  const double value = convertUnsigned(rest, length);
  if (*length == 0) return 0;
  *length += text.size() - rest.size();
  return negative ? -value : value;
}

}  // namespace corvenda
