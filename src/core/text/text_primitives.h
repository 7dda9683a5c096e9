// The byte-level text tests that all resolvers share. Plain functions of their arguments.
//
// Text is a byte string, usually UTF-8. Nothing here validates it, and any bytes are safe to pass.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corvenda {

/// The term fold of the whole system: drops every byte below 33, lowers A to Z, keeps all else.
std::string compactTerm(std::string_view text);

/// The same into a string whose memory is reused.
void compactTerm(std::string_view text, std::string* compact);

/// Whether the folds of two texts are equal. Neither is made: most texts differ in their first bytes.
bool isSameFold(std::string_view a, std::string_view b);

/// True if every byte is a to z or 0 to 9; true for the empty text.
bool isPlainToken(std::string_view text);

/// `isPlainToken` with the blank allowed too.
bool isPlainPhrase(std::string_view text);

/// True if a byte is 128 or above.
bool hasNonAscii(std::string_view text);

/// Bytes that are not UTF-8 continuation bytes.
std::uint64_t countCharacters(std::string_view text);

/// The same, but counting stops at `enough`.
std::uint64_t countCharacters(std::string_view text, std::uint64_t enough);

/// For each position, the number of characters before it, in one pass over the text.
std::vector<std::uint64_t> countCharactersBefore(std::string_view text, const std::vector<std::uint32_t>& positions);

/// Byte position of the first occurrence of `term`; 0 for an empty term, also in an empty text.
std::optional<std::size_t> containsTerm(std::string_view text, std::string_view term);

/// True if `term`, written without blanks, is a run of whole consecutive words of `text`: with "street food market" the
/// terms "street", "streetfood" and "foodmarket" match, "treet" and "streetmarket" do not. Only the blank separates
/// words, and nothing is folded. False if either is empty.
bool matchesWordRun(std::string_view text, std::string_view term);

}  // namespace corvenda
