// Between UTF-8, in which the core has all texts, and UTF-16, in which JavaScript has them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace corvenda {

/// Replaces `out` by the text as UTF-8. A surrogate without its partner becomes U+FFFD.
void convertToUtf8(std::u16string_view text, std::string* out);

/// Writes the text as UTF-16 and gives the number of units; nothing if it is not valid UTF-8 (overlong forms,
/// surrogates and what lies beyond U+10FFFF included). There must be room for a unit for each byte.
std::optional<std::size_t> convertToUtf16(std::string_view text, char16_t* units);

}  // namespace corvenda
