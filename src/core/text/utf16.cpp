#include "text/utf16.h"

#include <cstdint>

namespace corvenda {
namespace {

constexpr char32_t kReplacement = 0xFFFD;

bool isHighSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool isLowSurrogate(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }

/// How a character of several bytes begins: the bits that its first byte gives, the continuation bytes that follow, and
/// the least character that may be written so.
struct Lead {
  std::uint8_t bits;
  std::uint8_t following;
  char32_t least;
};

std::optional<Lead> readLead(unsigned char byte) {
  if (byte >= 0xC2 && byte < 0xE0) return Lead{static_cast<std::uint8_t>(byte & 0x1F), 1, 0x80};
  if (byte >= 0xE0 && byte < 0xF0) return Lead{static_cast<std::uint8_t>(byte & 0x0F), 2, 0x800};
  if (byte >= 0xF0 && byte < 0xF5) return Lead{static_cast<std::uint8_t>(byte & 0x07), 3, 0x10000};
  return std::nullopt;
}

}  // namespace

void convertToUtf8(std::u16string_view text, std::string* out) {
  out->resize(text.size() * 3);
  char* at = out->data();
  const auto put = [&at](char32_t bits) { *at++ = static_cast<char>(bits); };
  for (std::size_t i = 0; i < text.size(); ++i) {
    char32_t unit = text[i];
    if (unit < 0x80) {
      put(unit);
    } else if (unit < 0x800) {
      put(0xC0 | unit >> 6);
      put(0x80 | (unit & 0x3F));
    } else if (isHighSurrogate(text[i]) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
      unit = 0x10000 + ((unit & 0x3FF) << 10 | (text[++i] & 0x3FFU));
      put(0xF0 | unit >> 18);
      put(0x80 | (unit >> 12 & 0x3F));
      put(0x80 | (unit >> 6 & 0x3F));
      put(0x80 | (unit & 0x3F));
    } else {
      if (isHighSurrogate(text[i]) || isLowSurrogate(text[i])) unit = kReplacement;
      put(0xE0 | unit >> 12);
      put(0x80 | (unit >> 6 & 0x3F));
      put(0x80 | (unit & 0x3F));
    }
  }
  out->resize(static_cast<std::size_t>(at - out->data()));
}

std::optional<std::size_t> convertToUtf16(std::string_view text, char16_t* units) {
  char16_t* at = units;
  for (std::size_t i = 0; i < text.size();) {
    const auto byte = static_cast<unsigned char>(text[i++]);
    if (byte < 0x80) {
      *at++ = byte;
      continue;
    }
    const auto lead = readLead(byte);
    if (!lead || text.size() - i < lead->following) return std::nullopt;
    char32_t character = lead->bits;
    for (std::size_t end = i + lead->following; i < end; ++i) {
      const auto continuation = static_cast<unsigned char>(text[i]);
      if ((continuation & 0xC0) != 0x80) return std::nullopt;
      character = character << 6 | (continuation & 0x3F);
    }
    const bool surrogate = character >= 0xD800 && character < 0xE000;
    if (character < lead->least || surrogate || character > 0x10FFFF) return std::nullopt;
    if (character < 0x10000) {
      *at++ = static_cast<char16_t>(character);
    } else {
      *at++ = static_cast<char16_t>(0xD7C0 + (character >> 10));
      *at++ = static_cast<char16_t>(0xDC00 | (character & 0x3FF));
    }
  }
  return static_cast<std::size_t>(at - units);
}

}  // namespace corvenda
