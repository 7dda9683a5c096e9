// The byte-level text tests and the scoring formulas that all resolvers share. Plain functions of their arguments.
//
// Text is a byte string that holds UTF-8. Nothing here validates it: a stray byte counts as one character or is left
// alone. Every constant is part of the contract.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "pack/pack_records.h"

namespace corvenda {

/// The term fold of the whole system: drops every byte below 33, lowers A to Z, keeps all else.
std::string compactTerm(std::string_view text);

/// True if every byte is a to z or 0 to 9; true for the empty text.
bool isPlainToken(std::string_view text);

/// `isPlainToken` with the blank allowed too.
bool isPlainPhrase(std::string_view text);

/// True if a byte is 128 or above.
bool hasNonAscii(std::string_view text);

/// Bytes that are not UTF-8 continuation bytes.
std::uint64_t countCharacters(std::string_view text);

/// Byte position of the first occurrence of `term`; 0 for an empty term, also in an empty text.
std::optional<std::size_t> containsTerm(std::string_view text, std::string_view term);

/// True if `term`, written without blanks, is a run of whole consecutive words of `text`: with "street food market" the
/// terms "street", "streetfood" and "foodmarket" match, "treet" and "streetmarket" do not. Only the blank separates
/// words, and nothing is folded. False if either is empty.
bool matchesWordRun(std::string_view text, std::string_view term);

/// `term`, then 0x1F and the field for each field: two rows with one key are one row for the scene resolvers.
std::string recordIdentityKey(const IndexRecord& record);

constexpr std::int32_t kShortRank = 500;
constexpr std::int32_t kConflictRank = 400;
constexpr std::int32_t kCompoundRank = 300;
constexpr std::int32_t kDetailRank = 200;
constexpr std::int32_t kCategoryRank = 100;

/// The rank of the row's kind; 0 for a kind that is none of the five.
std::int32_t sceneRowRank(const IndexRecord& record);

/// Orders candidates of one rank and length, and is reported as "score": early + (length + row priority), added in this
/// order. 0.0 for a row of fewer than five fields or with a priority that is no number. The term's position is found in
/// `searchText` and its characters are counted in `positionText`.
double sceneRowScore(const IndexRecord& record, std::string_view searchText, std::string_view positionText);

/// The score of a "detail" row in the compacted title of its language; nothing if its term does not occur there.
std::optional<double> detailRowScore(const IndexRecord& record, std::string_view text);

/// The parts of which all scores of terms are made. How early a term stands: `full` at the start of the text, one less
/// for each character in front, never below 0. How long it is: a factor a character, up to a cap.
double earlyScore(double full, std::uint64_t prefixCharacters);
double lengthScore(std::string_view term, double factor, double cap);

/// What `sceneRowBefore` compares, computed once a candidate.
struct SceneRowOrder {
  std::int32_t rank = 0;
  double score = 0;
  std::string_view term;
};

SceneRowOrder sceneRowOrder(const IndexRecord& record, std::string_view searchText, std::string_view positionText);

/// The strict order of candidates: higher rank, longer term in bytes, higher score, lesser term in bytes. A score that
/// is NaN counts as the lowest, so that the order stays strict whatever a pack holds.
bool sceneRowBefore(const SceneRowOrder& a, const SceneRowOrder& b);

}  // namespace corvenda
