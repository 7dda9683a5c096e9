// Numbers as text under three locales of the host: what is converted, printed and rounded must be what the C library
// does in the C locale. The input is the text; its last eight bytes are also a double.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>

#include <clocale>

#include "base/number_text.h"
#include "fuzz_target.h"

using namespace corvenda;

namespace {

/// Bit by bit, but for NaN, whose payload is nobody's business.
bool same(double a, double b) {
  return std::isnan(a) ? std::isnan(b) && std::signbit(a) == std::signbit(b) : std::memcmp(&a, &b, sizeof a) == 0;
}

struct Expected {
  std::string text;
  double value = 0;
  bool whole = true;
  double number = 0;
  std::string printed;
  double rounded = 0;
};

Expected askLibrary(std::string text, double number) {
  Expected expected;
  expected.text = std::move(text);
  expected.number = number;
  char* end = nullptr;
  expected.value = std::strtod(expected.text.c_str(), &end);
  expected.whole = static_cast<std::size_t>(end - expected.text.c_str()) == expected.text.size();
  char printed[400];
  std::snprintf(printed, sizeof printed, "%f", number);
  expected.printed = printed;
  expected.rounded = std::strtod(printed, nullptr);
  return expected;
}

void compare(const Expected& expected) {
  double value = 7;
  mustHold(parseNumber(expected.text, &value) == expected.whole && same(value, expected.value));
  mustHold(formatNumber(expected.number) == expected.printed);
  mustHold(same(roundToNumberText(expected.number), expected.rounded));
}

/// A locale that the build has made (see CMakeLists.txt).
bool enter(const char* locale) {
  const bool entered = std::setlocale(LC_ALL, locale) != nullptr;
  const bool comma = std::strcmp(std::localeconv()->decimal_point, ",") == 0;
  return entered && comma == (std::strcmp(locale, "comma") == 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool found = setenv("LOCPATH", CORVENDA_LOCALES, 1) == 0;
  double number = 0;
  if (size >= sizeof number) std::memcpy(&number, data + size - sizeof number, sizeof number);
  const std::string text(reinterpret_cast<const char*>(data), size);
  mustHold(found && enter("C"));
  const Expected expected[] = {askLibrary(text, number),
                               askLibrary(text, static_cast<double>(static_cast<float>(number)))};
  for (const char* locale : {"C", "comma", "C.UTF-8"}) {
    mustHold(enter(locale));
    for (const Expected& each : expected) compare(each);
  }
  return 0;
}
