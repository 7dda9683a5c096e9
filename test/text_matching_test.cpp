// The text primitives and the order of rows. Scores are covered by the titles of scene_intent.test.mjs.
#include "text/text_primitives.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "base/number_text.h"
#include "scene/scene_score.h"
#include "support/tables.h"
#include "text/term_score.h"
#include "text/utf16.h"

namespace corvenda {
namespace {

TEST(TextMatching, Utf8AndUtf16) {
  const struct {
    std::string bytes;
    std::u16string units;
  } rows[] = {
      {"", u""},
      {std::string("a\0\x7F", 3), std::u16string(u"a\0\x7F", 3)},
      {"\xC2\x80\xDF\xBF", u"\x80\x7FF"},
      {"\xE0\xA0\x80\xED\x9F\xBF\xEE\x80\x80\xEF\xBF\xBF", u"\x800\xD7FF\xE000\xFFFF"},
      {"\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", u"\xD800\xDC00\xDBFF\xDFFF"},
  };
  char16_t units[16];
  for (const auto& row : rows) {
    std::string bytes = "what was there";
    convertToUtf8(row.units, &bytes);
    EXPECT_EQ(bytes, row.bytes);
    const auto length = convertToUtf16(row.bytes, units);
    ASSERT_TRUE(length) << row.bytes;
    EXPECT_EQ(std::u16string_view(units, *length), row.units);
  }
  // A surrogate without its partner, wherever it is.
  for (const std::u16string_view lone : {u"\xD800", u"\xDFFF", u"\xDC00\xD800"}) {
    std::string expected;
    for (std::size_t i = 0; i < lone.size(); ++i) expected += "\xEF\xBF\xBD";
    std::string bytes;
    convertToUtf8(lone, &bytes);
    EXPECT_EQ(bytes, expected);
  }
  // Cut short, overlong, surrogates, beyond the last character, bytes that begin or continue nothing.
  for (const std::string_view bad :
       {"\xC2", "\xE4\xB8", "\xF0\x90\x80", "\xC2x", "\xE4\xB8x", "\xC0\x80", "\xC1\xBF", "\xE0\x9F\xBF",
        "\xF0\x8F\xBF\xBF", "\xED\xA0\x80", "\xED\xBF\xBF", "\xF4\x90\x80\x80", "\xF5\x80\x80\x80", "\xFF", "\x80"}) {
    EXPECT_FALSE(convertToUtf16(bad, units)) << bad;
    EXPECT_FALSE(convertToUtf16("a\xE4\xB8\xAD" + std::string(bad), units)) << bad;
  }
}

TEST(TextMatching, FoldAndAlphabets) {
  const struct {
    std::string text, compact;
    bool token, phrase, nonAscii;
    std::uint64_t characters;
  } rows[] = {
      {"", "", true, true, false, 0},
      {"az09", "az09", true, true, false, 4},
      {"Vlog", "vlog", false, false, false, 4},
      {" a b", "ab", false, true, false, 4},
      {"`{/:", "`{/:", false, false, false, 4},
      {"a火 \u3000", "a火\u3000", false, false, true, 4},
      {"!\x7F\x80\xFF", "!\x7F\x80\xFF", false, false, true, 3},
      {"\xBF", "\xBF", false, false, true, 0},
      {std::string("A\0b\t", 4), "ab", false, false, false, 4},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(compactTerm(row.text), row.compact) << row.text;
    EXPECT_EQ(isPlainToken(row.text), row.token) << row.text;
    EXPECT_EQ(isPlainPhrase(row.text), row.phrase) << row.text;
    EXPECT_EQ(hasNonAscii(row.text), row.nonAscii) << row.text;
    EXPECT_EQ(countCharacters(row.text), row.characters) << row.text;
  }
}

TEST(TextMatching, WordRuns) {
  const std::pair<std::string, std::vector<const char*>> runs[] = {
      {"street food market", {"street", "streetfood", "foodmarket", "streetfoodmarket"}},
      {"  a  b ", {"ab", "a", "b"}},
      {"a\tb c", {"a\tbc", "c"}},
      {"aa a", {"aaa"}},
      {"a aa b", {"aab", "aaa"}},
  };
  const std::pair<std::string, std::vector<const char*>> others[] = {
      {"street food market", {"treet", "streetmarket", "streetfoo", "street food", ""}},
      {"Street food", {"streetfood"}},
      {"a\tb c", {"bc"}},
      {"   ", {"a"}},
      {"", {"a", ""}},
      {"ab", {"abc"}},
  };
  for (const auto& [text, terms] : runs)
    for (const char* term : terms) EXPECT_TRUE(matchesWordRun(text, term)) << text << "|" << term;
  for (const auto& [text, terms] : others)
    for (const char* term : terms) EXPECT_FALSE(matchesWordRun(text, term)) << text << "|" << term;
}

TEST(TextMatching, CharactersBeforePositions) {
  const std::string text = "a火\xBF\xBF\xBF\xBF\xBF\xBF\xBF\xBF锅b";
  EXPECT_EQ(countCharactersBefore(text, {14, 0, 4, 15, 1, 4}), (std::vector<std::uint64_t>{3, 0, 2, 3, 1, 2}));
  EXPECT_EQ(countCharacters(text, 3), 3U);
  EXPECT_EQ(countCharacters(text, 100), 4U);
}

TEST(SceneScore, OrderOfRows) {
  // Each row precedes the next: by rank, length, score (a priority that is not a number scores 0), term; NaN comes
  // last.
  std::vector<TestRow> rows;
  for (const auto& [term, priority, kind] :
       std::initializer_list<std::array<const char*, 3>>{{"bb", "0", "short"},
                                                         {"bbbb", "9", "category"},
                                                         {"bbb", "9", "category"},
                                                         {"bbb", "8", "category"},
                                                         {"aaa", "x", "category"},
                                                         {"ccc", "x", "category"},
                                                         {"aaa", "nan", "category"}}) {
    rows.push_back({"scene", term, {"food", "", priority, kind, "zh"}});
  }
  const RecordTable table = makeTable(rows);
  std::vector<SceneRowOrder> order;
  for (std::uint32_t i = 0; i < rows.size(); ++i) {
    const SceneEvidence row = sceneEvidenceAt(table, i);
    order.push_back({rankOf(row.kind), sceneRowScore(sceneScoreParts(row, std::nullopt, "")), row.term});
  }
  for (std::size_t i = 0; i < order.size(); ++i)
    for (std::size_t j = 0; j < order.size(); ++j)
      EXPECT_EQ(sceneRowBefore(order[i], order[j]), i < j) << i << " " << j;
}

TEST(NumberText, ConvertsLikeTheCLibrary) {
  double value = -1;
  const std::pair<const char*, double> wholes[] = {{"", 0},   {"3.5", 3.5},        {"+7", 7},     {"-0", -0.0},
                                                   {" 1", 1}, {"1e400", HUGE_VAL}, {"0x1p4", 16}, {"inf", HUGE_VAL}};
  for (const auto& [text, expected] : wholes) EXPECT_TRUE(parseNumber(text, &value) && value == expected) << text;
  const std::pair<std::string, double> others[] = {{"1 ", 1}, {"3,5", 3}, {"abc", 0}, {{"1\0", 2}, 1}, {"\t", 0}};
  for (const auto& [text, expected] : others) EXPECT_TRUE(!parseNumber(text, &value) && value == expected) << text;
  EXPECT_TRUE(parseNumber("nan(1)", &value) && std::isnan(value));
  // The two ways of conversion meet at fifteen digits.
  for (const char* text : {"0.1", ".5", "5.", "123456789012345", "1234567890123456", "0.000000000000001",
                           "0.0000000000000001", "9007199254740993", "179769313486231.5", "1.7976931348623157"}) {
    EXPECT_TRUE(parseNumber(text, &value)) << text;
    EXPECT_EQ(value, std::strtod(text, nullptr)) << text;
  }
  for (const char* text : {".", "1.2.3", "1a", "-"}) EXPECT_FALSE(parseNumber(text, &value)) << text;
}

TEST(NumberText, PrintsLikePercentF) {
  using Limits = std::numeric_limits<double>;
  for (const double value : {0.0, -0.0, 0.5, 2.5e-7, 1.5e-6, 0.0000005, 1234567.1234565, 1e22, -1e300, Limits::max(),
                             Limits::denorm_min(), HUGE_VAL, -HUGE_VAL, Limits::quiet_NaN(), -Limits::quiet_NaN()}) {
    char expected[400];
    // The run-time libraries of Windows don't tell the sign of a NaN.
    std::snprintf(expected, sizeof expected, std::isnan(value) && std::signbit(value) ? "-nan" : "%f", value);
    EXPECT_EQ(formatNumber(value), expected);
    // Rounding agrees with printing, whichever way is taken.
    const auto single = static_cast<double>(static_cast<float>(value));
    EXPECT_EQ(formatNumber(roundToNumberText(single)), formatNumber(single));
    double parsed = 0;
    parseNumber(formatNumber(single), &parsed);
    const double rounded = roundToNumberText(single);
    EXPECT_TRUE(std::isnan(parsed) ? std::isnan(rounded) : parsed == rounded) << single;
  }
}

}  // namespace
}  // namespace corvenda
